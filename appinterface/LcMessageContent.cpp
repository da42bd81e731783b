// The content of a diagnostic: format language, fill-ins and word layout.
#include "appinterface/LcMessageContent.h"

#include "console/MsFormatScanner.h"
#include "console/MsMessageFormatter.h"
#include "general/GeInternalFailure.h"

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

void LcMessageContent::Write(std::ostream &Out, std::uint32_t StartColumn,
                             std::uint16_t Width, std::uint32_t Indent) const {
  Layout = LayoutState();
  Layout.Out = &Out;
  Layout.Width = Width;
  Layout.Indent = Indent;
  Layout.LineLength = StartColumn;
  Layout.LineStart = std::min(StartColumn, Indent);

  std::vector<bool> StringUsed(Strings.size(), false);
  std::vector<bool> PositionUsed(Positions.size(), false);
  MsFormatScanner Scanner(FormatText);
  MsFormatItem Item;
  while (Scanner.Next(Item)) {
    switch (Item.Type) {
    case MsFormatItem::Text:
      for (std::size_t I = Item.Begin; I < Item.Begin + Item.Length; ++I)
        AddChar(FormatText[I]);
      break;
    case MsFormatItem::Percent:
      AddChar('%');
      break;
    case MsFormatItem::String: {
      if (Item.Index >= Strings.size())
        GeInternalFailure("LcConsoleApplicationInterface: needed diagnostic "
                          "fill-in not provided");
      StringUsed[Item.Index] = true;
      const std::string &S = Strings[Item.Index];
      if (Item.Modifier == 'q') {
        Layout.Word += '"';
        Layout.Word += S;
        Layout.Word += '"';
      } else if (Item.Modifier == 'u') {
        std::string Name =
            Translator && Translator->Accepts(S) ? Translator->Translate(S) : S;
        Layout.Word += '"';
        Layout.Word += Name;
        Layout.Word += '"';
        if (ShowGivenName && Name != S) {
          EndWord();
          ++Layout.PendingBlanks;
          Layout.Word += '(';
          Layout.Word += S;
          Layout.Word += ')';
        }
      } else {
        AddText(S);
      }
      break;
    }
    case MsFormatItem::Position:
      if (Item.Index >= Positions.size())
        GeInternalFailure("LcConsoleApplicationInterface: needed diagnostic "
                          "fill-in not provided");
      PositionUsed[Item.Index] = true;
      AddPosition(Positions[Item.Index], Item.Modifier == 'v');
      break;
    case MsFormatItem::BadLetter:
      GeInternalFailure("Unrecognized error format char");
    }
  }
  EndWord();
  // Blanks at the end of the text stay when they fit on the line.
  if (Layout.Width == 0 ||
      std::uint64_t(Layout.LineLength) + Layout.PendingBlanks <= Layout.Width)
    WriteBlanks(Layout.PendingBlanks);
  Layout.PendingBlanks = 0;

  for (std::size_t I = 0; I < Strings.size(); ++I)
    if (!StringUsed[I])
      GeInternalFailure("LcConsoleApplicationInterface: Provided diagnostic "
                        "fill-in was not used: s" +
                        std::to_string(I + 1) + " (\"" + Strings[I] + "\")");
  for (std::size_t I = 0; I < Positions.size(); ++I)
    if (!PositionUsed[I])
      GeInternalFailure("LcConsoleApplicationInterface: Provided diagnostic "
                        "fill-in was not used: s" +
                        std::to_string(I + 1) + " (\"" +
                        Positions[I].Start.Text(true) + "\")");
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
