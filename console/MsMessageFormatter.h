// The human form of released messages: layouts of diagnostics, command-line
// and internal errors, the abort line, and the text forms of positions used
// in message texts.
#ifndef CONSOLE_MSMESSAGEFORMATTER_H
#define CONSOLE_MSMESSAGEFORMATTER_H

#include "console/MsMessage.h"

#include <cstdint>
#include <iosfwd>
#include <string>

/// Yields the level word of a diagnostic message: "Fatal error" (kind 2),
/// "Command line error" (3), "Error" (4, 5), "Warning" (6), "Remark" (7);
/// null for every other kind.
class MsMessageFormatterDoDiagnosticNoSourceVisitor
    : public MsMessage::Visitor {
public:
  void DoFatalError(const MsMessage &) override { LevelWord = "Fatal error"; }
  void DoCommandLineError(const MsMessage &) override {
    LevelWord = "Command line error";
  }
  void DoError(const MsMessage &) override { LevelWord = "Error"; }
  void DoWarning(const MsMessage &) override { LevelWord = "Warning"; }
  void DoRemark(const MsMessage &) override { LevelWord = "Remark"; }

  const char *Word() const { return LevelWord; }

  /// The level word of M, or null.
  static const char *LevelWordOf(const MsMessage &M);

private:
  const char *LevelWord = nullptr;
};

/// Writes released messages in their human form. Its one setting is the line
/// width (79 by default); it is used as an unsigned 16-bit number, so -1
/// (no_wrap_diagnostics) acts as 65535 columns.
///
/// Each layout writes one whole message, ending with a line feed, to the
/// stream it is given, in one piece: the message is composed in a
/// column-tracking string stream first, so the content knows the column it
/// starts at. Continuation lines of wrapped content are indented by 10.
///
/// Layouts, by kind (Format() chooses):
///   diagnostic with position (kinds 2 to 7): "\n", the source line with its
///     caret (not at the end of the source), the position ("\"file\",12  " or
///     "At end of source  "), the level word, "[tag]" when tagged, ": ",
///     the content wrapped;
///   diagnostic without position: level word, "[tag]", ": ", content;
///   kind 3 without tag: "Command line error: " and the content, after the
///     source line and position when it has one;
///   kind 9: the position, "Internal error: " and the content;
///   kind 0: "Fatal error detected, aborting."; kind 1: "Out of memory".
/// The other kinds have no human form here.
class MsMessageFormatter {
public:
  explicit MsMessageFormatter(std::int32_t LineWidth = 79);
  virtual ~MsMessageFormatter();

  virtual void DoDiagnostic(std::ostream &Out, const MsMessage &M,
                            const MsConsole &Console) const;
  virtual void DoDiagnosticNoSource(std::ostream &Out, const MsMessage &M,
                                    const MsConsole &Console) const;
  virtual void DoCommandLineError(std::ostream &Out, const MsMessage &M,
                                  const MsConsole &Console) const;
  virtual void DoInternalError(std::ostream &Out, const MsMessage &M,
                               const MsConsole &Console) const;
  /// The content of M as it stands (the body the IDE protocol sends).
  virtual void WriteContentUnwrapped(std::ostream &Out,
                                     const MsMessage &M) const;
  /// "Out of memory" and a line feed, written without allocating.
  virtual void DoOutOfMemory(std::ostream &Out) const;
  /// "Fatal error detected, aborting." and a line feed.
  virtual void DoAbort(std::ostream &Out) const;
  /// The content of M laid out from StartColumn within the line width.
  virtual void WriteContentWrapped(std::ostream &Out, const MsMessage &M,
                                   std::uint32_t StartColumn) const;
  /// A line feed, then the source line of M with its caret.
  virtual void WriteSourceLineContext(std::ostream &Out, const MsMessage &M,
                                      const MsConsole &Console) const;
  /// "At end of source  ", or ["\"" file "\","] line "  ".
  virtual void WriteSourcePosition(std::ostream &Out,
                                   const DiSourcePosition &Pos) const;

  /// Writes M's human form with the layout for its kind.
  void Format(std::ostream &Out, const MsMessage &M,
              const MsConsole &Console) const;

  std::int32_t Width() const { return LineWidth; }
  void SetWidth(std::int32_t NewWidth) { LineWidth = NewWidth; }
  /// The width as the content writers use it.
  std::uint16_t EffectiveWidth() const {
    return static_cast<std::uint16_t>(LineWidth);
  }

  /// Position forms used in message texts. Plain: "\"file\", line 12"
  /// ("line 12" without a file); verbose: "at line 12" and, with a file,
  /// " of \"file\"". Both are "at end of source" at the end of the source
  /// and empty for sNone.
  static std::string PlainPositionText(const DiSourceRange &Range);
  static std::string VerbosePositionText(const DiSourceRange &Range);
  /// The tagged form for the IDE around a position's text: the opening mark
  /// "\x01<SRCREF file=\"f\" line=3 col=5[ endline=..][ endcol=..]\x01>" and
  /// the closing mark "\x01</SRCREF\x01>".
  static std::string TaggedPositionOpen(const DiSourceRange &Range);
  static std::string TaggedPositionClose();
  /// The console's source-line routine: when the line's text is available,
  /// two blanks, the text, a line feed, two blanks, then per column before
  /// Pos's column a tab where the line has one and a blank otherwise, "^"
  /// and a line feed. Nothing when the text is not available.
  static void WriteSourceLineWithCaret(const DiSourcePosition &Pos,
                                       std::ostream &Out);

private:
  /// What a message's heading starts with, before its label.
  enum class Lead { Nothing, Position, ContextAndPosition };
  /// Writes M with its heading: the source-line context (with
  /// ContextAndPosition, unless M is at the end of the source), the position
  /// (unless Nothing, when M has one), then Label, or the level word and tag
  /// when Label is null; then the wrapped content.
  void Compose(std::ostream &Out, const MsMessage &M, const MsConsole &Console,
               Lead Heading, const char *Label) const;

  std::int32_t LineWidth;
};

#endif
