// The main object of chksel.
#ifndef TOOL_LCMMAIN0_H
#define TOOL_LCMMAIN0_H

#include "setup/SuMain.h"
#include "setup/SuSetup.h"

struct LcSelectionRequest;

/// The tool's main object: declares the command line, lets the framework
/// parse it, works out the manifest and output paths, runs the selection and
/// answers the console's exit status. Prints nothing when all goes well.
class LCmMain0 : public SuMain {
public:
  std::int32_t Run(int Argc, char **Argv) override;
};

/// The first half of a run, up to the selection: the framework's setup run
/// over Argc/Argv with the tool's options, which fills Request when the run
/// may go on. Reports go to the process-wide console, whose application
/// interface the caller has installed.
SuRunResult LcSetupRun(int Argc, char **Argv, LcSelectionRequest &Request);

#endif
