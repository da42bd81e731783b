// Tests of the process preparation at the start of a run: closed standard
// descriptors get /dev/null, SIGXFSZ is ignored, SIGPIPE is left alone.
#include "setup/SuProcessStart.h"

#include <gtest/gtest.h>

#include <csignal>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// Whether Descriptor is open on /dev/null with the access mode Access.
bool IsNullDevice(int Descriptor, int Access) {
  struct stat Null, Seen;
  if (::stat("/dev/null", &Null) != 0 || ::fstat(Descriptor, &Seen) != 0)
    return false;
  const int Flags = ::fcntl(Descriptor, F_GETFL);
  return S_ISCHR(Seen.st_mode) && Seen.st_rdev == Null.st_rdev && Flags != -1 &&
         (Flags & O_ACCMODE) == Access;
}

/// Runs Body in a child process after closing the descriptors in Closed and
/// calling SuPrepareProcess; answers the child's exit status (Body's answer),
/// or -1 when it did not exit.
template <class F> int InChild(std::initializer_list<int> Closed, F Body) {
  pid_t Child = ::fork();
  if (Child < 0)
    return -1;
  if (Child == 0) {
    for (int Descriptor : Closed)
      ::close(Descriptor);
    SuPrepareProcess();
    ::_exit(Body());
  }
  int Status = 0;
  if (::waitpid(Child, &Status, 0) != Child || !WIFEXITED(Status))
    return -1;
  return WEXITSTATUS(Status);
}

TEST(SuProcessStartTest, ClosedStandardDescriptorsGetTheNullDevice) {
  const std::initializer_list<int> Cases[] = {{0}, {1}, {2}, {0, 2}, {0, 1, 2}};
  for (const auto &Closed : Cases) {
    EXPECT_EQ(InChild(Closed,
                      [&Closed] {
                        for (int Descriptor : Closed)
                          if (!IsNullDevice(Descriptor, Descriptor == 0
                                                            ? O_RDONLY
                                                            : O_WRONLY))
                            return 10 + Descriptor;
                        // The next file opened gets a number above 2.
                        const int Next = ::open("/dev/null", O_RDONLY);
                        return Next > 2 ? 0 : 20;
                      }),
              0)
        << "closed: " << Closed.size();
  }
}

TEST(SuProcessStartTest, OpenDescriptorsAreLeftAlone) {
  EXPECT_EQ(InChild({},
                    [] {
                      // The test runner's descriptors are not /dev/null
                      // opened for reading on 1 and 2, whatever they are.
                      return IsNullDevice(1, O_RDONLY) ||
                                     IsNullDevice(2, O_RDONLY)
                                 ? 1
                                 : 0;
                    }),
            0);
}

TEST(SuProcessStartTest, FileSizeSignalIgnoredPipeSignalKept) {
  struct sigaction Before;
  ASSERT_EQ(::sigaction(SIGPIPE, nullptr, &Before), 0);
  const auto PipeAction = Before.sa_handler;
  EXPECT_EQ(InChild({},
                    [PipeAction] {
                      struct sigaction Action;
                      if (::sigaction(SIGXFSZ, nullptr, &Action) != 0 ||
                          Action.sa_handler != SIG_IGN)
                        return 1;
                      if (::sigaction(SIGPIPE, nullptr, &Action) != 0 ||
                          Action.sa_handler != PipeAction)
                        return 2;
                      return 0;
                    }),
            0);
}

} // namespace
