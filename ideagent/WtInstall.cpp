// The agent installer and the process-wide workbench handler.
#include "ideagent/WtInstall.h"

#include "console/MsConsole.h"
#include "ideagent/MsWorkbenchHandler.h"
#include "ideagent/WtConsoleAgent.h"

#include <cstdint>
#include <memory>

namespace {

/// Never deleted by the process: the handler and its agent serve messages
/// reported until the very end, static destructors included.
MsWorkbenchHandler *Installed = nullptr;

/// Tells the console whether the IDE asked to stop, by asking the current
/// agent.
class AgentStopQuery : public MsStopQuery {
public:
  bool StopRequested() override {
    WtConsoleAgent *Agent = WtConsoleAgent::Current();
    return Agent && Agent->StopRequest() != 0;
  }
};

AgentStopQuery StopQuery;

struct Switch {
  const char *Text;
  std::uint32_t Level;
};

const Switch Switches[] = {{"--IDE", 1}, {"--IDE2", 2}, {"--IDE3", 3}};

/// The protocol level FirstArgument asks for, 0 when it is no IDE switch.
std::uint32_t LevelOf(const std::string &FirstArgument) {
  for (const Switch &S : Switches)
    if (FirstArgument == S.Text)
      return S.Level;
  return 0;
}

} // namespace

bool WtInstallConsoleAgent(const std::string &FirstArgument,
                           MsConsole &Console) {
  if (Installed)
    return false;
  std::uint32_t Level = LevelOf(FirstArgument);
  if (Level == 0)
    return false;
  auto Handler = std::make_unique<MsWorkbenchHandler>(
      std::make_unique<WtConsoleAgentExe>(Level));
  Installed = Handler.release();
  Console.SetIdeHandler(Installed);
  Console.SetStopQuery(&StopQuery);
  return true;
}

MsWorkbenchHandler *WtInstalledWorkbenchHandler() { return Installed; }

void WtUninstallConsoleAgent(MsConsole &Console) {
  Console.SetIdeHandler(nullptr);
  Console.SetStopQuery(nullptr);
  delete Installed;
  Installed = nullptr;
}
