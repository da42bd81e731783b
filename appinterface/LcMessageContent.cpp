// The content of a diagnostic: format language, fill-ins and word layout.
#include "appinterface/LcMessageContent.h"

#include "console/MsFormatScanner.h"
#include "console/MsMessageFormatter.h"

#include <algorithm>
#include <ostream>
#include <sstream>

LcFileNameTranslator::~LcFileNameTranslator() = default;

LcMessageContent::LcMessageContent(std::string Format,
                                   std::vector<std::string> StringFillIns,
                                   std::vector<DiSourceRange> PositionFillIns,
                                   bool ShowGiven,
                                   const LcFileNameTranslator *NameTranslator,
                                   bool Tagged)
    : FormatText(std::move(Format)), Strings(std::move(StringFillIns)),
      Positions(std::move(PositionFillIns)), ShowGivenName(ShowGiven),
      Translator(NameTranslator), TaggedPositions(Tagged) {}

class LcMessageContent::Writer : public MsFormatVisitor {
public:
  explicit Writer(const LcMessageContent &Owner) : Content(Owner) {}

  void Text(const char *Begin, std::size_t Length) override {
    for (const char *Ch = Begin; Ch != Begin + Length; ++Ch)
      Content.AddChar(*Ch);
  }
  void String(const std::string &Value, char Modifier) override {
    Content.AddString(Value, Modifier);
  }
  void Position(const DiSourceRange &Range, char Modifier) override {
    Content.AddPosition(Range, Modifier == 'v');
  }
  void End() override {
    const LayoutState &Layout = Content.Layout;
    Content.EndWord();
    // Blanks at the end of the text stay when they fit on the line.
    if (Layout.Width == 0 ||
        std::uint64_t(Layout.LineLength) + Layout.PendingBlanks <= Layout.Width)
      Content.WriteBlanks(Layout.PendingBlanks);
    Content.Layout.PendingBlanks = 0;
  }

private:
  const LcMessageContent &Content;
};

namespace {
// One text for a missing fill-in of either kind.
const char *const NotProvided =
    "LcConsoleApplicationInterface: needed diagnostic fill-in not provided";
const MsFillInFailureTexts Failures = {
    NotProvided, NotProvided,
    "LcConsoleApplicationInterface: Provided diagnostic fill-in was not "
    "used: s"};
} // namespace

void LcMessageContent::Write(std::ostream &Out, std::uint32_t StartColumn,
                             std::uint16_t Width, std::uint32_t Indent) const {
  Layout = LayoutState();
  Layout.Out = &Out;
  Layout.Width = Width;
  Layout.Indent = Indent;
  Layout.LineLength = StartColumn;
  Layout.LineStart = std::min(StartColumn, Indent);

  Writer Pieces(*this);
  MsWalkFormat(FormatText, Strings, Positions, Failures, Pieces);
  Layout.Out = nullptr;
}

void LcMessageContent::WriteUnwrapped(std::ostream &Out) const {
  Write(Out, 0, 0, 0);
}

std::string LcMessageContent::Text() const {
  std::ostringstream Out;
  WriteUnwrapped(Out);
  return Out.str();
}

void LcMessageContent::AddChar(char Ch) const {
  if (Ch == ' ') {
    EndWord();
    ++Layout.PendingBlanks;
  } else if (Ch == '\n') {
    EndWord();
    if (Layout.Width == 0) {
      WriteBlanks(Layout.PendingBlanks);
      StartLine(0);
    } else {
      StartLine(Layout.Indent);
    }
  } else {
    Layout.Word += Ch;
  }
}

void LcMessageContent::AddString(const std::string &Value,
                                 char Modifier) const {
  if (Modifier == 'q') {
    Layout.Word += '"';
    Layout.Word += Value;
    Layout.Word += '"';
  } else if (Modifier == 'u') {
    const std::string Name = Translator && Translator->Accepts(Value)
                                 ? Translator->Translate(Value)
                                 : Value;
    Layout.Word += '"';
    Layout.Word += Name;
    Layout.Word += '"';
    if (ShowGivenName && Name != Value) {
      EndWord();
      ++Layout.PendingBlanks;
      Layout.Word += '(';
      Layout.Word += Value;
      Layout.Word += ')';
    }
  } else {
    AddText(Value);
  }
}

void LcMessageContent::AddText(const std::string &Text) const {
  for (char Ch : Text)
    AddChar(Ch);
}

void LcMessageContent::AddPosition(const DiSourceRange &Range,
                                   bool Verbose) const {
  if (Range.Start.IsNone())
    return;
  if (TaggedPositions)
    Layout.Word += MsMessageFormatter::TaggedPositionOpen(Range);
  AddText(Verbose ? MsMessageFormatter::VerbosePositionText(Range)
                  : MsMessageFormatter::PlainPositionText(Range));
  if (TaggedPositions)
    Layout.Word += MsMessageFormatter::TaggedPositionClose();
}

void LcMessageContent::EndWord() const {
  if (Layout.Word.empty())
    return;
  const std::string &Word = Layout.Word;
  if (Layout.Width == 0) {
    WriteBlanks(Layout.PendingBlanks);
    Layout.Out->write(Word.data(), static_cast<std::streamsize>(Word.size()));
    Layout.PendingBlanks = 0;
    Layout.Word.clear();
    return;
  }
  // A line feed inside a word (from a quoted fill-in) ends the line there.
  std::size_t From = 0;
  while (true) {
    std::size_t Feed = Word.find('\n', From);
    std::size_t End = Feed == std::string::npos ? Word.size() : Feed;
    PlaceSegment(Word.data() + From, End - From);
    if (Feed == std::string::npos)
      break;
    Layout.Out->put('\n');
    Layout.LineLength = Layout.LineStart = 0;
    Layout.PendingBlanks = 0;
    From = Feed + 1;
  }
  Layout.Word.clear();
}

void LcMessageContent::PlaceSegment(const char *Text,
                                    std::size_t Length) const {
  if (Length == 0)
    return;
  std::uint32_t Width = Layout.Width;
  std::uint64_t Needed =
      std::uint64_t(Layout.LineLength) + Layout.PendingBlanks + Length;
  if (Needed <= Width) {
    WriteBlanks(Layout.PendingBlanks);
    Layout.Out->write(Text, static_cast<std::streamsize>(Length));
    Layout.LineLength = static_cast<std::uint32_t>(Needed);
    Layout.PendingBlanks = 0;
    return;
  }
  Layout.PendingBlanks = 0;
  if (Layout.LineLength > Layout.LineStart)
    StartLine(Layout.Indent + 10);
  while (Length > 0) {
    std::uint32_t Room =
        Layout.LineLength < Width ? Width - Layout.LineLength : 0;
    if (Room == 0) {
      if (Layout.LineLength > Layout.LineStart) {
        StartLine(Layout.Indent + 10);
        continue;
      }
      // Not even one character fits after the indentation; write one
      // anyway so that the text gets out.
      Room = 1;
    }
    std::size_t Piece = std::min<std::size_t>(Room, Length);
    Layout.Out->write(Text, static_cast<std::streamsize>(Piece));
    Layout.LineLength += static_cast<std::uint32_t>(Piece);
    Text += Piece;
    Length -= Piece;
    if (Length > 0)
      StartLine(Layout.Indent + 10);
  }
}

void LcMessageContent::WriteBlanks(std::uint32_t Count) const {
  static const char Blanks[] = "                                ";
  constexpr std::uint32_t Chunk = sizeof Blanks - 1;
  for (std::uint32_t Left = Count; Left > 0;) {
    std::uint32_t N = Left < Chunk ? Left : Chunk;
    Layout.Out->write(Blanks, N);
    Left -= N;
  }
  Layout.LineLength += Count;
}

void LcMessageContent::StartLine(std::uint32_t Indentation) const {
  Layout.Out->put('\n');
  Layout.LineLength = 0;
  Layout.PendingBlanks = 0;
  WriteBlanks(Indentation);
  Layout.LineStart = Indentation;
}
