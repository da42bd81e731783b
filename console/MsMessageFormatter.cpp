// The human form of released messages and the text forms of positions.
#include "console/MsMessageFormatter.h"

#include "general/GeStreamAdaptors.h"

#include <algorithm>
#include <ostream>
#include <sstream>
#include <string>

const char *
MsMessageFormatterDoDiagnosticNoSourceVisitor::LevelWordOf(const MsMessage &M) {
  MsMessageFormatterDoDiagnosticNoSourceVisitor V;
  M.Visit(V);
  return V.Word();
}

namespace {

/// Picks the layout of a message by its kind.
class FormatVisitor : public MsMessage::Visitor {
public:
  FormatVisitor(const MsMessageFormatter &TheFormatter, std::ostream &Stream,
                const MsConsole &TheConsole)
      : Formatter(TheFormatter), Out(Stream), Console(TheConsole) {}

  void DoAbort(const MsMessage &) override { Formatter.DoAbort(Out); }
  void DoOutOfMemory(const MsMessage &) override {
    Formatter.DoOutOfMemory(Out);
  }
  void DoFatalError(const MsMessage &M) override { Diagnostic(M); }
  void DoCommandLineError(const MsMessage &M) override {
    Formatter.DoCommandLineError(Out, M, Console);
  }
  void DoError(const MsMessage &M) override { Diagnostic(M); }
  void DoWarning(const MsMessage &M) override { Diagnostic(M); }
  void DoRemark(const MsMessage &M) override { Diagnostic(M); }
  void DoInternalError(const MsMessage &M) override {
    Formatter.DoInternalError(Out, M, Console);
  }

private:
  void Diagnostic(const MsMessage &M) {
    if (M.HasPosition())
      Formatter.DoDiagnostic(Out, M, Console);
    else
      Formatter.DoDiagnosticNoSource(Out, M, Console);
  }

  const MsMessageFormatter &Formatter;
  std::ostream &Out;
  const MsConsole &Console;
};

/// The level word, the tag in brackets when there is one, and ": ".
void WriteLevelAndTag(std::ostream &Out, const MsMessage &M,
                      const MsConsole &Console) {
  if (const char *Word =
          MsMessageFormatterDoDiagnosticNoSourceVisitor::LevelWordOf(M))
    Out << Word;
  if (M.HasTag())
    Out << '[' << Console.TagText(M.Tag(), M.Kind() == MsMessage::KindError)
        << ']';
  Out << ": ";
}

/// Writes the content from the buffer's column, ends the last line, and hands
/// the whole message to Out. When the content starts on a new line (its first
/// word did not fit after the heading, as after a long position), the blanks
/// that end the heading are dropped, so that the line does not end in them.
void FinishMessage(std::ostream &Out, GeFresh_ostrstream &Buffer,
                   const MsMessageFormatter &Formatter, const MsMessage &M) {
  std::ostringstream Content;
  Formatter.WriteContentWrapped(
      Content, M, static_cast<std::uint32_t>(std::max(Buffer.Column(), 0)));
  std::string Text = Buffer.str();
  const std::string Body = Content.str();
  if (!Body.empty() && Body[0] == '\n') {
    const std::size_t Kept = Text.find_last_not_of(' ');
    Text.erase(Kept == std::string::npos ? 0 : Kept + 1);
  }
  Text += Body;
  if (!Text.empty() && Text.back() != '\n')
    Text += '\n';
  Out.write(Text.data(), static_cast<std::streamsize>(Text.size()));
}

bool ShowsSourceLine(const MsMessage &M) {
  return M.HasPosition() && !M.Position().IsAtEndOfSource();
}

} // namespace

MsMessageFormatter::MsMessageFormatter(std::int32_t Width) : LineWidth(Width) {}

MsMessageFormatter::~MsMessageFormatter() = default;

void MsMessageFormatter::DoDiagnostic(std::ostream &Out, const MsMessage &M,
                                      const MsConsole &Console) const {
  Compose(Out, M, Console, Lead::ContextAndPosition, nullptr);
}

void MsMessageFormatter::DoDiagnosticNoSource(std::ostream &Out,
                                              const MsMessage &M,
                                              const MsConsole &Console) const {
  Compose(Out, M, Console, Lead::Nothing, nullptr);
}

void MsMessageFormatter::DoCommandLineError(std::ostream &Out,
                                            const MsMessage &M,
                                            const MsConsole &Console) const {
  Compose(Out, M, Console, Lead::ContextAndPosition, "Command line error: ");
}

void MsMessageFormatter::DoInternalError(std::ostream &Out, const MsMessage &M,
                                         const MsConsole &Console) const {
  Compose(Out, M, Console, Lead::Position, "Internal error: ");
}

void MsMessageFormatter::Compose(std::ostream &Out, const MsMessage &M,
                                 const MsConsole &Console, Lead Heading,
                                 const char *Label) const {
  GeFresh_ostrstream Buffer;
  if (Heading == Lead::ContextAndPosition && ShowsSourceLine(M))
    WriteSourceLineContext(Buffer, M, Console);
  if (Heading != Lead::Nothing && M.HasPosition())
    WriteSourcePosition(Buffer, M.Position());
  if (Label)
    Buffer << Label;
  else
    WriteLevelAndTag(Buffer, M, Console);
  FinishMessage(Out, Buffer, *this, M);
}

void MsMessageFormatter::WriteContentUnwrapped(std::ostream &Out,
                                               const MsMessage &M) const {
  if (const MsMessageContentInterface *Content = M.Content())
    Content->Write(Out, 0, 65535, 0);
}

void MsMessageFormatter::DoOutOfMemory(std::ostream &Out) const {
  static const char Text[] = "Out of memory\n";
  Out.write(Text, sizeof Text - 1);
  Out.flush();
}

void MsMessageFormatter::DoAbort(std::ostream &Out) const {
  Out << "Fatal error detected, aborting.\n";
}

void MsMessageFormatter::WriteContentWrapped(std::ostream &Out,
                                             const MsMessage &M,
                                             std::uint32_t StartColumn) const {
  if (const MsMessageContentInterface *Content = M.Content())
    Content->Write(Out, StartColumn, EffectiveWidth(), 0);
}

void MsMessageFormatter::WriteSourceLineContext(
    std::ostream &Out, const MsMessage &M, const MsConsole &Console) const {
  Out << '\n';
  Console.WriteSourceLine(M.Position(), Out);
}

void MsMessageFormatter::WriteSourcePosition(
    std::ostream &Out, const DiSourcePosition &Pos) const {
  if (Pos.IsAtEndOfSource()) {
    Out << "At end of source  ";
    return;
  }
  if (const DiFile *File = Pos.File())
    Out << '"' << File->Name() << "\",";
  Out << Pos.Line() << "  ";
}

void MsMessageFormatter::Format(std::ostream &Out, const MsMessage &M,
                                const MsConsole &Console) const {
  FormatVisitor V(*this, Out, Console);
  M.Visit(V);
}

std::string MsMessageFormatter::PlainPositionText(const DiSourceRange &Range) {
  const DiSourcePosition &Pos = Range.Start;
  if (Pos.IsNone())
    return std::string();
  if (Pos.IsAtEndOfSource())
    return "at end of source";
  std::string Text;
  if (const DiFile *File = Pos.File())
    Text += '"' + File->Name() + "\", ";
  Text += "line ";
  Text += std::to_string(Pos.Line());
  return Text;
}

std::string
MsMessageFormatter::VerbosePositionText(const DiSourceRange &Range) {
  const DiSourcePosition &Pos = Range.Start;
  if (Pos.IsNone())
    return std::string();
  if (Pos.IsAtEndOfSource())
    return "at end of source";
  std::string Text = "at line " + std::to_string(Pos.Line());
  if (const DiFile *File = Pos.File())
    Text += " of \"" + File->Name() + '"';
  return Text;
}

std::string MsMessageFormatter::TaggedPositionOpen(const DiSourceRange &Range) {
  const DiSourcePosition &Start = Range.Start;
  const DiSourcePosition &End = Range.End;
  std::string Text = "\x01<SRCREF file=\"";
  if (const DiFile *File = Start.File())
    Text += File->Name();
  Text += "\" line=" + std::to_string(Start.Line());
  Text += " col=" + std::to_string(Start.Column());
  if (!End.IsNone()) {
    if (End.Line() != Start.Line())
      Text += " endline=" + std::to_string(End.Line());
    if (End.Column() != Start.Column())
      Text += " endcol=" + std::to_string(End.Column());
  }
  Text += "\x01>";
  return Text;
}

std::string MsMessageFormatter::TaggedPositionClose() {
  return "\x01</SRCREF\x01>";
}

void MsMessageFormatter::WriteSourceLineWithCaret(const DiSourcePosition &Pos,
                                                  std::ostream &Out) {
  const DiSourceLineSequence *Seq = Pos.Sequence();
  std::string Line;
  if (!Seq || !Seq->LineText(Pos.LineIndex(), Line))
    return;
  Out << "  " << Line << "\n  ";
  // A column past the end of the line puts the caret just after it.
  std::size_t Before = std::min<std::size_t>(
      Pos.Column() > 0 ? Pos.Column() - 1 : 0, Line.size());
  std::string Marks(Before, ' ');
  for (std::size_t At = 0; At < Before; ++At)
    if (Line[At] == '\t')
      Marks[At] = '\t';
  Out << Marks << "^\n";
}
