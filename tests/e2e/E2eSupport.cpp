// Running programs as child processes for the end-to-end tests.
#include "E2eSupport.h"

#include <cctype>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

extern char **environ;

namespace e2e {

RunOptions FolderTest::Here() const {
  RunOptions Options;
  Options.Cwd = Dir.Root().string();
  return Options;
}

RunResult FolderTest::RunHere(const std::vector<std::string> &Args) const {
  return RunChksel(Args, Here());
}

std::string FolderTest::Read(const std::string &Name) const {
  return ReadFile(Dir.Path(Name));
}

void FolderTest::Write(const std::string &Name,
                       const std::string &Bytes) const {
  WriteFile(Dir.Path(Name), Bytes);
}

std::set<std::string> FolderTest::Names(const std::string &Folder) const {
  return NamesIn((Dir.Root() / Folder).string());
}

const char TwoCheckManifest[] = "checkname=Alpha\n"
                                "package=P\n"
                                "\n"
                                "checkname=Beta\n"
                                "package=Q\n"
                                "\n";

std::string DumpedTables() {
  TempDir Fresh;
  RunOptions Options;
  Options.Cwd = Fresh.Root().string();
  RunResult R = RunChksel({"--diagnostics_tables=t.txt"}, Options);
  if (R.Status != 0)
    throw std::runtime_error("the tables could not be dumped: " + R.Err);
  return ReadFile(Fresh.Path("t.txt"));
}

std::vector<std::string> SplitLines(const std::string &Text) {
  std::vector<std::string> Lines;
  std::stringstream In(Text);
  std::string Line;
  while (std::getline(In, Line))
    Lines.push_back(Line);
  return Lines;
}

std::string ChkselPath() { return CHKSEL_BINARY; }

std::string FindProgram(const std::string &Name) {
  const char *Path = std::getenv("PATH");
  std::stringstream Folders(Path ? Path : "/usr/bin:/bin");
  std::string Folder;
  while (std::getline(Folders, Folder, ':')) {
    std::filesystem::path Candidate =
        std::filesystem::path(Folder.empty() ? "." : Folder) / Name;
    std::error_code Error;
    if (std::filesystem::is_regular_file(Candidate, Error) &&
        access(Candidate.c_str(), X_OK) == 0)
      return Candidate.string();
  }
  return std::string();
}

std::string SourcePath(const std::string &Relative) {
  return (std::filesystem::path(CHKSEL_SOURCE_DIR) / Relative).string();
}

std::string BuildPath(const std::string &Relative) {
  return (std::filesystem::path(CHKSEL_BUILD_DIR) / Relative).string();
}

std::string CMakeProgram() { return CHKSEL_CMAKE; }
std::string CPackProgram() { return CHKSEL_CPACK; }

long long ModifiedNs(const std::string &Path) {
  struct stat Status;
  if (stat(Path.c_str(), &Status) != 0)
    throw std::runtime_error("cannot stat " + Path);
  return static_cast<long long>(Status.st_mtim.tv_sec) * 1000000000LL +
         Status.st_mtim.tv_nsec;
}

namespace {

/// Sets the modification time of Path to the file system's own clock, the
/// clock that stamps every write, and returns it.
long long TouchNow(const std::string &Path) {
  const timespec Times[2] = {{0, UTIME_NOW}, {0, UTIME_NOW}};
  if (utimensat(AT_FDCWD, Path.c_str(), Times, 0) != 0)
    throw std::runtime_error("cannot touch " + Path);
  return ModifiedNs(Path);
}

} // namespace

void TouchAfter(const std::string &Path, const std::string &Reference) {
  // File times come from the kernel's coarse clock, which lags the real-time
  // clock by up to a tick. Stamping with that same clock (UTIME_NOW) and
  // waiting on it both ways keeps the order exact: Path is newer than
  // Reference, and anything written after this returns is newer than Path.
  const long long Old = ModifiedNs(Reference);
  long long Touched = TouchNow(Path);
  while (Touched <= Old) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    Touched = TouchNow(Path);
  }
  const std::string Probe = Path + ".clock-probe";
  WriteFile(Probe, "");
  while (TouchNow(Probe) <= Touched)
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  unlink(Probe.c_str());
}

namespace {

std::vector<std::string> BuildEnvironment(const RunOptions &Options) {
  std::map<std::string, std::string> Vars;
  for (char **Entry = environ; *Entry; ++Entry) {
    std::string Text = *Entry;
    std::string::size_type Eq = Text.find('=');
    if (Eq != std::string::npos)
      Vars[Text.substr(0, Eq)] = Text.substr(Eq + 1);
  }
  Vars.erase("ZOR_INTERNAL__USE_FAKE_SIGNON");
  for (const auto &Var : Options.Env)
    Vars[Var.first] = Var.second;
  std::vector<std::string> Result;
  for (const auto &Var : Vars)
    Result.push_back(Var.first + "=" + Var.second);
  return Result;
}

} // namespace

Process::Process() : Capture(std::make_unique<TempDir>()) {}

Process::Process(Process &&Other) noexcept
    : Capture(std::move(Other.Capture)), Child(Other.Child),
      Killed(Other.Killed) {
  Other.Child = -1;
}

Process::~Process() {
  if (Child > 0) {
    ::kill(Child, SIGKILL);
    int Ignored = 0;
    while (waitpid(Child, &Ignored, 0) < 0 && errno == EINTR) {
    }
  }
}

void Process::Signal(int Number) const {
  if (Child > 0)
    ::kill(Child, Number);
}

char Process::State() const {
  std::ifstream Stat("/proc/" + std::to_string(Child) + "/stat");
  std::string Text((std::istreambuf_iterator<char>(Stat)),
                   std::istreambuf_iterator<char>());
  // "pid (name) S ...": the name may hold blanks and parentheses.
  std::string::size_type Close = Text.rfind(')');
  if (Close == std::string::npos || Close + 2 >= Text.size())
    return 0;
  return Text[Close + 2];
}

RunResult Process::Wait(double Seconds) {
  RunResult Result;
  if (Child <= 0)
    return Result;
  int WaitStatus = 0;
  const auto Deadline =
      std::chrono::steady_clock::now() + std::chrono::duration<double>(Seconds);
  for (;;) {
    pid_t Done = waitpid(Child, &WaitStatus, WNOHANG);
    if (Done == Child)
      break;
    if (Done < 0 && errno != EINTR)
      throw std::runtime_error("waitpid failed");
    if (std::chrono::steady_clock::now() > Deadline) {
      ::kill(Child, SIGKILL);
      Killed = true;
      while (waitpid(Child, &WaitStatus, 0) < 0 && errno == EINTR) {
      }
      break;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  Child = -1;
  if (WIFEXITED(WaitStatus))
    Result.Status = WEXITSTATUS(WaitStatus);
  else if (WIFSIGNALED(WaitStatus)) {
    Result.Signal = WTERMSIG(WaitStatus);
    Result.Status = 128 + Result.Signal;
  }
  Result.Out = ReadFile(Capture->Path("stdout"));
  Result.Err = ReadFile(Capture->Path("stderr"));
  return Result;
}

Process Start(const std::string &Program, const std::vector<std::string> &Args,
              const RunOptions &Options) {
  Process Started;
  const TempDir &Capture = *Started.Capture;
  std::string OutPath = Capture.Path("stdout");
  std::string ErrPath = Capture.Path("stderr");
  std::string InPath = Capture.Path("stdin");
  WriteFile(InPath, Options.Stdin);

  std::vector<std::string> ArgStrings;
  ArgStrings.push_back(Options.Argv0.empty() ? Program : Options.Argv0);
  ArgStrings.insert(ArgStrings.end(), Args.begin(), Args.end());
  std::vector<char *> Argv;
  for (std::string &Arg : ArgStrings)
    Argv.push_back(Arg.data());
  Argv.push_back(nullptr);
  std::vector<std::string> EnvStrings = BuildEnvironment(Options);
  std::vector<char *> Envp;
  for (std::string &Var : EnvStrings)
    Envp.push_back(Var.data());
  Envp.push_back(nullptr);

  pid_t Child = fork();
  if (Child < 0)
    throw std::runtime_error("fork failed");
  if (Child == 0) {
    int In = open(InPath.c_str(), O_RDONLY);
    int Out = open(OutPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    int Err = open(ErrPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    if (In < 0 || Out < 0 || Err < 0)
      _exit(126);
    dup2(In, 0);
    dup2(Out, 1);
    dup2(Err, 2);
    for (int Descriptor : {In, Out, Err})
      if (Descriptor > 2)
        close(Descriptor);
    for (int Number : {SIGINT, SIGTERM, SIGHUP, SIGPIPE, SIGXFSZ})
      signal(Number, SIG_DFL);
    sigset_t None;
    sigemptyset(&None);
    sigprocmask(SIG_SETMASK, &None, nullptr);
    if (!Options.Cwd.empty() && chdir(Options.Cwd.c_str()) != 0)
      _exit(126);
    if (Options.Unprivileged && geteuid() == 0 &&
        (setgid(65534) != 0 || setuid(65534) != 0))
      _exit(126);
    if (Options.AddressSpaceLimit) {
      rlimit Limit{Options.AddressSpaceLimit, Options.AddressSpaceLimit};
      setrlimit(RLIMIT_AS, &Limit);
    }
    for (int Descriptor : Options.Closed)
      close(Descriptor);
    execve(Program.c_str(), Argv.data(), Envp.data());
    _exit(127);
  }
  Started.Child = Child;
  return Started;
}

RunResult Run(const std::string &Program, const std::vector<std::string> &Args,
              const RunOptions &Options) {
  return Start(Program, Args, Options).Wait(600);
}

bool WaitFor(const std::function<bool()> &Condition, double Seconds) {
  const auto Deadline =
      std::chrono::steady_clock::now() + std::chrono::duration<double>(Seconds);
  while (!Condition()) {
    if (std::chrono::steady_clock::now() > Deadline)
      return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

RunResult RunChksel(const std::vector<std::string> &Args,
                    const RunOptions &Options) {
  return Run(ChkselPath(), Args, Options);
}

} // namespace e2e
