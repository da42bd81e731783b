// The content of a diagnostic: its format with numbered fill-ins, laid out
// into words and lines.
#ifndef APPINTERFACE_LCMESSAGECONTENT_H
#define APPINTERFACE_LCMESSAGECONTENT_H

#include "console/MsMessageContent.h"
#include "sourcepos/DiSourcePosition.h"

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

/// Translates file names written with "%su" (for example into the names a
/// user knows them by).
class LcFileNameTranslator {
public:
  virtual ~LcFileNameTranslator();
  /// Whether Name is one this translator translates.
  virtual bool Accepts(const std::string &Name) const = 0;
  virtual std::string Translate(const std::string &Name) const = 0;
};

/// One diagnostic's text: a format, the string fill-ins s1, s2, ... and the
/// position fill-ins p1, p2, ... it refers to, laid out into words.
///
/// Format language, read left to right: "%%" is one "%"; "%s", an optional
/// "q" or "u" and an optional number insert a string fill-in; "%p", an
/// optional "v" and an optional number insert a position fill-in. No number
/// and 0 select fill-in 1. A blank ends a word and counts one pending blank,
/// a line feed ends the word and the line; every other character joins the
/// current word.
///   "%s"  the string laid out like format text;
///   "%sq" the string in double quotes, joined to the current word;
///   "%su" a file name: translated when the translator accepts it, in double
///         quotes; when ShowGivenName is set and the name was translated, a
///         further word "(" given name ")" follows;
///   "%p"  the position as "\"file\", line N" ("%pv": "at line N of
///         \"file\""), laid out as words; nothing for sNone. With
///         TaggedPositions (the tool runs under the IDE link) the text is
///         wrapped in the tagged SRCREF marks.
///
/// Word layout: with width 0 every word is appended as it stands. Otherwise
/// a word that does not fit after the line's text and pending blanks starts a
/// new line (pending blanks are dropped at a wrap); continuation lines are
/// indented by the first indentation plus 10; a word longer than a line is
/// cut at the line's end and continued on the next. Blanks at the end of the
/// text are kept when they fit on the line. A line feed of the text
/// starts a line at the first indentation and keeps the blanks that follow
/// it. A line feed inside a quoted fill-in ends the line as it stands.
///
/// Defects of the issuing code, raised through GeInternalFailure while
/// writing: a reference to a fill-in that was not provided ("LcConsole
/// ApplicationInterface: needed diagnostic fill-in not provided"), an unknown
/// letter after "%" ("Unrecognized error format char"), and after the layout
/// a fill-in that no reference used ("LcConsoleApplicationInterface: Provided
/// diagnostic fill-in was not used: s<n> (\"<text>\")"; positions are named
/// the same way, with their text form).
///
/// The translator is not owned and must outlive the content.
class LcMessageContent : public MsMessageContentInterface {
public:
  LcMessageContent(std::string Format, std::vector<std::string> Strings,
                   std::vector<DiSourceRange> Positions,
                   bool ShowGivenName = false,
                   const LcFileNameTranslator *Translator = nullptr,
                   bool TaggedPositions = false);

  void Write(std::ostream &Out, std::uint32_t StartColumn, std::uint16_t Width,
             std::uint32_t Indent) const override;
  void WriteUnwrapped(std::ostream &Out) const override;
  std::string Text() const override;

  const std::string &Format() const { return FormatText; }

private:
  /// The word builder's state for one Write.
  struct LayoutState {
    std::ostream *Out = nullptr;
    std::uint16_t Width = 0;
    std::uint32_t Indent = 0;
    std::string Word;
    std::uint32_t PendingBlanks = 0;
    std::uint32_t LineLength = 0;
    /// Where the text of the current line starts (its indentation).
    std::uint32_t LineStart = 0;
  };

  /// Lays the pieces of the format out into the word builder.
  class Writer;

  void AddChar(char Ch) const;
  void AddText(const std::string &Text) const;
  void AddString(const std::string &Value, char Modifier) const;
  void EndWord() const;
  void PlaceSegment(const char *Text, std::size_t Length) const;
  void WriteBlanks(std::uint32_t Count) const;
  void StartLine(std::uint32_t Indentation) const;
  void AddPosition(const DiSourceRange &Range, bool Verbose) const;

  std::string FormatText;
  std::vector<std::string> Strings;
  std::vector<DiSourceRange> Positions;
  bool ShowGivenName;
  const LcFileNameTranslator *Translator;
  bool TaggedPositions;
  mutable LayoutState Layout;
};

#endif
