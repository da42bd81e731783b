// The setup run: how a tool's setup systems declare their options on one
// parser tree through a chain of continuations, how the framework parses the
// command line, prints help or dumps its tables, and tells the tool whether
// to go on.
#ifndef SETUP_SUSETUP_H
#define SETUP_SUSETUP_H

#include "cmdline/ClArg.h"
#include "cmdline/ClParser.h"
#include "setup/SuSignOn.h"

#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <vector>

class MsConsole;
class SuCommandFileArg;

/// Thrown to end the run with success: help was printed, or a dump option did
/// its job. Carries no data.
class SuTerminate : public std::exception {
public:
  const char *what() const noexcept override;
};

/// What a tool hands the setup run besides its options and setup systems.
struct SuRunConfiguration {
  /// 1 for a tool that compiles several source files (it gets the options
  /// mfc and distribute_mfc); this framework's other tools pass 2.
  std::uint32_t ToolKind = 2;
  /// The command-file option; the setup run takes ownership. May be null.
  SuCommandFileArg *CommandFileArg = nullptr;
  /// The usage text; it may begin with "<NoSignOn>".
  std::string Usage;
  /// Whether diagnostics_tables is an ordinary option; when 0 it is marked
  /// debug-only (help then leaves it out).
  std::uint8_t ShowDiagnosticsTables = 1;
  /// Whether the tool accepts source files as positional arguments; when 0
  /// every positional argument is an unexpected argument.
  std::uint8_t AcceptsSourceFiles = 0;
  /// When set, the setup run declares every option as usual, then hands the
  /// finished parser tree to this function instead of reading the command
  /// line, and answers that the tool does not go on. The tree and its options
  /// live only for the length of the call. Documents that list the options
  /// (the manual page, shell completion) are generated this way.
  std::function<void(const ClParser &)> OptionTableVisitor;
};

/// The answer of the setup run: whether the tool goes on with its work, and
/// whether an error ended the setup.
struct SuRunResult {
  std::uint8_t Proceed = 0;
  std::uint8_t Failed = 0;
};

class SuSourceState;
class SuTargetState;
class SuParserState;
class SuLinkerState;

/// The states a tool may ask for once setup is done. The base has none.
class SuPostSetupState {
public:
  virtual ~SuPostSetupState();
  virtual const SuSourceState *GetSourceState() const { return nullptr; }
  virtual const SuTargetState *GetTargetState() const { return nullptr; }
  /// The parser state; an internal failure in a tool without a parser.
  virtual const SuParserState &GetParserState() const = 0;
  /// The linker state; an internal failure in a tool that does not link.
  virtual const SuLinkerState &GetLinkerState() const = 0;
};

/// The face of a setup run that setup systems and continuations see: the
/// parser tree they add their options to, the console, the banner texts and
/// the post-setup states.
class SuSetup {
public:
  virtual ~SuSetup();
  /// The root of the parser tree; systems add their option parsers to it.
  virtual ClGroupParser &Parser() = 0;
  virtual MsConsole &Console() = 0;
  /// The banner texts, supplied by the tool's setup system.
  virtual void SetBanner(const SuBannerInputs &Inputs) = 0;
  virtual const SuBannerInputs &Banner() const = 0;
  /// An optional third banner line, printed after the other two in help.
  virtual void SetThirdBannerLine(const std::string &Line) = 0;
  virtual const std::string &ThirdBannerLine() const = 0;
  virtual const SuPostSetupState &PostSetupState() const = 0;
};

/// The setup of a tool that produces a target: adds what such tools share.
class SuTargetSetup : public virtual SuSetup {
public:
  /// The tool kind of the run configuration.
  virtual std::uint32_t ToolKind() const = 0;
  /// Whether positional arguments (source files) are accepted.
  virtual bool AcceptsSourceFiles() const = 0;
};

/// One link of the setup chain.
class SuContinuation {
public:
  virtual void Continue() = 0;
  virtual ~SuContinuation();
};

/// A tool's setup system: adds its options and settings to the setup, calls
/// Next (which parses), and then takes what the parse gave it.
class SuTargetSetupSystem {
public:
  virtual ~SuTargetSetupSystem();
  virtual void Reserved() {}
  virtual void Setup(SuTargetSetup &Setup, SuContinuation &Next) = 0;
};

/// A framework subsystem's setup (the console's, for one); installed by the
/// framework itself before the tool's systems.
class SuSubSystem {
public:
  virtual ~SuSubSystem();
  virtual void Reserved() {}
  virtual void Setup(SuSetup &Setup, SuContinuation &Next) = 0;
};

/// The tool's option object: adds the tool's own options, continues, and
/// after the whole chain takes over the parsed values.
class SuToolOptions {
public:
  virtual ~SuToolOptions();
  virtual void Setup(SuTargetSetup &Setup, SuContinuation &Next);
  virtual void TakeOver();
};

/// Runs the setup of a tool: registers the "Su" messages, builds the command
/// line, the parser tree and the setup object, runs the chain (the console's
/// subsystem, then Systems in order, then ToolOptions, then the parse),
/// prints help or dumps the diagnostic tables when asked, and answers whether
/// the tool goes on. Errors have been reported to the console when Failed is
/// set. Argv[0], when present, is recorded as the program path. Every report
/// goes to Console, which the setup systems reach through SuSetup::Console.
SuRunResult SuSetupRun(MsConsole &Console, int Argc, char **Argv,
                       SuToolOptions &ToolOptions,
                       const std::vector<SuTargetSetupSystem *> &Systems,
                       SuRunConfiguration Config);

/// The program path recorded by the last setup run (Argv[0]), empty before.
const std::string &SuProgramPath();

#endif
