// The console's setup part: its command-line options and how their values
// reach the console.
#ifndef CONSOLE_MSSUBSYSTEM_H
#define CONSOLE_MSSUBSYSTEM_H

#include "cmdline/ClArg.h"
#include "cmdline/ClParser.h"
#include "console/MsConsole.h"
#include "console/MsDependFileArg.h"

#include <iosfwd>
#include <string>

/// Applies one diag option value: turns TagText into a tag and sets its
/// level to Lvl. Reports Ms001 (no such tag) or Ms002 (a tag at level 0 or
/// 2) with TagText at Where when that fails; the run goes on.
void MsApplyDiagnosticLevel(MsConsole &Console, MsConsole::Level Lvl,
                            const std::string &TagText,
                            const DiSourcePosition &Where);

/// Owns the console's option objects and their parsers. DeclareOptions adds
/// them to a parser group (which refers to them, so this object must outlive
/// the group); after the parse, Apply hands the values to a console.
///
/// Options, in this order: silent, no_warnings, remarks,
/// warnings_are_errors, warnings_affect_exit_code, the four diag options
/// diag_suppress, diag_remark, diag_warning and diag_error (one
/// ClMMultiVal that keeps each tag with its option's level in command-line
/// order), only_stdout, no_wrap_diagnostics, error_limit (0 to 2147483647),
/// dependencies (any number of times, one dependency list each).
class MsSubSystem {
public:
  MsSubSystem();
  MsSubSystem(const MsSubSystem &) = delete;
  MsSubSystem &operator=(const MsSubSystem &) = delete;

  /// Appends the option parsers to Group, in the order above.
  void DeclareOptions(ClGroupParser &Group);

  /// Hands the parsed values to Console: the silent flag always; the other
  /// flags, only_stdout (the error stream becomes StandardOut),
  /// no_wrap_diagnostics (line width -1) and error_limit only when given;
  /// then the diag options in command-line order, so that the diagnostics
  /// they raise (Ms001, Ms002) already obey the flags; then one dependency
  /// list per dependencies occurrence, in order (see ApplyDependencies).
  void Apply(MsConsole &Console, std::ostream &StandardOut) const;
  /// Apply with standard output.
  void Apply(MsConsole &Console) const;

  /// Hands Console only_stdout and no_wrap_diagnostics (as Apply does) when
  /// the walk met them, well-formed, whether or not the parse went on to
  /// succeed: the command-line errors of that parse obey them too.
  void ApplyOutputOptions(MsConsole &Console, std::ostream &StandardOut) const;
  /// ApplyOutputOptions with standard output.
  void ApplyOutputOptions(MsConsole &Console) const;

  /// Opens the dependency lists the dependencies occurrences ask for, each
  /// an output file of kind Temp whose path MsDependHandler::ListPath forms
  /// from the destination and the console's main output name, and adds them
  /// to Console, which writes them at its summary. The main output name is
  /// also the target the make styles write; the tool sets it before the
  /// console's options are applied ("-" when the main output is standard
  /// output, which leaves "+" and folder destinations without a name). A
  /// destination that names no file is reported as Ms006 with the
  /// destination, one that names the main output or the main input (the
  /// same file, however spelt) as Ms006 with the list's path, one that
  /// cannot be opened as Ms003; after such a failure, once every list was
  /// tried, the lists are dropped and MsConsoleException is thrown: the run
  /// stops before the tool's work, and no list is written. The destination
  /// "-" is standard output, where the list comes at the summary, after the
  /// tool's own output.
  void ApplyDependencies(MsConsole &Console) const;

  const ClFlagArg &SilentOption() const { return Silent; }
  const ClIntegerArg &ErrorLimitOption() const { return ErrorLimit; }

private:
  ClFlagArg Silent;
  ClFlagArg NoWarnings;
  ClFlagArg Remarks;
  ClFlagArg WarningsAreErrors;
  ClFlagArg WarningsAffectExitCode;
  ClStringSetArg DiagSuppress;
  ClStringSetArg DiagRemark;
  ClStringSetArg DiagWarning;
  ClStringSetArg DiagError;
  ClFlagArg OnlyStdout;
  ClFlagArg NoWrap;
  ClIntegerArg ErrorLimit;
  MsDependFileArg Dependencies;

  ClOnce SilentParser;
  ClOnce NoWarningsParser;
  ClOnce RemarksParser;
  ClOnce WarningsAreErrorsParser;
  ClOnce WarningsAffectExitCodeParser;
  ClMMultiVal<MsConsole::Level, ClStringSetArg> Diag;
  ClOnce OnlyStdoutParser;
  ClOnce NoWrapParser;
  ClOnce ErrorLimitParser;
  ClMultiVal<MsDependFileArg> DependenciesParser;
};

#endif
