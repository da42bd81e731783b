// wt_agent_probe: a small program on the console agent that the agent tests
// run as a child, to see what reaches standard output up to process exit.
//
//   wt_agent_probe none       no agent; writes one plain line; returns 0
//   wt_agent_probe return     an agent, a plain line and a message; returns 0
//   wt_agent_probe exit       an agent and a message; std::exit(5)
//   wt_agent_probe destroyed  an agent made and destroyed; returns 0
//   wt_agent_probe fatal      the agent installed on the console by "--IDE2";
//                             a fatal text report, which ends the process
#include "console/MsConsole.h"
#include "ideagent/WtConsoleAgent.h"
#include "ideagent/WtInstall.h"

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <memory>

int main(int Argc, char **Argv) {
  if (Argc != 2)
    return 64;
  const char *Mode = Argv[1];
  if (std::strcmp(Mode, "none") == 0) {
    std::cout << "plain\n";
    return 0;
  }
  if (std::strcmp(Mode, "return") == 0) {
    static WtConsoleAgentExe Agent(1);
    std::cout << "before\n";
    Agent.Message(11, "text", "Lc002", "", 0, 0, 0, 0);
    std::cout << "after\n";
    return 0;
  }
  if (std::strcmp(Mode, "exit") == 0) {
    auto *Agent = new WtConsoleAgentExe(3);
    Agent->OutputFile("o.txt");
    std::exit(5);
  }
  if (std::strcmp(Mode, "destroyed") == 0) {
    { WtConsoleAgentExe Agent(2); }
    return WtConsoleAgent::Current() == nullptr ? 0 : 65;
  }
  if (std::strcmp(Mode, "fatal") == 0) {
    MsConsole &Console = MsGetConsole();
    if (!WtInstallConsoleAgent("--IDE2", Console))
      return 66;
    Console.ReportFatalText("probe ", "boom");
  }
  return 64;
}
