// Reading the format language of message texts.
#include "console/MsFormatScanner.h"

#include "general/GeInternalFailure.h"

#include <cstring>

bool MsFormatScanner::Next(MsFormatItem &Item) {
  if (Done || At >= Format.size())
    return false;
  Item = MsFormatItem();
  Item.Begin = At;
  if (Format[At] != '%') {
    const void *Percent =
        std::memchr(Format.data() + At, '%', Format.size() - At);
    std::size_t End =
        Percent ? static_cast<std::size_t>(static_cast<const char *>(Percent) -
                                           Format.data())
                : Format.size();
    Item.Type = MsFormatItem::Text;
    Item.Length = End - At;
    At = End;
    return true;
  }
  ++At;
  char Letter = At < Format.size() ? Format[At] : '\0';
  if (Letter == '%') {
    ++At;
    Item.Type = MsFormatItem::Percent;
  } else if (Letter == 's' || Letter == 'p') {
    ++At;
    Item.Type = Letter == 's' ? MsFormatItem::String : MsFormatItem::Position;
    if (At < Format.size()) {
      char Mod = Format[At];
      if ((Letter == 's' && (Mod == 'q' || Mod == 'u')) ||
          (Letter == 'p' && Mod == 'v')) {
        Item.Modifier = Mod;
        ++At;
      }
    }
    std::uint32_t Number = ReadNumber();
    Item.Index = Number == 0 ? 0 : Number - 1;
  } else {
    Item.Type = MsFormatItem::BadLetter;
    Done = true;
  }
  Item.Length = At - Item.Begin;
  return true;
}

std::uint32_t MsFormatScanner::ReadNumber() {
  std::uint32_t Number = 0;
  while (At < Format.size() && Format[At] >= '0' && Format[At] <= '9') {
    std::uint32_t Digit = static_cast<std::uint32_t>(Format[At] - '0');
    if (Number > (UINT32_MAX - Digit) / 10)
      Number = UINT32_MAX;
    else
      Number = Number * 10 + Digit;
    ++At;
  }
  return Number;
}

MsFormatVisitor::~MsFormatVisitor() = default;

void MsWalkFormat(const std::string &Format,
                  const std::vector<std::string> &Strings,
                  const std::vector<DiSourceRange> &Positions,
                  const MsFillInFailureTexts &Texts, MsFormatVisitor &Visitor) {
  std::vector<bool> StringUsed(Strings.size(), false);
  std::vector<bool> PositionUsed(Positions.size(), false);
  // Marks fill-in Index of one kind used; one not provided is a defect.
  const auto Use = [](std::vector<bool> &Used, std::uint32_t Index,
                      const char *Missing) {
    if (Index >= Used.size())
      GeInternalFailure(Missing);
    Used[Index] = true;
    return Index;
  };
  MsFormatScanner Scanner(Format);
  MsFormatItem Item;
  while (Scanner.Next(Item)) {
    switch (Item.Type) {
    case MsFormatItem::Text:
      Visitor.Text(Format.data() + Item.Begin, Item.Length);
      break;
    case MsFormatItem::Percent:
      Visitor.Text("%", 1);
      break;
    case MsFormatItem::String:
      Visitor.String(
          Strings[Use(StringUsed, Item.Index, Texts.MissingString)],
          Item.Modifier);
      break;
    case MsFormatItem::Position:
      Visitor.Position(
          Positions[Use(PositionUsed, Item.Index, Texts.MissingPosition)],
          Item.Modifier);
      break;
    case MsFormatItem::BadLetter:
      GeInternalFailure("Unrecognized error format char");
    }
  }
  Visitor.End();
  const auto Unused = [&](std::size_t Index, const std::string &Value) {
    GeInternalFailure(std::string(Texts.Unused) + std::to_string(Index + 1) +
                      " (\"" + Value + "\")");
  };
  for (std::size_t I = 0; I < Strings.size(); ++I)
    if (!StringUsed[I])
      Unused(I, Strings[I]);
  for (std::size_t I = 0; I < Positions.size(); ++I)
    if (!PositionUsed[I])
      Unused(I, Positions[I].Start.Text(true));
}
