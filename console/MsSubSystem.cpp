// The console's command-line options and how their values reach the console.
#include "console/MsSubSystem.h"

#include "console/MsDependHandler.h"
#include "console/MsMessageFormatter.h"
#include "console/MsMessages.h"
#include "console/MsOutputStream.h"

#include <iostream>

void MsApplyDiagnosticLevel(MsConsole &Console, MsConsole::Level Lvl,
                            const std::string &TagText,
                            const DiSourcePosition &Where) {
  MsTag Tag;
  if (!Console.TextToTag(TagText, Tag)) {
    Console.Report(MsMakeTag(MsMsgUnknownTag), MsConsole::Warning,
                   DiSourceRange(Where), MsFillIns{TagText});
    return;
  }
  if (!Console.SetTagLevel(Tag, Lvl))
    Console.Report(MsMakeTag(MsMsgFixedTag), MsConsole::Warning,
                   DiSourceRange(Where), MsFillIns{TagText});
}

namespace {
const char DiagHint[] = "tag,tag,...";

/// Whether the walk met the flag of Parser in a form it accepts: a flag keeps
/// its first occurrence, which must carry no parameter.
bool FlagWalked(const ClArgParser &Parser) {
  const std::vector<ClOccurrence> &Occs = Parser.Occurrences();
  return !Occs.empty() && Occs.front().InToken.empty();
}

/// Whether a dependency list at Path would be written over the tool's main
/// output or its main input. Standard output ("-") may carry both the main
/// output and lists.
bool WouldOverwriteRunFile(const MsConsole &Console, const std::string &Path) {
  if (Path == "-")
    return false;
  const std::string &Output = Console.MainOutputName();
  const std::string &Input = Console.MainInputName();
  return (!Output.empty() && Output != "-" &&
          MsOutputStream::SameFile(Path, Output)) ||
         (!Input.empty() && MsOutputStream::SameFile(Path, Input));
}
} // namespace

MsSubSystem::MsSubSystem()
    : Silent(0, "silent", "Silent operation"),
      NoWarnings(0, "no_warnings", "Disable generation of warnings"),
      Remarks(0, "remarks", "Enable generation of remarks"),
      WarningsAreErrors(0, "warnings_are_errors", "All warnings are errors"),
      WarningsAffectExitCode(0, "warnings_affect_exit_code",
                             "Warnings affect exit code"),
      DiagSuppress(0, "diag_suppress", DiagHint,
                   "Suppress the list of tags as diagnostics", ','),
      DiagRemark(0, "diag_remark", DiagHint,
                 "Treat the list of tags as remark diagnostics", ','),
      DiagWarning(0, "diag_warning", DiagHint,
                  "Treat the list of tags as warning diagnostics", ','),
      DiagError(0, "diag_error", DiagHint,
                "Treat the list of tags as error diagnostics", ','),
      OnlyStdout(0, "only_stdout",
                 "Use stdout only (no console output on stderr)"),
      NoWrap(0, "no_wrap_diagnostics",
             "Don't wrap long lines in diagnostic messages"),
      ErrorLimit(0, "error_limit", "limit",
                 "Stop after this many errors (0 = no limit)",
                 ClIntegerArg::Base::Decimal, 0, 2147483647),
      SilentParser(Silent), NoWarningsParser(NoWarnings),
      RemarksParser(Remarks), WarningsAreErrorsParser(WarningsAreErrors),
      WarningsAffectExitCodeParser(WarningsAffectExitCode),
      OnlyStdoutParser(OnlyStdout), NoWrapParser(NoWrap),
      ErrorLimitParser(ErrorLimit), DependenciesParser(Dependencies) {
  Diag.Add(MsConsole::Suppressed, DiagSuppress);
  Diag.Add(MsConsole::Remark, DiagRemark);
  Diag.Add(MsConsole::Warning, DiagWarning);
  Diag.Add(MsConsole::Error, DiagError);
}

void MsSubSystem::DeclareOptions(ClGroupParser &Group) {
  Group.Add(SilentParser);
  Group.Add(NoWarningsParser);
  Group.Add(RemarksParser);
  Group.Add(WarningsAreErrorsParser);
  Group.Add(WarningsAffectExitCodeParser);
  Group.Add(Diag);
  Group.Add(OnlyStdoutParser);
  Group.Add(NoWrapParser);
  Group.Add(ErrorLimitParser);
  Group.Add(DependenciesParser);
}

void MsSubSystem::Apply(MsConsole &Console) const { Apply(Console, std::cout); }

void MsSubSystem::Apply(MsConsole &Console, std::ostream &StandardOut) const {
  Console.SetSilent(Silent.Value());
  if (NoWarnings.IsGiven())
    Console.SetWarningsEnabled(false);
  if (Remarks.IsGiven())
    Console.SetRemarksEnabled(true);
  if (WarningsAreErrors.IsGiven())
    Console.SetWarningsAreErrors(true);
  if (WarningsAffectExitCode.IsGiven())
    Console.SetWarningsAffectExitCode(true);
  ApplyOutputOptions(Console, StandardOut);
  if (ErrorLimit.IsGiven())
    Console.SetErrorLimit(static_cast<std::uint32_t>(ErrorLimit.Value()));
  for (const auto &Value : Diag.Values())
    MsApplyDiagnosticLevel(Console, Value.Level, Value.Item.Text,
                           Value.Item.Place.Position);
  ApplyDependencies(Console);
}

void MsSubSystem::ApplyOutputOptions(MsConsole &Console) const {
  ApplyOutputOptions(Console, std::cout);
}

void MsSubSystem::ApplyOutputOptions(MsConsole &Console,
                                     std::ostream &StandardOut) const {
  if (FlagWalked(OnlyStdoutParser))
    Console.SetErrorStream(StandardOut);
  if (FlagWalked(NoWrapParser))
    Console.GetFormatter().SetWidth(-1);
}

void MsSubSystem::ApplyDependencies(MsConsole &Console) const {
  const std::string &Target = Console.MainOutputName();
  bool Failed = false;
  for (const ClTwoParaValue &Value : DependenciesParser.Values()) {
    MsDependFlags Flags = MsDependFileArg::ParseFlags(Value.First);
    std::string Path;
    if (!MsDependHandler::ListPath(Value.Second, Target, Path)) {
      Console.Report(MsMakeTag(MsMsgIllegalPath), MsConsole::ErrorFixed,
                     Value.Second);
      Failed = true;
      continue;
    }
    if (WouldOverwriteRunFile(Console, Path)) {
      Console.Report(MsMakeTag(MsMsgIllegalPath), MsConsole::ErrorFixed, Path);
      Failed = true;
      continue;
    }
    std::unique_ptr<MsOutputStream::OutFile> File = MsOutputStream::Open(
        Console, MsOutputStream::Kind::Temp, Path, MsOutputStream::Mode::Text);
    if (!File) {
      Failed = true;
      continue;
    }
    Console.AddDependencyList(std::make_unique<MsDependHandler>(
        Flags.Style, Flags.IncludeSystemFiles, Target, std::move(File)));
  }
  if (Failed) {
    Console.DiscardDependencyLists();
    throw MsConsoleException();
  }
}
