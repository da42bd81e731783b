// Reading the format language of message texts.
#ifndef CONSOLE_MSFORMATSCANNER_H
#define CONSOLE_MSFORMATSCANNER_H

#include <cstddef>
#include <cstdint>
#include <string>

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

#endif
