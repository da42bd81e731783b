// The manifest reader as first written, one std::getline per line: the
// reference the block-reading, skimming LcManifestReader is compared with in
// the tests and in the fuzz harness.
#ifndef TESTS_SUPPORT_LCREFERENCEREADER_H
#define TESTS_SUPPORT_LCREFERENCEREADER_H

#include <ios>
#include <istream>
#include <string>
#include <utility>
#include <vector>

namespace lctest {

using Pair = std::pair<std::string, std::string>;
using Record = std::vector<Pair>;
using Records = std::vector<Record>;

/// Reads records with one std::getline per line on a stream whose exception
/// mask is badbit, a read error ending the input, and keeps every attribute
/// for which the predicate Keeps(key) holds (every attribute by default).
/// LcManifestReader must see the same records and leave the stream in the
/// same state.
template <class KeepFunction = bool (*)(const std::string &)>
class ReferenceReader {
public:
  ReferenceReader() : Keeps(&KeepAll) {}
  explicit ReferenceReader(KeepFunction Keep) : Keeps(std::move(Keep)) {}

  void Open(std::istream &Stream) {
    In = &Stream;
    Saved = Stream.exceptions();
    if (!Stream.bad())
      Stream.exceptions(std::ios_base::badbit);
    Ended = false;
    ReadRecord();
  }
  bool AtEnd() const { return Ended; }
  const Record &Current() const { return Pairs; }
  bool Advance() {
    if (Ended)
      return false;
    ReadRecord();
    if (In->fail())
      Ended = true;
    return !Ended;
  }
  void Close() {
    Ended = true;
    if (In)
      In->exceptions(Saved);
    In = nullptr;
  }

private:
  static bool KeepAll(const std::string &) { return true; }

  bool ReadLine(std::string &Line) {
    try {
      return static_cast<bool>(std::getline(*In, Line));
    } catch (const std::ios_base::failure &) {
      return false;
    }
  }
  void ReadRecord() {
    Pairs.clear();
    bool Holding = false;
    std::string Line;
    while (ReadLine(Line)) {
      if (!Line.empty() && Line.back() == '\r')
        Line.pop_back();
      if (Line.empty()) {
        if (Holding)
          return;
        continue;
      }
      std::string::size_type Eq = Line.find('=');
      if (Eq == std::string::npos || Eq == 0 || Eq + 1 == Line.size())
        continue;
      Holding = true;
      std::string Key = Line.substr(0, Eq);
      if (Keeps(Key))
        Pairs.emplace_back(std::move(Key), Line.substr(Eq + 1));
    }
  }

  KeepFunction Keeps;
  std::istream *In = nullptr;
  std::ios_base::iostate Saved = std::ios_base::goodbit;
  bool Ended = true;
  Record Pairs;
};

} // namespace lctest

#endif
