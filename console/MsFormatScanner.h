// Reading the format language of message texts.
#ifndef CONSOLE_MSFORMATSCANNER_H
#define CONSOLE_MSFORMATSCANNER_H

#include "sourcepos/DiSourcePosition.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

/// One piece of a format text.
struct MsFormatItem {
  enum ItemType {
    Text,     ///< literal characters: Format[Begin, Begin + Length)
    Percent,  ///< "%%": one "%"
    String,   ///< "%s" [q|u] [number]: string fill-in Index
    Position, ///< "%p" [v] [number]: position fill-in Index
    BadLetter ///< "%" followed by another letter, or by nothing
  };
  ItemType Type = Text;
  std::size_t Begin = 0;
  std::size_t Length = 0;
  /// 'q', 'u' or 0 for strings; 'v' or 0 for positions.
  char Modifier = 0;
  /// The selected fill-in, counted from 0: no number and the number 0 both
  /// select the first. Numbers too large for 32 bits saturate.
  std::uint32_t Index = 0;
};

/// Cuts a format text into items, left to right:
///   "%%" -> Percent; "%s" with an optional "q" or "u" and an optional
///   decimal number -> String; "%p" with an optional "v" and an optional
///   number -> Position; "%" with anything else or at the end -> BadLetter
///   (and the scan ends); every run of other characters -> Text.
/// The format must outlive the scanner.
class MsFormatScanner {
public:
  explicit MsFormatScanner(const std::string &Text) : Format(Text) {}

  /// The next item; false at the end of the format or after a BadLetter.
  bool Next(MsFormatItem &Item);

private:
  std::uint32_t ReadNumber();

  const std::string &Format;
  std::size_t At = 0;
  bool Done = false;
};

/// What a message content makes of the pieces of its format. MsWalkFormat
/// hands it the pieces in order, with the fill-ins already looked up.
class MsFormatVisitor {
public:
  virtual ~MsFormatVisitor();
  /// Literal characters; "%%" comes as one "%".
  virtual void Text(const char *Begin, std::size_t Length) = 0;
  /// A string fill-in with its modifier ('q', 'u' or 0).
  virtual void String(const std::string &Value, char Modifier) = 0;
  /// A position fill-in with its modifier ('v' or 0).
  virtual void Position(const DiSourceRange &Range, char Modifier) = 0;
  /// The format is done; called before the unused fill-ins are looked for.
  virtual void End() {}
};

/// The internal-failure texts of one kind of message content.
struct MsFillInFailureTexts {
  const char *MissingString;
  const char *MissingPosition;
  /// Followed by the fill-in's number (counted from 1, after an "s" for
  /// either kind) and its text in double quotes and parentheses.
  const char *Unused;
};

/// Walks Format left to right, handing its pieces to Visitor. A reference to
/// a fill-in that was not provided, a "%" followed by another letter, and at
/// the end a provided fill-in that no reference selected, are defects of the
/// issuing code: they go to the internal-failure exit with a text of Texts.
void MsWalkFormat(const std::string &Format,
                  const std::vector<std::string> &Strings,
                  const std::vector<DiSourceRange> &Positions,
                  const MsFillInFailureTexts &Texts, MsFormatVisitor &Visitor);

#endif
