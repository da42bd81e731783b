// The message content interface and the console's own plain content.
#include "console/MsMessageContent.h"

#include "console/MsFormatScanner.h"
#include "console/MsMessageFormatter.h"
#include "general/GeInternalFailure.h"

#include <ostream>
#include <sstream>

MsMessageContentInterface::~MsMessageContentInterface() = default;

MsPlainMessageContent::MsPlainMessageContent(std::string FormatText,
                                             const MsFillIns &FillIns)
    : Format(std::move(FormatText)), Strings(FillIns.Strings),
      Positions(FillIns.Positions) {
  if (FillIns.Preformatted) {
    Strings.insert(Strings.begin(), std::move(Format));
    Format = "%s1%s2";
  }
}

void MsPlainMessageContent::Write(std::ostream &Out, std::uint32_t,
                                  std::uint16_t, std::uint32_t) const {
  WriteUnwrapped(Out);
}

void MsPlainMessageContent::WriteUnwrapped(std::ostream &Out) const {
  Out << Text();
}

std::string MsPlainMessageContent::Text() const {
  std::string Result;
  std::vector<bool> StringUsed(Strings.size(), false);
  std::vector<bool> PositionUsed(Positions.size(), false);
  MsFormatScanner Scanner(Format);
  MsFormatItem Item;
  while (Scanner.Next(Item)) {
    switch (Item.Type) {
    case MsFormatItem::Text:
      Result.append(Format, Item.Begin, Item.Length);
      break;
    case MsFormatItem::Percent:
      Result += '%';
      break;
    case MsFormatItem::String: {
      if (Item.Index >= Strings.size())
        GeInternalFailure("MsConsole: missing string substitution");
      StringUsed[Item.Index] = true;
      const std::string &S = Strings[Item.Index];
      if (Item.Modifier)
        Result += '"' + S + '"';
      else
        Result += S;
      break;
    }
    case MsFormatItem::Position: {
      if (Item.Index >= Positions.size())
        GeInternalFailure("MsConsole: missing source position substitution");
      PositionUsed[Item.Index] = true;
      const DiSourceRange &R = Positions[Item.Index];
      Result += Item.Modifier ? MsMessageFormatter::VerbosePositionText(R)
                              : MsMessageFormatter::PlainPositionText(R);
      break;
    }
    case MsFormatItem::BadLetter:
      GeInternalFailure("Unrecognized error format char");
    }
  }
  for (std::size_t I = 0; I < Strings.size(); ++I)
    if (!StringUsed[I])
      GeInternalFailure("MsConsole: unused string substitution s" +
                        std::to_string(I + 1) + " (\"" + Strings[I] + "\")");
  for (std::size_t I = 0; I < Positions.size(); ++I)
    if (!PositionUsed[I])
      GeInternalFailure("MsConsole: unused string substitution s" +
                        std::to_string(I + 1) + " (\"" +
                        Positions[I].Start.Text(true) + "\")");
  return Result;
}
