// Source positions, their ordering and text form, and the line sequence.
#include "sourcepos/DiSourcePosition.h"

#include "general/GeInternalFailure.h"

#include <algorithm>
#include <limits>

DiFile::DiFile(std::string Path, std::uint32_t Value1, std::uint32_t Value2,
               std::uint32_t Value3)
    : FilePath(std::move(Path)),
      DisplayName(FilePath), Values{Value1, Value2, Value3} {}

DiSourceLineSequence::~DiSourceLineSequence() = default;
DiSourceLineSequence::Builder::~Builder() = default;

namespace {
constexpr std::uint32_t NoneIndex = std::numeric_limits<std::uint32_t>::max();
constexpr std::uint32_t EndIndex = NoneIndex - 1;
} // namespace

const DiSourcePosition DiSourcePosition::sNone(NoneIndex, 0, nullptr);
const DiSourcePosition DiSourcePosition::sEnd(EndIndex, 0, nullptr);

bool DiSourcePosition::IsAtEndOfSource() const {
  if (IsEnd())
    return true;
  return Seq && Seq->IsAtEnd(Index);
}

const DiFile *DiSourcePosition::File() const {
  return Seq ? Seq->File(Index) : nullptr;
}

std::uint32_t DiSourcePosition::Line() const {
  return Seq ? Seq->LineNumber(Index) : 0;
}

std::string DiSourcePosition::Text(bool ShowFile) const {
  if (IsNone())
    return "sNone";
  if (IsEnd())
    return "sEnd";
  if (IsAtEndOfSource())
    return "at end of source";
  std::string Result;
  if (ShowFile) {
    if (const DiFile *F = File())
      Result += F->Name() + "\\";
  }
  Result += std::to_string(Line());
  Result += ':';
  Result += std::to_string(Col);
  return Result;
}

bool operator<(const DiSourcePosition &A, const DiSourcePosition &B) {
  if (B.IsNone())
    return false;
  if (A.IsEnd())
    return false;
  if (A.IsNone())
    return true;
  if (B.IsEnd())
    return true;
  if (A.Seq != B.Seq)
    GeInternalFailure("Comparison of source positions from different source "
                      "line sequences.");
  if (A.Index != B.Index)
    return A.Index < B.Index;
  return A.Col < B.Col;
}

bool DiSourceRange::Contains(const DiSourcePosition &Pos) const {
  if (Pos.IsNone() || Pos.IsEnd() || Start.IsNone() || End.IsNone())
    return false;
  if (Pos.Sequence() != Start.Sequence() || Pos.Sequence() != End.Sequence())
    return false;
  return !(Pos < Start) && !(End < Pos);
}

const OgSourceLineSequence::Entry *
OgSourceLineSequence::Lookup(std::uint32_t Index) const {
  auto It = std::upper_bound(
      Entries.begin(), Entries.end(), Index,
      [](std::uint32_t I, const Entry &E) { return I < E.FirstIndex; });
  if (It == Entries.begin())
    return nullptr;
  return &*std::prev(It);
}

std::uint32_t OgSourceLineSequence::LineNumber(std::uint32_t Index) const {
  const Entry *E = Lookup(Index);
  if (!E || !E->File)
    return 0;
  return E->FirstLineNumber + (Index - E->FirstIndex);
}

const DiFile *OgSourceLineSequence::File(std::uint32_t Index) const {
  const Entry *E = Lookup(Index);
  return E ? E->File.get() : nullptr;
}

bool OgSourceLineSequence::IsAtEnd(std::uint32_t Index) const {
  const Entry *E = Lookup(Index);
  return !E || !E->File;
}

bool OgSourceLineSequence::LineText(std::uint32_t Index,
                                    std::string &Text) const {
  auto It = std::lower_bound(Texts.begin(), Texts.end(), Index,
                             [](const std::pair<std::uint32_t, std::string> &P,
                                std::uint32_t I) { return P.first < I; });
  if (It == Texts.end() || It->first != Index)
    return false;
  Text = It->second;
  return true;
}

void OgSourceLineSequence::Clear() {
  // Swapped out rather than cleared, so that the memory is given back.
  std::vector<Entry>().swap(Entries);
  std::vector<std::pair<std::uint32_t, std::string>>().swap(Texts);
  NextIndex = 0;
}

std::uint32_t OgSourceLineSequence::Builder::BeginFile(GeRcPtr<DiFile> File) {
  std::uint32_t Base = Seq.NextIndex;
  if (!Seq.Entries.empty() && Seq.Entries.back().FirstIndex == Base)
    Seq.Entries.back() = Entry{Base, 1, std::move(File)};
  else
    Seq.Entries.push_back(Entry{Base, 1, std::move(File)});
  return Base;
}

void OgSourceLineSequence::Builder::EndFile(std::uint32_t LineCount) {
  // Every file takes at least one index, so that an empty file still has a
  // place of its own for positions at its first line.
  Seq.NextIndex += std::max<std::uint32_t>(LineCount, 1);
  Seq.Entries.push_back(Entry{Seq.NextIndex, 0, GeRcPtr<DiFile>()});
}

void OgSourceLineSequence::Builder::SetLineText(std::uint32_t Index,
                                                std::string Text) {
  auto It = std::lower_bound(Seq.Texts.begin(), Seq.Texts.end(), Index,
                             [](const std::pair<std::uint32_t, std::string> &P,
                                std::uint32_t I) { return P.first < I; });
  if (It != Seq.Texts.end() && It->first == Index)
    It->second = std::move(Text);
  else
    Seq.Texts.insert(It, {Index, std::move(Text)});
}
