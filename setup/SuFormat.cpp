// Plain fill-in of the framework's own texts.
#include "setup/SuFormat.h"

#include "console/MsFormatScanner.h"
#include "general/GeInternalFailure.h"

std::string SuFormat(const std::string &Format,
                     const std::vector<std::string> &FillIns) {
  std::string Result;
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
    case MsFormatItem::String:
      if (Item.Modifier != 0 || Item.Index >= FillIns.size())
        GeInternalFailure("SuFormat: bad fill-in reference in \"" + Format +
                          "\"");
      Result += FillIns[Item.Index];
      break;
    case MsFormatItem::Position:
    case MsFormatItem::BadLetter:
      GeInternalFailure("SuFormat: bad format \"" + Format + "\"");
    }
  }
  return Result;
}
