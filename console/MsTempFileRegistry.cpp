// The files an interrupted run must not leave behind, and the signal handler
// that removes them.
#include "console/MsTempFileRegistry.h"

#include <cerrno>
#include <cstring>

#include <unistd.h>

namespace {

constexpr int CleanupSignals[] = {SIGINT, SIGTERM, SIGHUP};

/// The list: Entries[0, Count) are owned copies of the paths. Changed only
/// while the cleanup signals are blocked.
char **Entries = nullptr;
std::size_t Count = 0;
std::size_t Capacity = 0;
bool Installed = false;

void CleanupSignalSet(sigset_t &Set) {
  sigemptyset(&Set);
  for (int Signal : CleanupSignals)
    sigaddset(&Set, Signal);
}

/// Removes every listed file, then lets Signal take its default action.
/// The other cleanup signals are blocked while this runs (sa_mask).
void OnCleanupSignal(int Signal) {
  const int SavedErrno = errno;
  for (std::size_t I = 0; I < Count; ++I)
    ::unlink(Entries[I]);
  struct sigaction Default;
  std::memset(&Default, 0, sizeof Default);
  Default.sa_handler = SIG_DFL;
  sigemptyset(&Default.sa_mask);
  ::sigaction(Signal, &Default, nullptr);
  sigset_t Own;
  sigemptyset(&Own);
  sigaddset(&Own, Signal);
  ::sigprocmask(SIG_UNBLOCK, &Own, nullptr);
  ::raise(Signal);
  // Not reached for the three signals, whose default action ends the
  // process.
  errno = SavedErrno;
}

} // namespace

void MsTempFileRegistry::InstallHandlers() {
  if (Installed)
    return;
  Installed = true;
  struct sigaction Action;
  std::memset(&Action, 0, sizeof Action);
  Action.sa_handler = &OnCleanupSignal;
  CleanupSignalSet(Action.sa_mask);
  for (int Signal : CleanupSignals) {
    struct sigaction Previous;
    if (::sigaction(Signal, nullptr, &Previous) != 0 ||
        Previous.sa_handler == SIG_IGN)
      continue;
    ::sigaction(Signal, &Action, nullptr);
  }
}

void MsTempFileRegistry::Add(const std::string &Path) {
  InstallHandlers();
  SignalBlock Block;
  if (Count == Capacity) {
    const std::size_t NewCapacity = Capacity ? 2 * Capacity : 8;
    char **Grown = new char *[NewCapacity];
    for (std::size_t I = 0; I < Count; ++I)
      Grown[I] = Entries[I];
    delete[] Entries;
    Entries = Grown;
    Capacity = NewCapacity;
  }
  char *Copy = new char[Path.size() + 1];
  std::memcpy(Copy, Path.c_str(), Path.size() + 1);
  Entries[Count++] = Copy;
}

void MsTempFileRegistry::Remove(const std::string &Path) {
  SignalBlock Block;
  for (std::size_t I = Count; I-- > 0;) {
    if (Path != Entries[I])
      continue;
    delete[] Entries[I];
    Entries[I] = Entries[Count - 1];
    --Count;
    return;
  }
}

std::size_t MsTempFileRegistry::Size() { return Count; }

MsTempFileRegistry::SignalBlock::SignalBlock() {
  sigset_t Set;
  CleanupSignalSet(Set);
  ::sigprocmask(SIG_BLOCK, &Set, &Saved);
}

MsTempFileRegistry::SignalBlock::~SignalBlock() {
  ::sigprocmask(SIG_SETMASK, &Saved, nullptr);
}
