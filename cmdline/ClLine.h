// The command line: the argument tokens, the walk that hands them to a parser
// tree (expanding command files on the way), and the errors of the walk and
// of command files.
#ifndef CMDLINE_CLLINE_H
#define CMDLINE_CLLINE_H

#include "cmdline/ClMessages.h"
#include "cmdline/ClToken.h"

#include <cstddef>
#include <cstdint>
#include <istream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

class ClArg;
class ClParser;

/// How the walk treats unknown options and which option tokens it records.
struct ClWalkSettings {
  /// Unknown options become positional arguments instead of errors.
  bool AcceptUnknownOptions = false;
  /// Record matched option tokens (and their separate parameters, as typed)
  /// in ClWalkResult::Recorded, or in SecondRecorded for options with the
  /// second mark.
  bool RecordOptions = false;
  /// Tokens that begin with this option's name ("--" and its long name, or
  /// "-" and its short letter) are not recorded. May be null.
  const ClArg *NotRecorded = nullptr;
  /// A token equal to this text where an option may stand (not taken as a
  /// separate parameter) asks for help: the walk stops there and answers
  /// ClWalkResult::HelpRequested, whatever errors it met before. Empty: no
  /// such token.
  std::string HelpToken;
};

/// What the walk hands back to its caller.
struct ClWalkResult {
  /// Arguments no option took, in order (command-file tokens included).
  std::vector<ClToken> Positional;
  /// Tokens of options marked deprecated, for "The use of this option is
  /// deprecated" reports.
  std::vector<ClToken> Deprecated;
  /// Recorded option tokens (see ClWalkSettings).
  std::vector<ClToken> Recorded;
  /// Recorded option tokens of options with the second mark.
  std::vector<ClToken> SecondRecorded;
  /// The walk met the help token (see ClWalkSettings::HelpToken). The other
  /// lists then hold what was walked before it, and no occurrence was
  /// checked.
  bool HelpRequested = false;
};

/// The messages of the walk and command-file errors. Their texts live in the
/// framework's diagnostic table, under these numbers; the reader holds none.
/// An error carries its message and the string fill-ins that the message's
/// text refers to (%sq, or %sq1 and %sq2), in order.
enum class ClLineMessage : std::uint16_t {
  UnexpectedArguments = 2,
  ParaBeginsWithMinus = 6,
  CommandFileNotFound = 7,
  CommandFileRecursion = 8,
  UnmatchedQuote = 9,
  UnmatchedSlashStar = 10,
};

/// The command line of one run. Holds the typed arguments; Walk offers them
/// to a parser tree.
///
/// When the walk meets an option of kind ClCommandFileArg, the named file is
/// read whole and closed, and its tokens are walked in place of the option,
/// exactly as if they had been typed there; command files named inside are
/// expanded the same way. The token lists of nested files are kept on an
/// explicit stack, so nesting is limited only by memory. A file that is
/// still being walked (its tokens are not all consumed) may not be named
/// again, under any spelling (files are compared by ClCommandFileArg::
/// Identify): that is a recursion error, reported with the name as it was
/// requested.
///
/// An error met in the middle of the walk (a parse error of a token, the
/// initial-dash rule, a command file that cannot be read) does not stop it at
/// once: the first one is kept, the rest of the tokens are still walked so
/// that a later help token wins, and the kept error is raised at the end,
/// before the unknown options are reported.
class ClLine {
public:
  class ErrorBase;
  class UnmatchedError;
  class ParaBeginsWithMinusError;
  class FileError;
  template <ClLineMessage Kind> class FileErrorOf;
  /// A command file that cannot be opened; placed at the option that named
  /// it.
  using CommandFileNotFound = FileErrorOf<ClLineMessage::CommandFileNotFound>;
  /// A command file named while it is still being processed; placed at the
  /// option that named it.
  using CommandFileRecursionError =
      FileErrorOf<ClLineMessage::CommandFileRecursion>;
  /// The end of a command file inside a quoted stretch; placed at the
  /// opening quote.
  using UnmatchedQuoteError = FileErrorOf<ClLineMessage::UnmatchedQuote>;
  /// The end of a command file inside a block comment; placed at its "/*".
  using UnmatchedSlashStarError =
      FileErrorOf<ClLineMessage::UnmatchedSlashStar>;

  ClLine() = default;
  /// The arguments Argv[1] .. Argv[Argc - 1], each placed at its index; a
  /// null Argv or null element counts as no argument and an empty one.
  ClLine(int Argc, const char *const *Argv);
  /// Arguments without the program name; argument I gets index I + 1, as if
  /// it came from an argument vector.
  explicit ClLine(const std::vector<std::string> &Arguments);
  /// Tokens as they stand, with their own places.
  static ClLine FromTokens(std::vector<ClToken> Tokens);

  const std::vector<ClToken> &Arguments() const { return Args; }

  /// Walks the arguments over the tree under Root: every token is offered to
  /// Root; a token consumed as a separate parameter is skipped; unknown
  /// options are gathered and reported together (UnmatchedError) after the
  /// last token; then Root checks its occurrences and stores the values.
  /// Raises ClParser::ParseError (and ClArgParser::ParseError) and the
  /// ClLine errors.
  ClWalkResult Walk(ClParser &Root,
                    const ClWalkSettings &Settings = ClWalkSettings()) const;

  /// Reads the rest of In, the command file Name, and answers its text as
  /// UTF-8 (GeUnicode::DecodeMarkedText: a UTF-8 mark is dropped, UTF-16
  /// with its mark is decoded). Malformed UTF-16 raises CommandFileNotFound
  /// placed at OptionPlace.
  static std::string ReadCommandFileText(std::istream &In,
                                         const std::string &Name,
                                         const ClPlace &OptionPlace);
  /// All tokens of Text, the contents of the command file Name. The file is
  /// entered in the process-wide command-file line sequence
  /// (ClCommandFileLines), and the tokens' positions point into it. Raises
  /// UnmatchedQuoteError and UnmatchedSlashStarError; no tokens are returned
  /// then.
  static std::vector<ClToken> TokenizeCommandFile(const std::string &Text,
                                                  const std::string &Name);
  /// ReadCommandFileText (with no option place), then TokenizeCommandFile.
  static std::vector<ClToken> ReadCommandFile(std::istream &In,
                                              const std::string &Name);

private:
  std::vector<ClToken> Args;
};


/// Base of the walk and command-file errors: the message, its fill-ins and
/// the place it points at (no place when it points nowhere). what() names
/// the message by number and lists the fill-ins in double quotes; it is for
/// logs, never shown to a user.
class ClLine::ErrorBase : public std::runtime_error {
public:
  ErrorBase(ClLineMessage Message, std::vector<std::string> FillIns,
            ClPlace Place);

  ClLineMessage Message() const { return Number; }
  const std::vector<std::string> &FillIns() const { return Strings; }
  const ClPlace &Place() const { return Where; }

private:
  ClLineMessage Number;
  std::vector<std::string> Strings;
  ClPlace Where;
};

/// Unknown options met by the walk (UnexpectedArguments). The fill-ins are
/// the tokens' texts, in order.
class ClLine::UnmatchedError : public ClLine::ErrorBase {
public:
  explicit UnmatchedError(std::vector<ClToken> Tokens);
  /// The unknown option tokens, in order.
  const std::vector<ClToken> &Arguments() const { return Unmatched; }

private:
  std::vector<ClToken> Unmatched;
};

/// A separate parameter that begins with "-" but not with "---"; placed at
/// the option. Fill-ins: the option token and the parameter.
class ClLine::ParaBeginsWithMinusError : public ClLine::ErrorBase {
public:
  ParaBeginsWithMinusError(ClToken Option, ClToken Parameter);
  const ClToken &Option() const { return OptionToken; }
  const ClToken &Parameter() const { return ParameterToken; }

private:
  ClToken OptionToken;
  ClToken ParameterToken;
};

/// An error about one command file, which it names. The name is also the
/// message's fill-in when the message refers to the file (CommandFileNotFound,
/// CommandFileRecursion); the messages about a file's contents have none.
class ClLine::FileError : public ClLine::ErrorBase {
public:
  const std::string &FileName() const { return Name; }

protected:
  FileError(ClLineMessage Message, std::string FileName, ClPlace Place);

private:
  std::string Name;
};

/// The FileError of one message; the kinds are named in ClLine.
template <ClLineMessage Kind>
class ClLine::FileErrorOf : public ClLine::FileError {
public:
  FileErrorOf(std::string FileName, ClPlace Place)
      : FileError(Kind, std::move(FileName), std::move(Place)) {}
};

#endif
