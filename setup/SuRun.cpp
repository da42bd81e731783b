// The framework run function, its guarded runner and its inner runner.
#include "setup/SuRun.h"

#include "console/MsConsole.h"
#include "general/GeStreamAdaptors.h"
#include "ideagent/WtInstall.h"
#include "setup/SuErrFun.h"
#include "setup/SuFaultGuard.h"
#include "setup/SuProcessStart.h"

#include <exception>
#include <iostream>
#include <new>
#include <utility>

namespace {

SuIdeAgentInstaller IdeAgentInstaller = &WtInstallConsoleAgent;

[[noreturn]] void OnAllocationFailure() { throw MsConsole::BadAlloc(); }

/// Holds the report of a failure until the guards have been left. Owns the
/// report unless it is the static NoMoreMemory instance.
class ReportSlot {
public:
  ReportSlot() = default;
  ~ReportSlot() { Clear(); }
  ReportSlot(const ReportSlot &) = delete;
  ReportSlot &operator=(const ReportSlot &) = delete;

  void SetStatic(ErrFun &Report) {
    Clear();
    Stored = &Report;
  }

  /// Makes a report of type Report; leaves the slot empty when that fails
  /// (memory exhausted, say).
  template <class Report, class... Args> void Make(Args &&...Arguments) {
    Clear();
    try {
      Stored = new Report(std::forward<Args>(Arguments)...);
      Owned = true;
    } catch (...) {
      Stored = nullptr;
    }
  }

  /// Calls the stored report, if any, swallowing what it throws.
  void ReportNow() {
    if (!Stored)
      return;
    try {
      Stored->Report();
    } catch (...) {
    }
  }

private:
  void Clear() {
    if (Owned)
      delete Stored;
    Stored = nullptr;
    Owned = false;
  }

  ErrFun *Stored = nullptr;
  bool Owned = false;
};

void RouteStandardOutputOnce() {
  // Constructed on the first run, destroyed at process exit.
  static GeLineBufStdout LineBuffering(std::cout);
  (void)LineBuffering;
}

/// Removes Argv[1]: the later elements move down one place and the vector
/// stays null-terminated.
void RemoveFirstArgument(int &Argc, char **Argv) {
  for (int I = 1; I + 1 < Argc; ++I)
    Argv[I] = Argv[I + 1];
  Argv[Argc - 1] = nullptr;
  --Argc;
}

int InnerRun(int Argc, char **Argv, SuMain &Main, MsConsole &Console,
             ReportSlot &Slot) {
  try {
    RouteStandardOutputOnce();
    if (Argc > 1 && IdeAgentInstaller && Argv[1] &&
        IdeAgentInstaller(Argv[1], Console))
      RemoveFirstArgument(Argc, Argv);
    return Main.Run(Argc, Argv);
  } catch (const MsConsoleException &) {
    return 2;
  } catch (const MsConsole::BadAlloc &) {
    Slot.SetStatic(NoMoreMemory::Instance(Console));
    return 3;
  }
}

int GuardedRun(int Argc, char **Argv, SuMain &Main, MsConsole &Console,
               ReportSlot &Slot) {
  int Status = 0;
  SuProcessorFault Fault;
  auto Body = [&]() { return InnerRun(Argc, Argv, Main, Console, Slot); };
  if (SuRunUnderFaultGuard(Body, Status, Fault))
    return Status;
  Slot.Make<UnexpectedWindowsException>(Fault);
  return 3;
}

} // namespace

SuIdeAgentInstaller SuSetIdeAgentInstaller(SuIdeAgentInstaller Installer) {
  return std::exchange(IdeAgentInstaller, Installer);
}

int SuRun(int Argc, char **Argv, SuMain &Main, MsConsole &Console) {
  SuPrepareProcess();
  std::set_new_handler(&OnAllocationFailure);
  // Keeps the fault handler installed while a report is made, so that a
  // fault during reporting ends the process instead of looping.
  SuFaultScope Faults;
  ReportSlot Slot;
  int Status;
  try {
    Status = GuardedRun(Argc, Argv, Main, Console, Slot);
  } catch (const std::exception &Caught) {
    Slot.Make<UnexpectedStdException>(Caught.what());
    Status = 3;
  } catch (...) {
    Slot.Make<UnexpectedException>();
    Status = 3;
  }
  Slot.ReportNow();
  return Status;
}
