// Fuzz harness of the check selection: every mode against a plain model of
// the mode rules, then the whole selection through the pass runner into a
// file and into standard output.
//
// Input: a settings byte, the requested values separated by "," up to the
// first NUL byte, then the manifest. Bit 0 of the settings byte runs the
// selection into a file, bit 1 into standard output (both cost file system
// work, so not every input pays for them).
#include "console/MsConsole.h"
#include "fuzz/FuzzSupport.h"
#include "general/GeDisk.h"
#include "tool/LcSelection.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using fuzz::Require;
using Pair = std::pair<std::string, std::string>;
using Record = std::vector<Pair>;

/// The records a pass sees: lines cut at "\n" with one "\r" dropped from the
/// end, a record a run of non-empty lines, a line kept when it has a "=" with
/// text on both sides (key before the first "=", value after it), and every
/// record after the first kept only when an empty line follows it.
std::vector<Record> Records(const std::string &Text) {
  std::vector<Record> Result;
  Record Current;
  bool First = true;
  std::size_t Start = 0;
  while (Start < Text.size()) {
    std::size_t End = Text.find('\n', Start);
    // A last piece without "\n" is a line of its own (it is not empty).
    if (End == std::string::npos)
      End = Text.size();
    std::string Line = Text.substr(Start, End - Start);
    Start = End + 1;
    if (!Line.empty() && Line.back() == '\r')
      Line.pop_back();
    if (Line.empty()) {
      if (!Current.empty()) {
        Result.push_back(std::move(Current));
        Current.clear();
        First = false;
      }
      continue;
    }
    const std::size_t Eq = Line.find('=');
    if (Eq != std::string::npos && Eq != 0 && Eq + 1 != Line.size())
      Current.emplace_back(Line.substr(0, Eq), Line.substr(Eq + 1));
  }
  if (First)
    Result.push_back(std::move(Current));
  return Result;
}

/// Equal length, and equal byte by byte after upper-casing in the C locale.
bool Same(const std::string &A, const std::string &B) {
  if (A.size() != B.size())
    return false;
  for (std::size_t I = 0; I < A.size(); ++I) {
    char X = A[I], Y = B[I];
    if (X >= 'a' && X <= 'z')
      X = static_cast<char>(X - 'a' + 'A');
    if (Y >= 'a' && Y <= 'z')
      Y = static_cast<char>(Y - 'a' + 'A');
    if (X != Y)
      return false;
  }
  return true;
}

bool Requested(const std::string &Value, const std::vector<std::string> &List) {
  for (const std::string &Wanted : List)
    if (Same(Value, Wanted))
      return true;
  return false;
}

/// What one pass of Mode writes, by the rules table: for each pair in file
/// order the rule of its key; at the end of a record its last check name
/// when the flag is set.
std::string Model(LcSelectionMode Mode, const std::vector<Record> &All,
                  const std::vector<std::string> &List) {
  const bool ByPackage = Mode == LcSelectionMode::DefaultChecksOfPackages ||
                         Mode == LcSelectionMode::ChecksOfPackages;
  std::string Out;
  for (const Record &R : All) {
    std::string Name;
    bool Flag = false;
    bool Dropped = false;
    for (const Pair &P : R) {
      if (Same(P.first, "checkname")) {
        Name = P.second;
        if (Mode == LcSelectionMode::AllChecks ||
            (Mode == LcSelectionMode::NamedChecks && Requested(P.second, List)))
          Flag = true;
      } else if (Same(P.first, "package")) {
        if (ByPackage && Requested(P.second, List))
          Flag = true;
        if (Mode == LcSelectionMode::DefaultChecksOfPackages && !Flag) {
          Dropped = true;
          break;
        }
      } else if (Same(P.first, "group")) {
        if (Mode == LcSelectionMode::ChecksOfGroups &&
            Requested(P.second, List))
          Flag = true;
      } else if (Same(P.first, "default")) {
        if (Mode == LcSelectionMode::DefaultChecksOfPackages &&
            Same(P.second, "on"))
          Flag = true;
      } else if (Same(P.first, "visible")) {
        if (Same(P.second, "no"))
          Flag = false;
      }
    }
    if (!Dropped && Flag && !Name.empty())
      Out += Name + "\n";
  }
  return Out;
}

constexpr LcSelectionMode Modes[] = {
    LcSelectionMode::AllChecks, LcSelectionMode::NamedChecks,
    LcSelectionMode::DefaultChecksOfPackages, LcSelectionMode::ChecksOfGroups,
    LcSelectionMode::ChecksOfPackages};

/// The whole selection over the manifest file with every mode asked for,
/// writing to OutputPath.
void RunSelection(const std::string &ManifestPath,
                  const std::string &OutputPath,
                  const std::vector<std::string> &List) {
  LcSelectionRequest Request;
  Request.ManifestPath = ManifestPath;
  Request.OutputPath = OutputPath;
  Request.All = true;
  Request.CheckNames = List;
  Request.DefaultPackages = List;
  Request.Groups = List;
  Request.Packages = List;
  LcResetOutputOpened();
  LcRunSelection(MsGetConsole(), GeDefaultDisk(), Request);
  Require(LcOutputOpened());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *Data,
                                      std::size_t Size) {
  std::uint8_t Settings = 0;
  std::string Input;
  if (!fuzz::SplitSettings(Data, Size, Settings, Input))
    return 0;
  const std::size_t Split = Input.find('\0');
  const std::string Values =
      Split == std::string::npos ? "" : Input.substr(0, Split);
  const std::string Manifest =
      Split == std::string::npos ? Input : Input.substr(Split + 1);

  std::vector<std::string> List;
  std::size_t Start = 0;
  for (;;) {
    const std::size_t Comma = Values.find(',', Start);
    List.push_back(Values.substr(Start, Comma - Start));
    if (Comma == std::string::npos)
      break;
    Start = Comma + 1;
  }

  const std::vector<Record> All = Records(Manifest);
  std::string Everything;
  for (LcSelectionMode Mode : Modes) {
    std::istringstream In(Manifest);
    std::ostringstream Out;
    LcSelectFromStream(Mode, In, Out, List);
    const std::string Wanted = Model(Mode, All, List);
    Require(Out.str() == Wanted);
    Everything += Wanted;
  }

  if ((Settings & 3) == 0)
    return 0;
  // Files are removed rather than truncated: truncating a file that was just
  // written makes the file system flush it, which costs milliseconds.
  const std::string ManifestPath = fuzz::ScratchFolder().Path("manifest.txt");
  const std::string OutputPath = fuzz::ScratchFolder().Path("sel.txt");
  std::remove(ManifestPath.c_str());
  std::remove(OutputPath.c_str());
  testsupport::WriteFile(ManifestPath, Manifest);
  if (Settings & 1) {
    RunSelection(ManifestPath, OutputPath, List);
    Require(testsupport::ReadFile(OutputPath) == Everything);
  }
  if (Settings & 2) {
    fuzz::StdStreamCapture Capture;
    RunSelection(ManifestPath, "-", List);
    Require(Capture.OutText() == Everything);
  }
  return 0;
}
