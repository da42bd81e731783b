// The framework run function: the guarded run of a tool's main object from
// process entry to exit status.
//
// Context is passed by reference: the tool's main object takes the console
// from MsGetConsole() once and hands it to SuRun and SuSetupRun, which hand
// it on. What remains process-wide, and why:
//  - the console (MsGetConsole, console/): one per process, created on first
//    use. Reached through the accessor only by the tool's main object and by
//    the internal-failure exit, which is called from wherever a defect is
//    found and has no caller to receive the console from.
//  - the new-handler (SuRun): operator new calls it without arguments, so it
//    can reach nothing; it throws MsConsole::BadAlloc, and the run function,
//    which holds the console, has the out-of-memory message issued.
//  - the internal-failure handler (GeSetInternalFailureHandler, general/):
//    GeInternalFailure is called from every layer; the tool installs the
//    handler that adds its name and prints through the console.
//  - the IDE agent installer (SuSetIdeAgentInstaller): the run function
//    offers it the first argument before the main object runs; it defaults
//    to WtInstallConsoleAgent and is replaced only by tests.
//  - the workbench handler and the IDE agent (ideagent/): the protocol's exit
//    marker is written by an exit-time handler, after every stack frame is
//    gone, so the agent must outlive the run.
//  - the default disk (GeDefaultDisk, general/): the real file system for the
//    process-wide console's output files; it holds no state, and is never
//    destroyed, as dependency lists are dropped by exit-time handlers.
//  - the output-opened flag (tool/LcSelection): the first selection pass
//    that opens the selected-checks file truncates it, later passes append.
//  - the column-tracking registry (GeStreamAdaptors, general/): maps a target
//    stream buffer to the column trackers installed over it, so that every
//    stream writing to one target finds its column; never destroyed, as
//    trackers with static storage deregister during process exit.
//  - the temp-file registry (MsTempFileRegistry, console/): the signal
//    handler of SIGINT, SIGTERM and SIGHUP removes the temporary files of
//    output files, and a signal handler can reach nothing else.
//  - the command-file line table (ClCommandFileLines, cmdline/): positions of
//    command-file tokens point into it, and diagnostics queued until the end
//    of the process may still print them.
//  - the fault guard's state (SuFaultGuard): a signal handler can reach
//    nothing else; it holds the jump target, the scope depth and the
//    alternate signal stack.
//  - the line-buffered standard output (SuRun) and the program path
//    (SuProgramPath): once per process, as the streams and argv[0] are.
//  - the fake sign-on mode (SuSignOn): the environment variable is read once
//    and the answer kept for the whole process.
#ifndef SETUP_SURUN_H
#define SETUP_SURUN_H

#include "setup/SuMain.h"

#include <string>

class MsConsole;

/// Offered the first command-line argument and the run's console; answers
/// whether it took it as an IDE switch and installed the IDE agent (the run
/// function then removes the argument).
using SuIdeAgentInstaller = bool (*)(const std::string &FirstArgument,
                                     MsConsole &Console);

/// Replaces the IDE agent installer of the run function and answers the
/// previous one. The installer is WtInstallConsoleAgent unless replaced; null
/// means no installer, and no argument is offered. A seam for tests: a tool
/// never calls it.
SuIdeAgentInstaller SuSetIdeAgentInstaller(SuIdeAgentInstaller Installer);

/// Runs Main, reporting to Console, and answers the process exit status.
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
int SuRun(int Argc, char **Argv, SuMain &Main, MsConsole &Console);

#endif
