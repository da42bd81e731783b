// The setup run: the setup object, the chain of continuations, the parse with
// its error reports, help, and the framework's standard options.
#include "setup/SuSetup.h"

#include "appinterface/SuMessages.h"
#include "cmdline/ClHelp.h"
#include "cmdline/ClLine.h"
#include "console/MsConsole.h"
#include "console/MsMessages.h"
#include "console/MsOutputStream.h"
#include "console/MsSubSystem.h"
#include "general/GeInternalFailure.h"
#include "setup/SuCommandFileArg.h"

#include <boost/filesystem.hpp>

#include <functional>
#include <iostream>
#include <sstream>

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

/// Reports a command-line problem of the "Su" table at Place.
void ReportAt(MsConsole &Console, SuMessageNumber Number, const ClPlace &Place,
              const MsFillIns &FillIns) {
  Console.Report(SuTag(Number), MsConsole::CommandLineError,
                 DiSourceRange(Place.Position), FillIns);
}

std::string JoinTokens(const std::vector<ClToken> &Tokens) {
  std::string Text;
  for (const ClToken &Token : Tokens) {
    Text += ' ';
    Text += Token.Text;
  }
  return Text;
}

/// Reports the tokens under a preformatted heading ("Unexpected command line
/// arguments:", "More than one source file specified:"), placed at the
/// first token.
void ReportTokens(MsConsole &Console, SuMessageNumber Number,
                  const std::vector<ClToken> &Tokens) {
  MsFillIns FillIns;
  FillIns.Preformatted = true;
  FillIns.Add(JoinTokens(Tokens));
  ReportAt(Console, Number, Tokens.empty() ? ClPlace() : Tokens.front().Place,
           FillIns);
}

/// The last link: registers the framework's standard options, parses the
/// command line, and prints help when it is asked for. Owns the standard
/// options, so it must live until the setup run has read them.
class SuDoItContinuation : public SuContinuation {
public:
  SuDoItContinuation(const ClLine &CommandLine, SuConcreteSetup &TheSetup,
                     std::uint32_t Kind, std::string UsageText,
                     std::uint8_t Flag, ClCommandFileArg *CommandFileArg,
                     std::function<void(const ClParser &)> Visitor)
      : Line(CommandLine), Setup(TheSetup), ToolKind(Kind),
        Usage(std::move(UsageText)), FirstFlag(Flag),
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
  void WalkAndReport(ClParser &Root);

  const ClLine &Line;
  SuConcreteSetup &Setup;
  std::uint32_t ToolKind;
  std::string Usage;
  std::uint8_t FirstFlag;
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
  if (!FirstFlag)
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

  WalkAndReport(Root);
}

void SuDoItContinuation::WalkAndReport(ClParser &Root) {
  MsConsole &Console = Setup.Console();
  ClWalkSettings Settings;
  Settings.HelpToken = HelpToken;
  if (ToolKind == 1) {
    Settings.RecordOptions = true;
    Settings.NotRecorded = &DistributeMfc;
  }
  try {
    Result = Line.Walk(Root, Settings);
    if (Result.HelpRequested)
      PrintHelp();
  } catch (const ClArgParser::ParseError &Error) {
    ReportAt(Console, SuMsgInternalText2, Error.Place(), {Error.Text()});
    throw MsConsoleException();
  } catch (const ClParser::ParseError &Error) {
    ReportAt(Console, SuMsgInternalText, Error.Place(), {Error.Text()});
    throw MsConsoleException();
  } catch (const ClLine::UnmatchedError &Error) {
    ReportTokens(Console, SuMsgUnexpectedArguments, Error.Arguments());
    throw MsConsoleException();
  } catch (const ClLine::ParaBeginsWithMinusError &Error) {
    ReportAt(Console, SuMsgParaBeginsWithMinus, Error.Place(),
             {Error.Option().Text, Error.Parameter().Text});
    throw MsConsoleException();
  } catch (const ClLine::CommandFileNotFound &Error) {
    ReportAt(Console, SuMsgCommandFileNotFound, Error.Place(),
             {Error.FileName()});
    throw MsConsoleException();
  } catch (const ClLine::CommandFileRecursionError &Error) {
    ReportAt(Console, SuMsgCommandFileRecursion, Error.Place(),
             {Error.FileName()});
    throw MsConsoleException();
  } catch (const ClLine::UnmatchedQuoteError &Error) {
    ReportAt(Console, SuMsgUnmatchedQuote, Error.Place(), {});
    throw MsConsoleException();
  } catch (const ClLine::UnmatchedSlashStarError &Error) {
    ReportAt(Console, SuMsgUnmatchedSlashStar, Error.Place(), {});
    throw MsConsoleException();
  }

  for (const ClToken &Token : Result.Deprecated)
    ReportAt(Console, SuMsgDeprecatedOption, Token.Place, {Token.Text});

  if (!Result.Positional.empty() && !Setup.AcceptsSourceFiles()) {
    ReportTokens(Console, SuMsgUnexpectedArguments, Result.Positional);
    throw MsConsoleException();
  }
}

/// Writes an output file of the framework through a temporary file, so that
/// a failure leaves the old file as it was ("-" is standard output);
/// failures are reported to the console.
void WriteOutputFile(MsConsole &Console, const std::string &Path,
                     const std::function<void(std::ostream &)> &Write) {
  std::unique_ptr<MsOutputStream::OutFile> File = MsOutputStream::Open(
      Console, MsOutputStream::Kind::Temp, Path, MsOutputStream::Mode::Text);
  if (!File)
    return;
  Write(File->Stream());
  File->Close();
}

/// The file a dump option's Value names: standard output ("-") and a device
/// (such as /dev/stdout) as they stand, anything else by SuOutputFileName.
std::string DumpFileName(const std::string &Value,
                         const std::string &DefaultName) {
  if (Value == "-" || MsOutputStream::IsSpecialFile(Value))
    return Value;
  return SuOutputFileName(Value, DefaultName, ".txt");
}

/// Dumps the diagnostic message tables into the file Value names.
void DumpDiagnosticsTables(MsConsole &Console, const std::string &Value) {
  WriteOutputFile(Console, DumpFileName(Value, "diagnostics_tables"),
                  [&Console](std::ostream &Out) { Console.ListTags(Out); });
}

/// Writes one command line per source file for distribute_mfc.
void DistributeCommandLines(MsConsole &Console, const std::string &Value,
                            const ClWalkResult &Walked) {
  std::vector<std::string> Common;
  for (const ClToken &Token : Walked.Recorded)
    Common.push_back(Token.Text);
  std::vector<std::string> Extra;
  for (const ClToken &Token : Walked.SecondRecorded)
    Extra.push_back(Token.Text);
  auto WriteAll = [&](std::ostream &Out) {
    bool First = true;
    for (const ClToken &Source : Walked.Positional) {
      SuWriteCommandLine(Out, Common, Source.Text,
                         First ? Extra : std::vector<std::string>());
      First = false;
    }
  };
  WriteOutputFile(Console, DumpFileName(Value, "separate_commands"), WriteAll);
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
    SuConcreteSetup Setup(Console, Config.ToolKind, Config.SecondFlag != 0);
    if (Config.Usage.compare(0, NoSignOnLength, NoSignOnMarker) == 0)
      Console.SetSignOnSuppressed(true);

    SuDoItContinuation DoIt(Line, Setup, Config.ToolKind, Config.Usage,
                            Config.FirstFlag, CommandFile.get(),
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
      DistributeCommandLines(Console, DoIt.DistributeMfcOption().Value(),
                             DoIt.Walked());
      throw SuTerminate();
    }
    if (DoIt.DiagnosticsTablesOption().IsGiven()) {
      DumpDiagnosticsTables(Console, DoIt.DiagnosticsTablesOption().Value());
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

std::string SuOutputFileName(const std::string &Value,
                             const std::string &DefaultName,
                             const std::string &DefaultExtension) {
  namespace fs = boost::filesystem;
  boost::system::error_code Error;
  fs::path Path(Value);
  if (!Value.empty() && fs::is_directory(Path, Error))
    return (Path / (DefaultName + DefaultExtension)).string();
  if (Path.extension().empty())
    return Value + DefaultExtension;
  return Value;
}

bool SuIsBareWord(const std::string &Word) {
  static const std::string Allowed = "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                     "abcdefghijklmnopqrstuvwxyz"
                                     "0123456789-_./\\=:";
  return !Word.empty() && Word.find_first_not_of(Allowed) == std::string::npos;
}

namespace {
void WriteWord(std::ostream &Out, const std::string &Word) {
  if (SuIsBareWord(Word)) {
    Out << Word;
    return;
  }
  Out << '"';
  for (char Ch : Word) {
    if (Ch == '"' || Ch == '\\')
      Out << '\\';
    Out << Ch;
  }
  Out << '"';
}
} // namespace

void SuWriteCommandLine(std::ostream &Out,
                        const std::vector<std::string> &CommonWords,
                        const std::string &SourceFile,
                        const std::vector<std::string> &ExtraWords) {
  bool First = true;
  for (const std::string &Word : CommonWords) {
    if (!First)
      Out << ' ';
    WriteWord(Out, Word);
    First = false;
  }
  Out << ' ';
  WriteWord(Out, SourceFile);
  for (const std::string &Word : ExtraWords) {
    Out << ' ';
    WriteWord(Out, Word);
  }
  Out << '\n';
}
