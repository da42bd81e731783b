// Times programs as whole processes: chksel_proctime runs each given command
// several times with fork and exec and prints, per command, the median and
// minimum wall-clock time, the median CPU time and the peak resident memory.
//
//   chksel_proctime [--runs=N] [--warmup=N] [--stdout=FILE]
//                   -- COMMAND [--- COMMAND]...
//   COMMAND: [--stdout=FILE] PROGRAM ARGS...
//
// The commands take turns: each round runs every command once, in the order
// given, so that a machine whose speed drifts (other work starting or
// stopping) slows all of them alike. The warm-up rounds (default 1) are not
// timed; then come N timed rounds (default 7). Every run starts with a fresh
// standard output: its FILE opened for writing and truncated (a command's own
// --stdout, else the one before "--", else /dev/null); standard input is
// /dev/null, standard error is inherited. Any run that does not exit with
// status 0 stops the measurement with status 1. The result is one line of
// key=value pairs per command on standard output, in the order given:
//
//   cmd=1 runs=21 median_ms=3.120 min_ms=2.980 max_ms=3.900
//   cpu_median_ms=2.810 peak_rss_kib=4604 peak_rss_max_kib=4620
//
// The wall-clock time is CLOCK_MONOTONIC from just before fork to the return
// of wait4. CPU time (user + system) and peak resident memory come from the
// rusage wait4 answers for the child. peak_rss_kib is the median of the
// ru_maxrss of the timed runs and peak_rss_max_kib the largest: the peak of
// one program varies by a few pages from run to run, and the median is not
// thrown off by a single absurd ru_maxrss (a virtual machine's kernel once
// answered 44 GiB for a run that peaked at 4.6 MB). The kernel counts into
// ru_maxrss what the child held between fork and exec, a copy of this
// program's own anonymous memory, which is why this program allocates little
// and nothing large before it forks: the floor it adds is well under the peak
// of any dynamically linked program (the peak of /bin/true measures it).
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <vector>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

/// One command to time: its standard output and its argument vector (a
/// null-terminated slice of the program's own argv).
struct Command {
  const char *StdoutPath = nullptr;
  std::vector<char *> Argv;
};

/// What the command line asked for.
struct Options {
  unsigned Runs = 7;
  unsigned Warmup = 1;
  std::vector<Command> Commands;
};

/// What the timed runs of one command measured.
struct Samples {
  std::vector<double> WallMs;
  std::vector<double> CpuMs;
  std::vector<long> PeakRssKiB;
};

[[noreturn]] void Usage(const char *Problem) {
  std::fprintf(stderr,
               "chksel_proctime: %s\nusage: chksel_proctime [--runs=N] "
               "[--warmup=N] [--stdout=FILE] -- COMMAND [--- COMMAND]...\n"
               "  COMMAND: [--stdout=FILE] PROGRAM ARGS...\n",
               Problem);
  std::exit(2);
}

/// Reads the count after Prefix in Arg; answers false when Arg does not
/// start with Prefix.
bool ParseCount(const char *Arg, const char *Prefix, unsigned &Count) {
  std::size_t Length = std::strlen(Prefix);
  if (std::strncmp(Arg, Prefix, Length) != 0)
    return false;
  char *End = nullptr;
  errno = 0;
  unsigned long Value = std::strtoul(Arg + Length, &End, 10);
  if (Arg[Length] == '\0' || *End != '\0' || errno != 0 || Value > 100000)
    Usage("not a count in an option");
  Count = static_cast<unsigned>(Value);
  return true;
}

/// The file named by a --stdout=FILE argument, or null.
const char *StdoutOption(const char *Arg) {
  if (std::strncmp(Arg, "--stdout=", 9) != 0)
    return nullptr;
  if (Arg[9] == '\0')
    Usage("--stdout needs a file");
  return Arg + 9;
}

Options ParseOptions(int Argc, char **Argv) {
  Options Result;
  const char *DefaultStdout = "/dev/null";
  int I = 1;
  for (;; ++I) {
    if (I >= Argc)
      Usage("no command given");
    const char *Arg = Argv[I];
    if (std::strcmp(Arg, "--") == 0) {
      ++I;
      break;
    }
    if (ParseCount(Arg, "--runs=", Result.Runs) ||
        ParseCount(Arg, "--warmup=", Result.Warmup))
      continue;
    if (const char *Path = StdoutOption(Arg)) {
      DefaultStdout = Path;
      continue;
    }
    Usage("unknown option");
  }
  if (Result.Runs == 0)
    Usage("at least one run is needed");
  while (I < Argc) {
    Command Cmd;
    Cmd.StdoutPath = DefaultStdout;
    if (const char *Path = StdoutOption(Argv[I])) {
      Cmd.StdoutPath = Path;
      ++I;
    }
    for (; I < Argc && std::strcmp(Argv[I], "---") != 0; ++I)
      Cmd.Argv.push_back(Argv[I]);
    if (Cmd.Argv.empty())
      Usage("a command has no program");
    Cmd.Argv.push_back(nullptr);
    Result.Commands.push_back(std::move(Cmd));
    if (I < Argc && ++I == Argc)
      Usage("no command after ---");
  }
  if (Result.Commands.empty())
    Usage("no command given");
  return Result;
}

double Milliseconds(const struct timespec &From, const struct timespec &To) {
  return static_cast<double>(To.tv_sec - From.tv_sec) * 1e3 +
         static_cast<double>(To.tv_nsec - From.tv_nsec) / 1e6;
}

double Milliseconds(const struct timeval &Time) {
  return static_cast<double>(Time.tv_sec) * 1e3 +
         static_cast<double>(Time.tv_usec) / 1e3;
}

/// In the child: sets up the standard streams and replaces the process with
/// the program. Only async-signal-safe calls, since this runs after fork.
[[noreturn]] void ExecChild(const Command &Cmd) {
  int In = open("/dev/null", O_RDONLY);
  int Out = open(Cmd.StdoutPath, O_WRONLY | O_CREAT | O_TRUNC, 0666);
  if (In < 0 || Out < 0 || dup2(In, 0) < 0 || dup2(Out, 1) < 0)
    _exit(126);
  close(In);
  close(Out);
  execvp(Cmd.Argv[0], Cmd.Argv.data());
  _exit(127);
}

/// Runs the command once and waits for it; adds what it measured to Into
/// when that is not null. Exits with status 1 when the command cannot be
/// started or does not end with status 0.
void RunOnce(const Command &Cmd, Samples *Into) {
  struct timespec Start, Stop;
  clock_gettime(CLOCK_MONOTONIC, &Start);
  pid_t Child = fork();
  if (Child < 0) {
    std::perror("chksel_proctime: fork");
    std::exit(1);
  }
  if (Child == 0)
    ExecChild(Cmd);
  int Status = 0;
  struct rusage Usage;
  std::memset(&Usage, 0, sizeof Usage);
  pid_t Waited;
  do
    Waited = wait4(Child, &Status, 0, &Usage);
  while (Waited < 0 && errno == EINTR);
  clock_gettime(CLOCK_MONOTONIC, &Stop);
  if (Waited != Child) {
    std::perror("chksel_proctime: wait4");
    std::exit(1);
  }
  const char *Program = Cmd.Argv[0];
  if (!WIFEXITED(Status) || WEXITSTATUS(Status) != 0) {
    if (WIFEXITED(Status))
      std::fprintf(stderr, "chksel_proctime: %s exited with status %d%s\n",
                   Program, WEXITSTATUS(Status),
                   WEXITSTATUS(Status) == 127   ? " (could not be started)"
                   : WEXITSTATUS(Status) == 126 ? " (could not redirect)"
                                                : "");
    else
      std::fprintf(stderr, "chksel_proctime: %s ended by signal %d\n", Program,
                   WTERMSIG(Status));
    std::exit(1);
  }
  if (!Into)
    return;
  Into->WallMs.push_back(Milliseconds(Start, Stop));
  Into->CpuMs.push_back(Milliseconds(Usage.ru_utime) +
                        Milliseconds(Usage.ru_stime));
  Into->PeakRssKiB.push_back(Usage.ru_maxrss);
}

/// The median of Values (the mean of the middle two for an even count).
template <typename T> T Median(std::vector<T> Values) {
  std::sort(Values.begin(), Values.end());
  std::size_t Middle = Values.size() / 2;
  if (Values.size() % 2 != 0)
    return Values[Middle];
  return (Values[Middle - 1] + Values[Middle]) / 2;
}

} // namespace

int main(int Argc, char **Argv) {
  Options Opts = ParseOptions(Argc, Argv);
  std::vector<Samples> Results(Opts.Commands.size());
  for (Samples &S : Results) {
    S.WallMs.reserve(Opts.Runs);
    S.CpuMs.reserve(Opts.Runs);
    S.PeakRssKiB.reserve(Opts.Runs);
  }
  for (unsigned Round = 0; Round < Opts.Warmup; ++Round)
    for (const Command &Cmd : Opts.Commands)
      RunOnce(Cmd, nullptr);
  for (unsigned Round = 0; Round < Opts.Runs; ++Round)
    for (std::size_t C = 0; C < Opts.Commands.size(); ++C)
      RunOnce(Opts.Commands[C], &Results[C]);
  for (std::size_t C = 0; C < Results.size(); ++C) {
    const Samples &S = Results[C];
    std::printf("cmd=%zu runs=%u median_ms=%.3f min_ms=%.3f max_ms=%.3f "
                "cpu_median_ms=%.3f peak_rss_kib=%ld peak_rss_max_kib=%ld\n",
                C + 1, Opts.Runs, Median(S.WallMs),
                *std::min_element(S.WallMs.begin(), S.WallMs.end()),
                *std::max_element(S.WallMs.begin(), S.WallMs.end()),
                Median(S.CpuMs), Median(S.PeakRssKiB),
                *std::max_element(S.PeakRssKiB.begin(), S.PeakRssKiB.end()));
  }
  return 0;
}
