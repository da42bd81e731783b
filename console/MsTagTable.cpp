// The console's tag table: subsystems, tag texts, tag levels, level rule.
#include "console/MsTagTable.h"

#include "console/MsMessage.h"
#include "general/GeInternalFailure.h"

#include <cstdio>
#include <cstring>
#include <ostream>

namespace {

const char InternalMarker[] = "[internal]";
constexpr std::size_t InternalMarkerLength = sizeof InternalMarker - 1;

bool StartsWithInternalMarker(const char *Text) {
  return std::strncmp(Text, InternalMarker, InternalMarkerLength) == 0;
}

void CheckLevel(int Lvl) {
  if (Lvl < MsConsole::FatalError || Lvl > MsConsole::Suppressed)
    GeInternalFailure("Unknown message level");
}

} // namespace

void MsTagTable::Add(const std::string &Prefix,
                     const MsConsole::MessageDef *Table,
                     const bool *InternalFlags, std::uint16_t First,
                     std::uint16_t Count, MsConsole::TextCallback Callback) {
  if (HasPrefix(Prefix))
    GeInternalFailure("Subsystem '" + Prefix + "' already installed");
  if (Prefix.size() != 2)
    GeInternalFailure("MsConsole: subsystem prefix '" + Prefix +
                      "' is not two characters long");
  SubSystems.emplace(
      Prefix, SubSystem{Prefix, Table, InternalFlags, First, Count, Callback});
  if (!Table)
    return;
  for (std::uint32_t N = First; N < std::uint32_t(First) + Count; ++N) {
    MsTag Tag(Prefix[0], Prefix[1], static_cast<std::uint16_t>(N));
    if (!RawText(Tag))
      continue;
    CheckLevel(Table[N].DefaultLevel);
    TagLevels[Tag] = Table[N].DefaultLevel;
  }
}

bool MsTagTable::HasPrefix(const std::string &Prefix) const {
  return SubSystems.count(Prefix) != 0;
}

const MsTagTable::SubSystem *MsTagTable::Find(const MsTag &Tag) const {
  auto It = SubSystems.find(Tag.PrefixText());
  return It == SubSystems.end() ? nullptr : &It->second;
}

const char *MsTagTable::RawText(const MsTag &Tag) const {
  const SubSystem *S = Find(Tag);
  if (!S || Tag.Number < S->First ||
      std::uint32_t(Tag.Number) >= std::uint32_t(S->First) + S->Count)
    return nullptr;
  if (S->Callback)
    if (const char *Text = S->Callback(Tag.Number, S->PrefixText))
      return Text;
  return S->Table ? S->Table[Tag.Number].Text : nullptr;
}

std::string MsTagTable::MessageText(const MsTag &Tag) const {
  const char *Text = RawText(Tag);
  if (!Text)
    return std::string();
  if (StartsWithInternalMarker(Text))
    Text += InternalMarkerLength;
  return Text;
}

std::string MsTagTable::TagText(const MsTag &Tag) const {
  char Number[8];
  std::snprintf(Number, sizeof Number, "%03d", static_cast<int>(Tag.Number));
  const SubSystem *S = Find(Tag);
  return S ? S->PrefixText + Number : std::string(Number);
}

bool MsTagTable::TextToTag(const std::string &Text, MsTag &Tag) const {
  if (Text.size() < 3 || !HasPrefix(Text.substr(0, 2)))
    return false;
  std::uint32_t Number = 0;
  for (std::size_t I = 2; I < Text.size(); ++I) {
    if (Text[I] < '0' || Text[I] > '9')
      return false;
    Number = Number * 10 + static_cast<std::uint32_t>(Text[I] - '0');
    if (Number > 0xFFFF)
      return false;
  }
  MsTag Candidate(Text[0], Text[1], static_cast<std::uint16_t>(Number));
  if (!RawText(Candidate))
    return false;
  Tag = Candidate;
  return true;
}

void MsTagTable::List(std::ostream &Out) const {
  for (const auto &Entry : SubSystems) {
    const SubSystem &S = Entry.second;
    for (std::uint32_t N = S.First; N < std::uint32_t(S.First) + S.Count; ++N) {
      MsTag Tag(S.PrefixText[0], S.PrefixText[1],
                static_cast<std::uint16_t>(N));
      const char *Text = RawText(Tag);
      if (!Text)
        continue;
      // A subsystem without flags marks its internal messages in the text.
      bool Internal =
          S.InternalFlags ? S.InternalFlags[N] : StartsWithInternalMarker(Text);
      if (!Internal)
        Out << TagText(Tag) << ":  " << Text << '\n';
    }
  }
}

std::map<MsTag, MsTagTable::Level>::iterator
MsTagTable::Changeable(const MsTag &Tag, Level Lvl) {
  CheckLevel(Lvl);
  auto It = TagLevels.find(Tag);
  if (It == TagLevels.end() || It->second == MsConsole::FatalError ||
      It->second == MsConsole::ErrorFixed)
    return TagLevels.end();
  return It;
}

bool MsTagTable::SetLevel(const MsTag &Tag, Level Lvl) {
  auto It = Changeable(Tag, Lvl);
  if (It == TagLevels.end())
    return false;
  It->second = Lvl;
  return true;
}

bool MsTagTable::SetLevel(const MsTag &Tag, const DiSourceRange &Range,
                          Level Lvl) {
  if (Changeable(Tag, Lvl) == TagLevels.end())
    return false;
  RangeLevels.push_back(RangeLevel{Tag, Range, Lvl});
  return true;
}

MsTagTable::Level MsTagTable::LevelOf(const MsTag &Tag, Level Default) const {
  auto It = TagLevels.find(Tag);
  return It == TagLevels.end() ? Default : It->second;
}

MsTagTable::Level MsTagTable::Map(const MsTag *Tag, const DiSourcePosition &Pos,
                                  Level Lvl,
                                  MsConsole::ApplicationInterface *App) const {
  CheckLevel(Lvl);
  if (Lvl == MsConsole::FatalError || Lvl == MsConsole::ErrorFixed)
    return Lvl;
  // The "Pm" subsystem's diagnostics are offered for suppression whatever
  // their level.
  if (Tag && App &&
      (Lvl == MsConsole::Warning || Lvl == MsConsole::Remark ||
       (Tag->Prefix[0] == 'P' && Tag->Prefix[1] == 'm')) &&
      App->IsSuppressed(*Tag, Pos))
    return MsConsole::Suppressed;
  if (Tag)
    for (auto It = RangeLevels.rbegin(); It != RangeLevels.rend(); ++It)
      if (It->Tag == *Tag && It->Range.Contains(Pos)) {
        Lvl = It->Lvl;
        break;
      }
  if (Lvl == MsConsole::Warning && WarningsAreErrors)
    Lvl = MsConsole::Error;
  if (!WarningsEnabled &&
      (Lvl == MsConsole::Warning || Lvl == MsConsole::Remark))
    Lvl = MsConsole::Suppressed;
  if (!RemarksEnabled && Lvl == MsConsole::Remark)
    Lvl = MsConsole::Suppressed;
  return Lvl;
}

static_assert(MsConsole::Suppressed == 6 &&
                  MsMessage::KindRemark - MsMessage::KindFatalError ==
                      MsConsole::Remark - MsConsole::FatalError,
              "levels 0 to 5 map one to one onto kinds 2 to 7");

int MsTagTable::KindOfLevel(Level Lvl) {
  // The diagnostic kinds follow the levels in the same order: fatal error
  // (level 0) is kind 2, ..., remark (level 5) is kind 7.
  if (Lvl < MsConsole::FatalError || Lvl > MsConsole::Remark)
    GeInternalFailure("Unknown message level");
  return MsMessage::KindFatalError + static_cast<int>(Lvl);
}
