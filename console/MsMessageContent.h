// The content of a message: its format text with the fill-ins that complete
// it, and how the console writes it. The console asks its application
// interface to build contents; without one it uses MsPlainMessageContent.
#ifndef CONSOLE_MSMESSAGECONTENT_H
#define CONSOLE_MSMESSAGECONTENT_H

#include "sourcepos/DiSourcePosition.h"

#include <cstdint>
#include <initializer_list>
#include <iosfwd>
#include <string>
#include <vector>

/// The fill-ins of one message: strings (s1, s2, ...) and source positions
/// (p1, p2, ...), numbered from 1 within their kind, and the preformatted
/// mark. A preformatted message carries finished text in its format: the
/// content puts the format in front of the strings as s1 and lays out "%s1%s2"
/// instead, so that a "%" in it is not read as a reference.
///
/// User text (file names, arguments) always goes in as a string fill-in,
/// never into a format text. Positions do not own their line sequence, which
/// must outlive the message.
struct MsFillIns {
  MsFillIns() = default;
  MsFillIns(std::initializer_list<std::string> Texts) : Strings(Texts) {}

  MsFillIns &Add(std::string Text) {
    Strings.push_back(std::move(Text));
    return *this;
  }
  MsFillIns &Add(const DiSourceRange &Range) {
    Positions.push_back(Range);
    return *this;
  }
  MsFillIns &Add(const DiSourcePosition &Pos) {
    Positions.emplace_back(Pos);
    return *this;
  }

  std::vector<std::string> Strings;
  std::vector<DiSourceRange> Positions;
  bool Preformatted = false;
};

/// The text of one message, built from a format and its fill-ins. Made by the
/// console's application interface and owned by the message that carries it.
///
/// A content whose format does not match its fill-ins (a reference to a
/// fill-in that was not provided, one that was provided but not used, an
/// unknown "%" letter) is a defect of the issuing code: every write operation
/// raises it through GeInternalFailure.
class MsMessageContentInterface {
public:
  virtual ~MsMessageContentInterface();

  /// Lays the text out onto Out, which has reached StartColumn, in lines of
  /// at most Width columns; continuation lines are indented by Indent + 10.
  /// Width 0 appends the text as it stands.
  virtual void Write(std::ostream &Out, std::uint32_t StartColumn,
                     std::uint16_t Width, std::uint32_t Indent) const = 0;
  /// Writes the text as it stands, without wrapping (Write with width 0).
  virtual void WriteUnwrapped(std::ostream &Out) const = 0;
  /// The text as it stands, without wrapping.
  virtual std::string Text() const = 0;
};

/// The console's own content, used when no application interface is
/// installed. It knows the format language of the application interface
/// ("%%", "%s" with the modifiers "q" and "u" and a number, "%p" with "v" and
/// a number, 0 counting as 1) but writes the text as it stands: it does not
/// wrap, and "%su" writes the name quoted, untranslated.
///
/// Its defects: "MsConsole: missing string substitution" and "MsConsole:
/// missing source position substitution" for a reference to a fill-in that
/// was not provided, "Unrecognized error format char" for an unknown letter,
/// "MsConsole: unused string substitution s<n> (\"<text>\")" for a fill-in
/// that no reference selected (positions are numbered and named by their
/// text the same way).
class MsPlainMessageContent : public MsMessageContentInterface {
public:
  MsPlainMessageContent(std::string Format, const MsFillIns &FillIns);

  void Write(std::ostream &Out, std::uint32_t StartColumn, std::uint16_t Width,
             std::uint32_t Indent) const override;
  void WriteUnwrapped(std::ostream &Out) const override;
  std::string Text() const override;

private:
  std::string Format;
  std::vector<std::string> Strings;
  std::vector<DiSourceRange> Positions;
};

#endif
