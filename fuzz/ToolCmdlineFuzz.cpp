// Fuzz harness of the tool's real command line: the whole option tree of
// chksel (the framework's options, the console's options with their tag
// lists, the error limit and dependency lists, the tool's selection options
// and command files) set up and walked in-process, up to the selection.
//
// Input: pieces separated by NUL bytes. A piece "@name=content" is written
// as the file "name" into a scratch folder, which is the current folder of
// the run; every other piece is an argument. Names and arguments are kept
// inside the scratch folder ("/" and ".." are taken out), since the setup
// writes the dependency lists and the diagnostic tables it is asked for.
//
// A run must end with a result: going on without failure, or stopping (with
// failure only after something was reported). When it goes on, the request
// holds the paths the main flow uses, as the console knows them, and list
// values as the parser promises them.
#include "appinterface/LcConsoleApplicationInterface.h"
#include "cmdline/ClCommandFile.h"
#include "console/MsConsole.h"
#include "fuzz/FuzzSupport.h"
#include "tool/LCmMain0.h"
#include "tool/LcSelection.h"

#include <climits>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include <unistd.h>

namespace {

using fuzz::Require;

/// The scratch folder, entered for good on first use.
const testsupport::TempDir &Folder() {
  static const bool Entered =
      ::chdir(fuzz::ScratchFolder().Path("").c_str()) == 0;
  Require(Entered);
  return fuzz::ScratchFolder();
}

/// Removes whatever an earlier run left in the scratch folder.
void EmptyFolder() {
  std::error_code Ignored;
  for (const auto &Entry :
       std::filesystem::directory_iterator(Folder().Path(""), Ignored))
    std::filesystem::remove_all(Entry.path(), Ignored);
}

bool ValidListValues(const std::vector<std::string> &Values) {
  for (const std::string &Value : Values)
    if (Value.empty() || Value.find(',') != std::string::npos)
      return false;
  return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *Data,
                                      std::size_t Size) {
  Folder();
  EmptyFolder();
  // Each input is a run of its own: a fresh console and no command-file
  // lines from an earlier run.
  MsResetProcessConsole();
  ClResetCommandFileLines();

  std::vector<std::string> Args = {"chksel"};
  for (std::string &Piece : fuzz::Pieces(Data, Size)) {
    Piece = fuzz::Confined(Piece);
    const std::size_t Equals = Piece.find('=');
    if (Piece.size() > 1 && Piece[0] == '@' && Equals != std::string::npos) {
      const std::string Name = Piece.substr(1, Equals - 1);
      // A name longer than a file name may be is passed over: no file can
      // have it, so the run finds none.
      if (!Name.empty() && Name != "." && Name.size() <= NAME_MAX)
        testsupport::WriteFile(Folder().Path(Name), Piece.substr(Equals + 1));
    } else {
      Args.push_back(Piece);
    }
  }
  std::vector<char *> Argv;
  for (std::string &Arg : Args)
    Argv.push_back(Arg.data());
  Argv.push_back(nullptr);

  {
    MsConsole &Console = MsGetConsole();
    LcConsoleApplicationInterface Interface(Console);
    Console.SetApplicationInterface(&Interface);
    LcSelectionRequest Request;
    SuRunResult Result;
    std::string Said;
    {
      fuzz::StdStreamCapture Capture;
      Result = LcSetupRun(Console, static_cast<int>(Args.size()), Argv.data(),
                          Request);
      Said = Capture.OutText() + Capture.ErrText();
    }

    Require(!(Result.Proceed && Result.Failed));
    if (Result.Failed)
      Require(Console.ErrorCount() != 0 || Console.IsAborted());
    if (Result.Failed || Console.ErrorCount() != 0)
      Require(!Said.empty());
    if (Result.Proceed) {
      // A path may be empty: "--output=" gives the empty name as it stands,
      // and the selection reports the file it cannot open.
      Require(Console.MainOutputName() == Request.OutputPath);
      Require(Console.MainInputName() == Request.ManifestPath);
      Require(ValidListValues(Request.CheckNames));
      Require(ValidListValues(Request.DefaultPackages));
      Require(ValidListValues(Request.Groups));
      Require(ValidListValues(Request.Packages));
    }
  }
  // The lists the options asked for are abandoned, not finished: the run
  // stops before the selection.
  MsResetProcessConsole();
  return 0;
}
