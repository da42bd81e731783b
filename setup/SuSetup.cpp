// The setup run: the setup object, the chain of continuations, the parse,
// help, and the framework's standard options. The walk's error reports live
// in SuWalkReports, the dump options' writers in SuDumps.
#include "setup/SuSetup.h"

#include "appinterface/SuMessages.h"
#include "cmdline/ClHelp.h"
#include "cmdline/ClLine.h"
#include "console/MsConsole.h"
#include "console/MsMessages.h"
#include "console/MsSubSystem.h"
#include "general/GeInternalFailure.h"
#include "setup/SuCommandFileArg.h"
#include "setup/SuDumps.h"
#include "setup/SuWalkReports.h"

#include <functional>
#include <iostream>
#include <memory>

const char *SuTerminate::what() const noexcept { return "SuTerminate"; }

SuPostSetupState::~SuPostSetupState() = default;
SuSetup::~SuSetup() = default;
SuContinuation::~SuContinuation() = default;
SuTargetSetupSystem::~SuTargetSetupSystem() = default;
SuSubSystem::~SuSubSystem() = default;
SuToolOptions::~SuToolOptions() = default;

void SuToolOptions::Setup(SuTargetSetup &, SuContinuation &Next) {
  Next.Continue();
}

void SuToolOptions::TakeOver() {}

namespace {

constexpr char NoSignOnMarker[] = "<NoSignOn>";
constexpr std::size_t NoSignOnLength = sizeof NoSignOnMarker - 1;
/// Asks for help where an option may stand, typed or in a command file. It is
/// not an option of the parser tree, so the option listing leaves it out.
constexpr char HelpToken[] = "--help";

std::string &ProgramPathSetting() {
  static std::string *Path = new std::string;
  return *Path;
}

/// The one concrete setup object of a run. Owns the root of the parser tree
/// and the banner texts; the console is the run's, not owned.
class SuConcreteSetup : public SuTargetSetup,
                        public virtual SuSetup,
                        public SuPostSetupState {
public:
  SuConcreteSetup(MsConsole &TheConsole, std::uint32_t TheKind,
                  bool AcceptSourceFiles)
      : Served(TheConsole), Kind(TheKind), SourceFiles(AcceptSourceFiles) {}

  ClGroupParser &Parser() override { return Root; }
  MsConsole &Console() override { return Served; }
  void SetBanner(const SuBannerInputs &Inputs) override { Banner_ = Inputs; }
  const SuBannerInputs &Banner() const override { return Banner_; }
  void SetThirdBannerLine(const std::string &Line) override { Third = Line; }
  const std::string &ThirdBannerLine() const override { return Third; }
  const SuPostSetupState &PostSetupState() const override { return *this; }

  std::uint32_t ToolKind() const override { return Kind; }
  bool AcceptsSourceFiles() const override { return SourceFiles; }

  const SuParserState &GetParserState() const override {
    if (!ParserState)
      GeInternalFailure(
          "SuPostSetupState::GetParserState called in a tool with no parser");
    return *ParserState;
  }
  const SuLinkerState &GetLinkerState() const override {
    if (!LinkerState)
      GeInternalFailure(
          "SuPostSetupState::GetLinkerState called in a non-linker tool");
    return *LinkerState;
  }
  const SuSourceState *GetSourceState() const override { return SourceState; }
  const SuTargetState *GetTargetState() const override { return TargetState; }

private:
  MsConsole &Served;
  std::uint32_t Kind;
  bool SourceFiles;
  ClAny Root;
  SuBannerInputs Banner_;
  std::string Third;
  const SuSourceState *SourceState = nullptr;
  const SuTargetState *TargetState = nullptr;
  const SuParserState *ParserState = nullptr;
  const SuLinkerState *LinkerState = nullptr;
};

/// Runs one setup system (a tool's, or a framework subsystem's) with the next
/// link of the chain.
class SuSetupContinuation : public SuContinuation {
public:
  SuSetupContinuation(SuTargetSetupSystem &System, SuConcreteSetup &TheSetup,
                      SuContinuation &NextLink)
      : ToolSystem(&System), Setup(TheSetup), Next(NextLink) {}
  SuSetupContinuation(SuSubSystem &System, SuConcreteSetup &TheSetup,
                      SuContinuation &NextLink)
      : FrameworkSystem(&System), Setup(TheSetup), Next(NextLink) {}

  void Continue() override {
    if (ToolSystem)
      ToolSystem->Setup(Setup, Next);
    else
      FrameworkSystem->Setup(Setup, Next);
  }

private:
  SuTargetSetupSystem *ToolSystem = nullptr;
  SuSubSystem *FrameworkSystem = nullptr;
  SuConcreteSetup &Setup;
  SuContinuation &Next;
};

/// Runs the tool's option object with the next link of the chain.
class SuTargetSetupContinuation : public SuContinuation {
public:
  SuTargetSetupContinuation(SuToolOptions &ToolOptions,
                            SuConcreteSetup &TheSetup, SuContinuation &NextLink)
      : Options(ToolOptions), Setup(TheSetup), Next(NextLink) {}

  void Continue() override { Options.Setup(Setup, Next); }

private:
  SuToolOptions &Options;
  SuConcreteSetup &Setup;
  SuContinuation &Next;
};

/// The console's options, declared before everything else and applied once
/// the parse is done.
class SuConsoleSubSystem : public SuSubSystem {
public:
  void Setup(SuSetup &Setup, SuContinuation &Next) override {
    Options.DeclareOptions(Setup.Parser());
    try {
      Next.Continue();
    } catch (const MsConsoleException &) {
      // The errors that stopped the run are still queued; they obey the
      // output options already walked.
      Options.ApplyOutputOptions(Setup.Console());
      throw;
    }
    Options.Apply(Setup.Console());
  }

private:
  MsSubSystem Options;
};

/// The last link: registers the framework's standard options, parses the
/// command line, and prints help when it is asked for. Owns the standard
/// options, so it must live until the setup run has read them.
class SuDoItContinuation : public SuContinuation {
public:
  SuDoItContinuation(const ClLine &CommandLine, SuConcreteSetup &TheSetup,
                     std::uint32_t Kind, std::string UsageText,
                     bool ShowTables, ClCommandFileArg *CommandFileArg,
                     std::function<void(const ClParser &)> Visitor)
      : Line(CommandLine), Setup(TheSetup), ToolKind(Kind),
        Usage(std::move(UsageText)), ShowDiagnosticsTables(ShowTables),
        CommandFile(CommandFileArg), OptionTableVisitor(std::move(Visitor)),
        DiagnosticsTables(0, "diagnostics_tables", "file|directory",
                          "Dump diagnostic message tables to file"),
        Mfc(0, "mfc", "Enable multiple file compilation"),
        DistributeMfc(0, "distribute_mfc", "file|directory",
                      "Produce one command line for each source file") {}

  void Continue() override;

  const ClStringArg &DiagnosticsTablesOption() const {
    return DiagnosticsTables;
  }
  const ClStringArg &DistributeMfcOption() const { return DistributeMfc; }
  const ClWalkResult &Walked() const { return Result; }

private:
  void PrintHelp();
  /// Walks the command line over Root. Help asked for anywhere in it wins:
  /// PrintHelp. Otherwise a command-line error is reported and ends the run
  /// (MsConsoleException); deprecated uses are reported and the run goes on.
  void ParseCommandLine(ClParser &Root);

  const ClLine &Line;
  SuConcreteSetup &Setup;
  std::uint32_t ToolKind;
  std::string Usage;
  bool ShowDiagnosticsTables;
  ClCommandFileArg *CommandFile;
  std::function<void(const ClParser &)> OptionTableVisitor;
  ClStringArg DiagnosticsTables;
  ClFlagArg Mfc;
  ClStringArg DistributeMfc;
  ClWalkResult Result;
};

void SuDoItContinuation::PrintHelp() {
  MsConsole &Console = Setup.Console();
  Console.Start();
  std::string Text = Usage;
  if (Text.compare(0, NoSignOnLength, NoSignOnMarker) == 0) {
    SuBanner Banner(Setup.Banner());
    std::ostream &Out = Console.OutputStream();
    Out << '\n' << Banner.TitleLine() << '\n' << Banner.CopyrightLine() << '\n';
    if (!Setup.ThirdBannerLine().empty())
      Out << Setup.ThirdBannerLine() << '\n';
    Out.flush();
    Text.erase(0, NoSignOnLength);
  }
  std::cout << '\n' << Text;
  ClPrintHelp(std::cout, Setup.Parser());
  std::cout.flush();
  if (!std::cout) {
    Console.Report(MsMakeTag(MsMsgWriteProblem), MsConsole::ErrorFixed, "-");
    throw MsConsoleException();
  }
  throw SuTerminate();
}

void SuDoItContinuation::Continue() {
  ClGroupParser &Root = Setup.Parser();
  if (!ShowDiagnosticsTables)
    DiagnosticsTables.SetDebugOnly();
  Root.Add(std::make_unique<ClOnce>(DiagnosticsTables));
  if (ToolKind == 1) {
    Root.Add(std::make_unique<ClOnce>(Mfc));
    Root.Add(std::make_unique<ClOnce>(DistributeMfc));
  }
  if (CommandFile)
    Root.Add(std::make_unique<ClMultiVal<ClCommandFileArg>>(*CommandFile));
  if (OptionTableVisitor) {
    OptionTableVisitor(Root);
    throw SuTerminate();
  }

  ParseCommandLine(Root);
}

void SuDoItContinuation::ParseCommandLine(ClParser &Root) {
  MsConsole &Console = Setup.Console();
  ClWalkSettings Settings;
  Settings.HelpToken = HelpToken;
  if (ToolKind == 1) {
    Settings.RecordOptions = true;
    Settings.NotRecorded = &DistributeMfc;
  }
  Result = SuWalkCommandLine(Console, Line, Root, Settings);
  if (Result.HelpRequested)
    PrintHelp();

  for (const ClToken &Token : Result.Deprecated)
    SuReportAt(Console, SuMsgDeprecatedOption, Token.Place, {Token.Text});

  if (!Result.Positional.empty() && !Setup.AcceptsSourceFiles()) {
    SuReportTokens(Console, SuMsgUnexpectedArguments, Result.Positional);
    throw MsConsoleException();
  }
}

} // namespace

const std::string &SuProgramPath() { return ProgramPathSetting(); }

SuRunResult SuSetupRun(MsConsole &Console, int Argc, char **Argv,
                       SuToolOptions &ToolOptions,
                       const std::vector<SuTargetSetupSystem *> &Systems,
                       SuRunConfiguration Config) {
  if (Argc > 0 && Argv && Argv[0])
    ProgramPathSetting() = Argv[0];

  std::unique_ptr<SuCommandFileArg> CommandFile(Config.CommandFileArg);
  SuRunResult Result;
  try {
    SuRegisterMessages(Console);
    ClLine Line(Argc, Argv);
    SuConcreteSetup Setup(Console, Config.ToolKind,
                          Config.AcceptsSourceFiles != 0);
    if (Config.Usage.compare(0, NoSignOnLength, NoSignOnMarker) == 0)
      Console.SetSignOnSuppressed(true);

    SuDoItContinuation DoIt(Line, Setup, Config.ToolKind, Config.Usage,
                            Config.ShowDiagnosticsTables != 0,
                            CommandFile.get(),
                            Config.OptionTableVisitor);
    SuTargetSetupContinuation Target(ToolOptions, Setup, DoIt);
    std::vector<std::unique_ptr<SuSetupContinuation>> Links;
    SuContinuation *Next = &Target;
    for (auto It = Systems.rbegin(); It != Systems.rend(); ++It) {
      Links.push_back(
          std::make_unique<SuSetupContinuation>(**It, Setup, *Next));
      Next = Links.back().get();
    }
    SuConsoleSubSystem ConsoleSystem;
    SuSetupContinuation First(ConsoleSystem, Setup, *Next);
    First.Continue();

    SuBanner(Setup.Banner()).HandToConsole(Console);
    Console.Start();
    ToolOptions.TakeOver();
    if (Config.ToolKind == 1 && DoIt.DistributeMfcOption().IsGiven()) {
      SuDistributeCommandLines(Console, DoIt.DistributeMfcOption().Value(),
                               DoIt.Walked());
      throw SuTerminate();
    }
    if (DoIt.DiagnosticsTablesOption().IsGiven()) {
      SuDumpDiagnosticsTables(Console, DoIt.DiagnosticsTablesOption().Value());
      if (Console.ErrorCount() != 0)
        throw MsConsoleException();
      throw SuTerminate();
    }
    Result.Proceed = 1;
  } catch (const SuTerminate &) {
    Result.Proceed = 0;
    Result.Failed = 0;
  } catch (const MsConsoleException &) {
    // Release what was reported before the run stopped.
    Console.Start();
    Result.Proceed = 0;
    Result.Failed = 1;
  }
  return Result;
}
