// The main object of chksel.
#ifndef TOOL_LCMMAIN0_H
#define TOOL_LCMMAIN0_H

#include "setup/SuMain.h"

/// The tool's main object: declares the command line, lets the framework
/// parse it, works out the manifest and output paths, runs the selection and
/// answers the console's exit status. Prints nothing when all goes well.
class LCmMain0 : public SuMain {
public:
  std::int32_t Run(int Argc, char **Argv) override;
};

#endif
