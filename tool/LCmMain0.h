// The main object of chksel.
#ifndef TOOL_LCMMAIN0_H
#define TOOL_LCMMAIN0_H

#include "setup/SuMain.h"
#include "setup/SuSetup.h"

struct LcSelectionRequest;

#include <functional>

class ClParser;
class MsConsole;

/// The tool's main object: declares the command line, lets the framework
/// parse it, works out the manifest and output paths, runs the selection and
/// answers the console's exit status. Prints nothing when all goes well.
class LCmMain0 : public SuMain {
public:
  /// Takes the process-wide console (LcToolConsole) for the whole run.
  LCmMain0();

  std::int32_t Run(int Argc, char **Argv) override;

  /// The console of the run, to hand to the framework's run function.
  MsConsole &Console() const { return Served; }

  /// Declares the whole command line exactly as Run does (the framework's,
  /// the console's and the tool's options) and hands the parser tree to
  /// Visit, without reading any argument or file. The tree is valid only
  /// during the call.
  static void
  VisitOptionTable(const std::function<void(const ClParser &)> &Visit);

private:
  MsConsole &Served;
};

/// The process-wide console with the tool's application interface installed
/// (once; later calls reuse it).
MsConsole &LcToolConsole();

/// The first half of a run, up to the selection: the framework's setup run
/// over Argc/Argv with the tool's options, which fills Request when the run
/// may go on. Reports go to Console, whose application interface the caller
/// has installed.
SuRunResult LcSetupRun(MsConsole &Console, int Argc, char **Argv,
                       LcSelectionRequest &Request);

#endif
