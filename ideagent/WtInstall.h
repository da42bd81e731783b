// Installing the console agent for a tool that an IDE started: the IDE
// switches of the first command-line argument.
#ifndef IDEAGENT_WTINSTALL_H
#define IDEAGENT_WTINSTALL_H

#include <string>

class MsConsole;
class MsWorkbenchHandler;

/// The agent installer the framework's run function offers the first
/// argument to. "--IDE", "--IDE2" and "--IDE3" (the whole argument, case
/// sensitive) create a WtConsoleAgentExe of protocol level 1, 2 or 3 and
/// install it on Console; every other argument is refused. Also refused when
/// a workbench handler is already installed, so that one agent at most is
/// made per process. Answers whether it installed one. On success: creates the MsWorkbenchHandler for the
/// new agent and makes it the process-wide handler, stores it as Console's
/// IDE handler (the protocol then replaces the human form of messages, and
/// the console knows it runs under the IDE link) and installs a stop query
/// that asks the agent.
bool WtInstallConsoleAgent(const std::string &FirstArgument,
                           MsConsole &Console);

/// The installed workbench handler, or null. It lives until process exit.
MsWorkbenchHandler *WtInstalledWorkbenchHandler();

/// Undoes WtInstallConsoleAgent on Console: removes the IDE handler and the
/// stop query and destroys the handler and its
/// agent. For tests and for embedding the framework; a tool run as a process
/// keeps its agent to the end. The exit marker is written at exit all the
/// same once an agent was made.
void WtUninstallConsoleAgent(MsConsole &Console);

#endif
