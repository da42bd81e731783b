// The framework run function: the guarded run of a tool's main object from
// process entry to exit status.
#ifndef SETUP_SURUN_H
#define SETUP_SURUN_H

#include "setup/SuMain.h"

#include <string>

/// Offered the first command-line argument; answers whether it took it as an
/// IDE switch and installed the IDE agent (the run function then removes the
/// argument).
using SuIdeAgentInstaller = bool (*)(const std::string &FirstArgument);

/// Sets the process-wide IDE agent installer and answers the previous one.
/// Null (the default) means no installer: no argument is offered.
SuIdeAgentInstaller SuSetIdeAgentInstaller(SuIdeAgentInstaller Installer);

/// Runs Main and answers the process exit status.
///
/// Installs a new-handler that throws MsConsole::BadAlloc, routes standard
/// output through GeLineBufStdout (once per process), offers Argv[1] to the
/// IDE agent installer when Argc > 1 (removing it from Argc/Argv in place when
/// taken), and calls Main.Run inside three layers of guards:
///  - MsConsoleException gives 2; MsConsole::BadAlloc gives the out-of-memory
///    message and 3;
///  - a processor exception (access violation, division by zero, stack
///    overflow, ...) is reported by its structured-exception text;
///  - any other standard exception is reported as "Unexpected exception: "
///    and its what() text, anything else thrown as "Unexpected exception".
/// Those three reports go through the internal-failure exit, which ends the
/// process with status 1. Reports are made after the guards have been left;
/// an exception thrown while reporting is swallowed, and when a report object
/// cannot be made nothing is reported; the status is then 3.
int SuRun(int Argc, char **Argv, SuMain &Main);

#endif
