// Fuzz harness of one selection pass over an in-memory manifest. The first
// byte picks the mode, the text up to the first NUL byte holds the requested
// values separated by ","; the rest is the manifest. Every line written must
// be a "checkname" value of the manifest, and no more lines than records may
// come out.
#include "tool/LcSelection.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <sstream>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *Data,
                                      std::size_t Size) {
  if (Size == 0)
    return 0;
  const std::string Input(reinterpret_cast<const char *>(Data) + 1, Size - 1);
  LcSelectionMode Mode = static_cast<LcSelectionMode>(Data[0] % 5);
  std::size_t Split = Input.find('\0');
  std::string Values = Split == std::string::npos ? "" : Input.substr(0, Split);
  std::string Manifest =
      Split == std::string::npos ? Input : Input.substr(Split + 1);

  std::vector<std::string> Requested;
  std::size_t Start = 0;
  while (Start <= Values.size()) {
    std::size_t Comma = Values.find(',', Start);
    if (Comma == std::string::npos)
      Comma = Values.size();
    Requested.push_back(Values.substr(Start, Comma - Start));
    Start = Comma + 1;
  }

  std::istringstream In(Manifest);
  std::ostringstream Out;
  LcSelectFromStream(Mode, In, Out, Requested);
  const std::string Written = Out.str();
  if (!Written.empty() && Written.back() != '\n')
    std::abort();

  // Every value of a "checkname" line, whatever the case of its key, and the
  // number of lines: a bound on the records.
  std::set<std::string> Names;
  std::size_t LineCount = 1;
  Start = 0;
  while (Start <= Manifest.size()) {
    std::size_t End = Manifest.find('\n', Start);
    if (End == std::string::npos)
      End = Manifest.size();
    std::string Line = Manifest.substr(Start, End - Start);
    if (!Line.empty() && Line.back() == '\r')
      Line.pop_back();
    std::size_t Eq = Line.find('=');
    if (Eq == 9 && Eq + 1 < Line.size()) {
      std::string Key = Line.substr(0, 9);
      for (char &C : Key)
        if (C >= 'a' && C <= 'z')
          C = static_cast<char>(C - 'a' + 'A');
      if (Key == "CHECKNAME")
        Names.insert(Line.substr(10));
    }
    ++LineCount;
    Start = End + 1;
  }

  std::size_t Lines = 0;
  Start = 0;
  while (Start < Written.size()) {
    std::size_t End = Written.find('\n', Start);
    if (!Names.count(Written.substr(Start, End - Start)))
      std::abort();
    ++Lines;
    Start = End + 1;
  }
  if (Lines > LineCount)
    std::abort();
  return 0;
}
