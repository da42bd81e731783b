// Fuzz harness of the manifest reader: reads the input as a manifest and
// compares every record with a plain restatement of the record rules.
#include "tool/LcManifestReader.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *Data,
                                      std::size_t Size) {
  const std::string Text(reinterpret_cast<const char *>(Data), Size);
  std::istringstream In(Text);
  std::vector<Record> Seen;
  LcManifestReader Reader;
  Reader.Open(In);
  while (!Reader.AtEnd()) {
    Record R;
    for (const LcAttribute &A : Reader.Current())
      R.emplace_back(std::string(A.Key()), std::string(A.Value()));
    Seen.push_back(std::move(R));
    Reader.Advance();
  }
  Reader.Close();
  if (Seen != Expected(Text))
    std::abort();
  return 0;
}
