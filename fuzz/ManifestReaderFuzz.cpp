// Fuzz harness of the manifest reader: reads the input as a manifest and
// compares every record with a plain restatement of the record rules, once
// from a string stream with the default block size and once handed out in
// small pieces to a reader with a small block, both sizes taken from a hash
// of the input.
#include "tool/LcManifestReader.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <streambuf>
#include <string>
#include <utility>
#include <vector>

namespace {

using Record = std::vector<std::pair<std::string, std::string>>;

/// The records a pass sees, worked out on the whole text at once: split into
/// lines at "\n" (a last piece without "\n" is a line when it is not empty),
/// drop one "\r" at each line end, group lines into records, and let a record
/// after the first count only when an empty line follows it.
std::vector<Record> Expected(const std::string &Text) {
  std::vector<std::string> Lines;
  std::size_t Start = 0;
  while (Start < Text.size()) {
    std::size_t End = Text.find('\n', Start);
    if (End == std::string::npos) {
      Lines.push_back(Text.substr(Start));
      break;
    }
    Lines.push_back(Text.substr(Start, End - Start));
    Start = End + 1;
  }
  std::vector<Record> Records;
  std::size_t Next = 0;
  bool First = true;
  for (;;) {
    Record R;
    bool EndedByEmptyLine = false;
    while (Next < Lines.size()) {
      std::string Line = Lines[Next++];
      if (!Line.empty() && Line.back() == '\r')
        Line.pop_back();
      if (Line.empty()) {
        if (!R.empty()) {
          EndedByEmptyLine = true;
          break;
        }
        continue;
      }
      std::size_t Eq = Line.find('=');
      if (Eq == std::string::npos || Eq == 0 || Eq + 1 == Line.size())
        continue;
      R.emplace_back(Line.substr(0, Eq), Line.substr(Eq + 1));
    }
    if (First || EndedByEmptyLine)
      Records.push_back(std::move(R));
    if (!EndedByEmptyLine)
      return Records;
    First = false;
  }
}

/// Hands out a text in pieces of 1 to 64 bytes, one piece per underflow,
/// the sizes following from Seed.
class PieceBuf : public std::streambuf {
public:
  PieceBuf(std::string Bytes, std::uint32_t Seed)
      : Text(std::move(Bytes)), State(Seed | 1) {}

protected:
  int_type underflow() override {
    if (gptr() != egptr())
      return traits_type::to_int_type(*gptr());
    if (Handed == Text.size())
      return traits_type::eof();
    State ^= State << 13;
    State ^= State >> 17;
    State ^= State << 5;
    std::size_t Size = State % 64 + 1;
    if (Size > Text.size() - Handed)
      Size = Text.size() - Handed;
    char *Begin = &Text[Handed];
    setg(Begin, Begin, Begin + Size);
    Handed += Size;
    return traits_type::to_int_type(*Begin);
  }

private:
  std::string Text;
  std::uint32_t State;
  std::size_t Handed = 0;
};

std::vector<Record> ReadAll(std::istream &In, std::size_t BlockSize) {
  std::vector<Record> Seen;
  LcManifestReader Reader(BlockSize);
  Reader.Open(In);
  while (!Reader.AtEnd()) {
    Record R;
    for (const LcAttribute &A : Reader.Current())
      R.emplace_back(std::string(A.Key()), std::string(A.Value()));
    Seen.push_back(std::move(R));
    Reader.Advance();
  }
  Reader.Close();
  return Seen;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *Data,
                                      std::size_t Size) {
  const std::string Text(reinterpret_cast<const char *>(Data), Size);
  const std::vector<Record> Wanted = Expected(Text);
  std::istringstream In(Text);
  if (ReadAll(In, LcManifestReader::DefaultBlockSize) != Wanted)
    std::abort();
  std::uint32_t Hash = 2166136261u;
  for (std::size_t I = 0; I < Size; ++I)
    Hash = (Hash ^ Data[I]) * 16777619u;
  PieceBuf Buf(Text, Hash);
  std::istream Pieces(&Buf);
  if (ReadAll(Pieces, Hash % 17 + 1) != Wanted)
    std::abort();
  return 0;
}
