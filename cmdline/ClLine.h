// The command line: the argument tokens, the walk that hands them to a parser
// tree (expanding command files on the way), and the errors of the walk and
// of command files.
#ifndef CMDLINE_CLLINE_H
#define CMDLINE_CLLINE_H

#include "cmdline/ClMessages.h"
#include "cmdline/ClToken.h"

#include <cstddef>
#include <istream>
#include <stdexcept>
#include <string>
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
};

/// The command line of one run. Holds the typed arguments; Walk offers them
/// to a parser tree.
///
/// When the walk meets an option of kind ClCommandFileArg, the named file is
/// read at once and its tokens are walked in place of the option, exactly as
/// if they had been typed there; command files named inside are expanded the
/// same way. A file that is still being walked (its tokens are not all
/// consumed) may not be named again: that is a recursion error. Nesting is
/// also refused beyond MaxCommandFileDepth files, which only names spelled
/// differently for one file can reach.
class ClLine {
public:
  class ErrorBase;
  class UnmatchedError;
  class ParaBeginsWithMinusError;
  class CommandFileNotFound;
  class CommandFileRecursionError;
  class UnmatchedQuoteError;
  class UnmatchedSlashStarError;

  static constexpr std::size_t MaxCommandFileDepth = 100;

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

  /// Reads all tokens of the command file Name from In. The file is entered
  /// in the process-wide command-file line sequence (ClCommandFileLines), and
  /// the tokens' positions point into it. Raises UnmatchedQuoteError and
  /// UnmatchedSlashStarError; no tokens are returned then.
  static std::vector<ClToken> ReadCommandFile(std::istream &In,
                                              const std::string &Name);

private:
  std::vector<ClToken> Args;
};

/// Base of the walk and command-file errors: the tag of the message, a plain
/// text for what() (fill-ins in double quotes) and the place the message
/// points at (no place when it points nowhere). The kinds carry the fill-ins
/// of their messages separately.
class ClLine::ErrorBase : public std::runtime_error {
public:
  ErrorBase(ClMsg Tag, const std::string &Text, ClPlace Place);

  ClMsg Tag() const { return MessageTag; }
  const ClPlace &Place() const { return Where; }

private:
  ClMsg MessageTag;
  ClPlace Where;
};

/// Unknown options met by the walk: "Unexpected command line arguments:".
class ClLine::UnmatchedError : public ClLine::ErrorBase {
public:
  explicit UnmatchedError(std::vector<ClToken> Tokens);
  /// The unknown option tokens, in order.
  const std::vector<ClToken> &Arguments() const { return Unmatched; }

private:
  std::vector<ClToken> Unmatched;
};

/// A separate parameter that begins with "-" but not with "---"; placed at
/// the option.
class ClLine::ParaBeginsWithMinusError : public ClLine::ErrorBase {
public:
  ParaBeginsWithMinusError(ClToken Option, ClToken Parameter);
  const ClToken &Option() const { return OptionToken; }
  const ClToken &Parameter() const { return ParameterToken; }

private:
  ClToken OptionToken;
  ClToken ParameterToken;
};

/// A command file that cannot be opened; placed at the option that named it.
class ClLine::CommandFileNotFound : public ClLine::ErrorBase {
public:
  CommandFileNotFound(std::string FileName, ClPlace OptionPlace);
  const std::string &FileName() const { return Name; }

private:
  std::string Name;
};

/// A command file named while it is still being processed; placed at the
/// option that named it.
class ClLine::CommandFileRecursionError : public ClLine::ErrorBase {
public:
  CommandFileRecursionError(std::string FileName, ClPlace OptionPlace);
  const std::string &FileName() const { return Name; }

private:
  std::string Name;
};

/// The end of a command file inside a quoted stretch; placed at the opening
/// quote.
class ClLine::UnmatchedQuoteError : public ClLine::ErrorBase {
public:
  UnmatchedQuoteError(std::string FileName, ClPlace QuotePlace);
  const std::string &FileName() const { return Name; }

private:
  std::string Name;
};

/// The end of a command file inside a block comment; placed at its "/*".
class ClLine::UnmatchedSlashStarError : public ClLine::ErrorBase {
public:
  UnmatchedSlashStarError(std::string FileName, ClPlace CommentPlace);
  const std::string &FileName() const { return Name; }

private:
  std::string Name;
};

#endif
