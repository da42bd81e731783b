// Argument tokens, their places, and the occurrences of options among them.
#ifndef CMDLINE_CLTOKEN_H
#define CMDLINE_CLTOKEN_H

#include "sourcepos/DiSourcePosition.h"

#include <string>
#include <vector>

/// Where a token came from. A typed argument has its index in the argument
/// vector and no source position; a token read from a command file has its
/// file/line/column position (in the process-wide command-file line
/// sequence, see ClCommandFile.h) and the index -1. A place without either
/// is "no place" (IsNone), used for messages that point nowhere.
struct ClPlace {
  ClPlace() : Position(DiSourcePosition::sNone) {}
  explicit ClPlace(int Index)
      : Position(DiSourcePosition::sNone), ArgIndex(Index) {}
  explicit ClPlace(const DiSourcePosition &Pos) : Position(Pos) {}

  bool IsNone() const { return ArgIndex < 0 && Position.IsNone(); }
  bool IsArgument() const { return ArgIndex >= 0; }

  DiSourcePosition Position;
  int ArgIndex = -1;
};

/// One argument: its text (bytes as given) and its place.
struct ClToken {
  ClToken() = default;
  ClToken(std::string TokenText, ClPlace TokenPlace)
      : Text(std::move(TokenText)), Place(std::move(TokenPlace)) {}

  std::string Text;
  ClPlace Place;
};

/// The texts of Tokens, in order.
std::vector<std::string> ClTokenTexts(const std::vector<ClToken> &Tokens);

/// How a token matched an option (the match kinds of ClArg::Match).
enum ClArgPara : int {
  /// The token is not this option.
  ClNoMatch = 0,
  /// The option is complete in this token.
  ClParaInToken = 1,
  /// The option's parameter is the next argument.
  ClParaSeparate = 2,
};

/// One occurrence of an option: the option token, the parameter text found
/// inside it (after the short letter, or after "=" / "#"), and, when the
/// parameter was the following argument, that argument's text. A separate
/// parameter written with "---" arrives here with its two extra dashes
/// already removed.
struct ClOccurrence {
  ClToken Option;
  std::string InToken;
  std::string Separate;
  bool HasSeparate = false;

  /// The parameter of a single-parameter option: the separate argument when
  /// there is one, else the text inside the token.
  const std::string &Parameter() const {
    return HasSeparate ? Separate : InToken;
  }
  const ClPlace &Place() const { return Option.Place; }
};

#endif
