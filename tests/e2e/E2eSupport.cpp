// Running programs as child processes for the end-to-end tests.
#include "E2eSupport.h"

#include <cerrno>
#include <chrono>
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

TempDir::TempDir() {
  std::string Pattern =
      (std::filesystem::temp_directory_path() / "chksel-e2e-XXXXXX").string();
  if (!mkdtemp(Pattern.data()))
    throw std::runtime_error("mkdtemp failed");
  Dir = Pattern;
}

TempDir::~TempDir() {
  std::error_code Ignored;
  std::filesystem::permissions(Dir, std::filesystem::perms::owner_all,
                               std::filesystem::perm_options::add, Ignored);
  std::filesystem::remove_all(Dir, Ignored);
}

std::string TempDir::Path(const std::string &Name) const {
  return (Dir / Name).string();
}

std::string ReadFile(const std::string &Path) {
  std::ifstream In(Path, std::ios::binary);
  if (!In)
    throw std::runtime_error("cannot read " + Path);
  return std::string(std::istreambuf_iterator<char>(In),
                     std::istreambuf_iterator<char>());
}

void WriteFile(const std::string &Path, const std::string &Bytes) {
  std::ofstream Out(Path, std::ios::binary | std::ios::trunc);
  Out.write(Bytes.data(), static_cast<std::streamsize>(Bytes.size()));
  if (!Out)
    throw std::runtime_error("cannot write " + Path);
}

bool Exists(const std::string &Path) {
  std::error_code Ignored;
  return std::filesystem::exists(Path, Ignored);
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

void TouchAfter(const std::string &Path, const std::string &Reference) {
  // File times come from a clock that may lag the real-time clock by a tick;
  // ten milliseconds clear of the reference is newer on every file system
  // with sub-second times.
  const long long Wanted = ModifiedNs(Reference) + 10000000LL;
  timespec Now{};
  for (;;) {
    clock_gettime(CLOCK_REALTIME, &Now);
    if (static_cast<long long>(Now.tv_sec) * 1000000000LL + Now.tv_nsec >
        Wanted)
      break;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  const timespec Times[2] = {Now, Now};
  if (utimensat(AT_FDCWD, Path.c_str(), Times, 0) != 0)
    throw std::runtime_error("cannot touch " + Path);
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

RunResult Run(const std::string &Program, const std::vector<std::string> &Args,
              const RunOptions &Options) {
  TempDir Capture;
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
    if (!Options.Cwd.empty() && chdir(Options.Cwd.c_str()) != 0)
      _exit(126);
    if (Options.Unprivileged && geteuid() == 0 &&
        (setgid(65534) != 0 || setuid(65534) != 0))
      _exit(126);
    if (Options.AddressSpaceLimit) {
      rlimit Limit{Options.AddressSpaceLimit, Options.AddressSpaceLimit};
      setrlimit(RLIMIT_AS, &Limit);
    }
    execve(Program.c_str(), Argv.data(), Envp.data());
    _exit(127);
  }
  int WaitStatus = 0;
  while (waitpid(Child, &WaitStatus, 0) < 0 && errno == EINTR) {
  }
  RunResult Result;
  if (WIFEXITED(WaitStatus))
    Result.Status = WEXITSTATUS(WaitStatus);
  else if (WIFSIGNALED(WaitStatus))
    Result.Status = 128 + WTERMSIG(WaitStatus);
  Result.Out = ReadFile(OutPath);
  Result.Err = ReadFile(ErrPath);
  return Result;
}

RunResult RunChksel(const std::vector<std::string> &Args,
                    const RunOptions &Options) {
  return Run(ChkselPath(), Args, Options);
}

} // namespace e2e
