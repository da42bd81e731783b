// Times a program as a whole process: chksel_proctime runs it several times
// with fork and exec and prints the median and minimum wall-clock time, the
// median CPU time and the peak resident memory of the runs.
//
//   chksel_proctime [--runs=N] [--warmup=N] [--stdout=FILE] -- PROGRAM ARGS...
//
// Every run starts with a fresh standard output: FILE opened for writing and
// truncated (default /dev/null); standard input is /dev/null, standard error
// is inherited. The warm-up runs (default 1) are not timed. Any run that does
// not exit with status 0 stops the measurement with status 1. The result is
// one line of key=value pairs on standard output:
//
//   runs=21 median_ms=3.120 min_ms=2.980 max_ms=3.900 cpu_median_ms=2.810
//   peak_rss_kib=4604 peak_rss_max_kib=4620
//
// The wall-clock time is CLOCK_MONOTONIC from just before fork to the return
// of wait4. CPU time (user + system) and peak resident memory come from the
// rusage wait4 answers for the child. peak_rss_kib is the median of the
// ru_maxrss of the timed runs and peak_rss_max_kib the largest: the peak of
// one program varies by a few pages from run to run, and the median is not
// thrown off by a single absurd ru_maxrss (a virtual machine's kernel once
// answered 44 GiB for a run that peaked at 4.6 MB). The kernel counts into
// ru_maxrss what the child held between fork and exec, a copy of this program's
// own anonymous memory, which is why this program allocates little and nothing
// large before it forks: the floor it adds is well under the peak of any
// dynamically linked program (the peak of /bin/true measures it).
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

/// What one run measured.
struct RunResult {
  double WallMs = 0;
  double CpuMs = 0;
  long PeakRssKiB = 0;
};

/// What the command line asked for.
struct Options {
  unsigned Runs = 7;
  unsigned Warmup = 1;
  const char *StdoutPath = "/dev/null";
  char **Program = nullptr;
};

[[noreturn]] void Usage(const char *Problem) {
  std::fprintf(stderr,
               "chksel_proctime: %s\nusage: chksel_proctime [--runs=N] "
               "[--warmup=N] [--stdout=FILE] -- PROGRAM ARGS...\n",
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

Options ParseOptions(int Argc, char **Argv) {
  Options Result;
  int I = 1;
  for (; I < Argc; ++I) {
    const char *Arg = Argv[I];
    if (std::strcmp(Arg, "--") == 0) {
      ++I;
      break;
    }
    if (ParseCount(Arg, "--runs=", Result.Runs) ||
        ParseCount(Arg, "--warmup=", Result.Warmup))
      continue;
    if (std::strncmp(Arg, "--stdout=", 9) == 0 && Arg[9] != '\0') {
      Result.StdoutPath = Arg + 9;
      continue;
    }
    Usage("unknown option");
  }
  if (I >= Argc)
    Usage("no program given");
  if (Result.Runs == 0)
    Usage("at least one run is needed");
  Result.Program = Argv + I;
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
[[noreturn]] void ExecChild(const Options &Opts) {
  int In = open("/dev/null", O_RDONLY);
  int Out = open(Opts.StdoutPath, O_WRONLY | O_CREAT | O_TRUNC, 0666);
  if (In < 0 || Out < 0 || dup2(In, 0) < 0 || dup2(Out, 1) < 0)
    _exit(126);
  close(In);
  close(Out);
  execvp(Opts.Program[0], Opts.Program);
  _exit(127);
}

/// Runs the program once and waits for it; exits with status 1 when it
/// cannot be started or does not end with status 0.
RunResult RunOnce(const Options &Opts) {
  struct timespec Start, Stop;
  clock_gettime(CLOCK_MONOTONIC, &Start);
  pid_t Child = fork();
  if (Child < 0) {
    std::perror("chksel_proctime: fork");
    std::exit(1);
  }
  if (Child == 0)
    ExecChild(Opts);
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
  if (!WIFEXITED(Status) || WEXITSTATUS(Status) != 0) {
    if (WIFEXITED(Status))
      std::fprintf(stderr, "chksel_proctime: %s exited with status %d%s\n",
                   Opts.Program[0], WEXITSTATUS(Status),
                   WEXITSTATUS(Status) == 127   ? " (could not be started)"
                   : WEXITSTATUS(Status) == 126 ? " (could not redirect)"
                                                : "");
    else
      std::fprintf(stderr, "chksel_proctime: %s ended by signal %d\n",
                   Opts.Program[0], WTERMSIG(Status));
    std::exit(1);
  }
  RunResult Result;
  Result.WallMs = Milliseconds(Start, Stop);
  Result.CpuMs = Milliseconds(Usage.ru_utime) + Milliseconds(Usage.ru_stime);
  Result.PeakRssKiB = Usage.ru_maxrss;
  return Result;
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
  std::vector<double> Wall;
  std::vector<double> Cpu;
  std::vector<long> PeakRssKiB;
  Wall.reserve(Opts.Runs);
  Cpu.reserve(Opts.Runs);
  PeakRssKiB.reserve(Opts.Runs);
  for (unsigned I = 0; I < Opts.Warmup; ++I)
    RunOnce(Opts);
  for (unsigned I = 0; I < Opts.Runs; ++I) {
    RunResult Result = RunOnce(Opts);
    Wall.push_back(Result.WallMs);
    Cpu.push_back(Result.CpuMs);
    PeakRssKiB.push_back(Result.PeakRssKiB);
  }
  std::printf("runs=%u median_ms=%.3f min_ms=%.3f max_ms=%.3f "
              "cpu_median_ms=%.3f peak_rss_kib=%ld peak_rss_max_kib=%ld\n",
              Opts.Runs, Median(Wall),
              *std::min_element(Wall.begin(), Wall.end()),
              *std::max_element(Wall.begin(), Wall.end()), Median(Cpu),
              Median(PeakRssKiB),
              *std::max_element(PeakRssKiB.begin(), PeakRssKiB.end()));
  return 0;
}
