// Check selection: the five selection passes over the checks manifest and
// the selected-checks output they write.
#include "tool/LcSelection.h"

#include "console/MsConsole.h"
#include "console/MsMessages.h"
#include "console/MsOutputStream.h"
#include "general/GeDisk.h"
#include "tool/LcManifestReader.h"
#include "tool/LcManifestSource.h"
#include "tool/LcPassOutput.h"

#include <boost/algorithm/string/predicate.hpp>

#include <bitset>
#include <cstdint>
#include <cstring>
#include <istream>
#include <iterator>
#include <locale>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Set once any pass has opened the output; later passes append.
bool OutputOpenedFlag = false;

/// A sink on a stream: the stream's own state tells whether it failed.
bool WriteToStream(void *Context, const char *Data, std::size_t Size) {
  auto &Out = *static_cast<std::ostream *>(Context);
  Out.write(Data, static_cast<std::streamsize>(Size));
  return static_cast<bool>(Out);
}

/// Whether Path names a regular file on Disk (links followed).
bool IsRegularFile(GeDiskInterface &Disk, const std::string &Path) {
  GeFileStatus Info;
  return Disk.Stat(Path, Info) == 0 &&
         Info.Type == GeFileStatus::Kind::Regular;
}

/// Whether writing the output would write over the manifest: both are the
/// same regular file, however spelt; for "-", standard output is that file.
/// Devices and pipes (a terminal that is both /dev/stdin and /dev/stdout)
/// are not refused: writing them destroys nothing. Standard output is the
/// process's own descriptor, so it is looked at directly.
bool OutputIsManifest(GeDiskInterface &Disk, const std::string &OutputPath,
                      const std::string &ManifestPath) {
  if (!IsRegularFile(Disk, ManifestPath))
    return false;
  if (OutputPath != "-")
    return MsOutputStream::SameFile(OutputPath, ManifestPath, Disk);
  struct stat Output;
  GeFileStatus Manifest;
  return ::fstat(STDOUT_FILENO, &Output) == 0 && S_ISREG(Output.st_mode) &&
         Disk.Stat(ManifestPath, Manifest) == 0 &&
         static_cast<std::uint64_t>(Output.st_dev) == Manifest.Device &&
         static_cast<std::uint64_t>(Output.st_ino) == Manifest.Inode;
}

/// Writes the name of every record of Reader that Selector selects to Sink.
void SelectInto(LcManifestReader &Reader, const LcRecordSelector &Selector,
                LcNameSink Sink) {
  LcNameWriter Writer(Sink);
  std::string_view Name;
  try {
    while (!Reader.AtEnd()) {
      if (Selector.Select(Reader.Current(), Name) && !Writer.Add(Name))
        return;
      Reader.Advance();
    }
  } catch (...) {
    // The names selected before the failure still reach the output stream,
    // as they would have, had they been written one by one; the failure
    // itself is what the caller hears of.
    try {
      Writer.Flush();
    } catch (...) {
    }
    throw;
  }
  Writer.Flush();
}

/// One pass of Mode over Source, writing to OutputPath.
void RunPass(MsConsole &Console, GeDiskInterface &Disk, LcSelectionMode Mode,
             LcManifestSource &Source, const std::string &ManifestPath,
             const std::string &OutputPath,
             const std::vector<std::string> &Requested) {
  LcPassOutput Output(Console, Disk, OutputPath, OutputOpenedFlag);
  OutputOpenedFlag = true;
  LcRecordSelector Selector(Mode, Requested);
  LcManifestReader Reader;
  Reader.SetKeyFilter(Selector.KeyFilter());
  Source.Open(Reader);
  Console.AnnounceFile(ManifestPath);
  SelectInto(Reader, Selector, Output.Sink());
  Reader.Close();
  Output.Finish();
}

// The keys the rules read. Select looks only at those of a key's length.
constexpr std::string_view CheckNameKey = "checkname";
constexpr std::string_view PackageKey = "package";
constexpr std::string_view GroupKey = "group";
constexpr std::string_view DefaultKey = "default";
constexpr std::string_view VisibleKey = "visible";
/// The keys in the order in which the rules try them.
constexpr std::string_view RuleKeys[] = {CheckNameKey, PackageKey, GroupKey,
                                         DefaultKey, VisibleKey};
/// Their places in RuleKeys.
enum RuleKeyIndex : std::size_t {
  CheckNameIndex,
  PackageIndex,
  GroupIndex,
  DefaultIndex,
  VisibleIndex
};
static_assert(PackageKey.size() == DefaultKey.size() &&
                  PackageKey.size() == VisibleKey.size() &&
                  CheckNameKey.size() != PackageKey.size() &&
                  GroupKey.size() != PackageKey.size() &&
                  GroupKey.size() != CheckNameKey.size(),
              "Select dispatches on these lengths");

} // namespace

LcCaselessText::LcCaselessText(std::string_view Original,
                               const std::array<char, 256> &Table)
    : Text(Original), Upper(&Table) {
  // How many bytes the table maps to each byte.
  std::array<unsigned short, 256> Sharing{};
  for (char Mapped : Table)
    ++Sharing[static_cast<unsigned char>(Mapped)];
  // Byte I is compared by word when the bytes equal to it through the table
  // are just itself, or itself and its partner in bit 5.
  const std::size_t Size = Text.size();
  Fold.resize(Size);
  Pattern.resize(Size);
  bool Words = true;
  for (std::size_t I = 0; I < Size && Words; ++I) {
    auto Byte = static_cast<unsigned char>(Text[I]);
    auto Partner = static_cast<unsigned char>(Byte ^ 0x20);
    bool PartnerEqual = Table[Partner] == Table[Byte];
    Words = Sharing[static_cast<unsigned char>(Table[Byte])] ==
            (PartnerEqual ? 2 : 1);
    unsigned char Case = PartnerEqual ? 0x20 : 0x00;
    Fold[I] = static_cast<char>(Case);
    Pattern[I] = static_cast<char>(Byte | Case);
  }
  if (!Words || Size < 4)
    return;
  if (Size < 8) {
    Way = ByHalfWords;
    Head = PieceAt<std::uint32_t>(0);
    Tail = PieceAt<std::uint32_t>(Size - 4);
  } else {
    Way = ByWords;
    Head = PieceAt<std::uint64_t>(0);
    Tail = PieceAt<std::uint64_t>(Size - 8);
  }
}

bool LcCaselessText::MatchesThroughTable(std::string_view Other) const {
  const std::array<char, 256> &Table = *Upper;
  for (std::size_t I = 0; I < Text.size(); ++I)
    if (Table[static_cast<unsigned char>(Other[I])] !=
        Table[static_cast<unsigned char>(Text[I])])
      return false;
  return true;
}

namespace {
/// The table of upper-case bytes of the global locale's ctype<char> facet.
std::array<char, 256> UpperTable() {
  std::array<char, 256> Upper;
  for (std::size_t I = 0; I < Upper.size(); ++I)
    Upper[I] = static_cast<char>(static_cast<unsigned char>(I));
  std::use_facet<std::ctype<char>>(std::locale())
      .toupper(Upper.data(), Upper.data() + Upper.size());
  return Upper;
}
} // namespace

LcRecordSelector::LcRecordSelector(LcSelectionMode PassMode,
                                   const std::vector<std::string> &Values)
    : Mode(PassMode), Requested(Values), Upper(UpperTable()),
      On("on", Upper), No("no", Upper) {
  Keys.reserve(std::size(RuleKeys));
  for (std::string_view Key : RuleKeys)
    Keys.emplace_back(Key, Upper);
  Wanted.reserve(Requested.size());
  for (const std::string &Value : Requested)
    Wanted.emplace_back(Value, Upper);
  // A key is tried only when a pair with that key can change the outcome in
  // this mode. The rules try the keys in the order checkname, package, group,
  // default, visible and act on the first one equal to the pair's key, so a
  // key equal (through Upper) to an earlier one is never acted on. Equality
  // through Upper is an equivalence, so a pair's key equals at most one key
  // that is not shadowed that way, and the keys left can be tried in any
  // order.
  auto Shadowed = [this](std::size_t Index) {
    for (std::size_t Earlier = 0; Earlier < Index; ++Earlier)
      if (Equal(RuleKeys[Earlier], RuleKeys[Index]))
        return true;
    return false;
  };
  bool ByPackage = Mode == LcSelectionMode::DefaultChecksOfPackages ||
                   Mode == LcSelectionMode::ChecksOfPackages;
  TryPackage = ByPackage && !Shadowed(PackageIndex);
  TryGroup = Mode == LcSelectionMode::ChecksOfGroups && !Shadowed(GroupIndex);
  TryDefault = Mode == LcSelectionMode::DefaultChecksOfPackages &&
               !Shadowed(DefaultIndex);
  TryVisible = !Shadowed(VisibleIndex);
}

bool LcRecordSelector::Equal(std::string_view A, std::string_view B) const {
  if (A.size() != B.size())
    return false;
  return boost::algorithm::equals(A, B, [this](char X, char Y) {
    return Upper[static_cast<unsigned char>(X)] ==
           Upper[static_cast<unsigned char>(Y)];
  });
}

LcKeyFilter LcRecordSelector::KeyFilter() const {
  LcKeyFilter Filter;
  auto KeepKey = [this, &Filter](std::string_view Key) {
    // The bytes a key equal to Key may begin with.
    std::bitset<256> Initials;
    for (std::size_t Byte = 0; Byte < Initials.size(); ++Byte)
      Initials[Byte] = Upper[Byte] == Upper[static_cast<unsigned char>(Key[0])];
    Filter.Keep(Key.size(), Initials);
  };
  KeepKey(CheckNameKey);
  if (TryPackage)
    KeepKey(PackageKey);
  if (TryGroup)
    KeepKey(GroupKey);
  if (TryDefault)
    KeepKey(DefaultKey);
  if (TryVisible)
    KeepKey(VisibleKey);
  return Filter;
}

bool LcRecordSelector::MatchesRequested(std::string_view Value) const {
  for (const LcCaselessText &One : Wanted)
    if (One.Matches(Value))
      return true;
  return false;
}

template <LcSelectionMode M>
bool LcRecordSelector::SelectIn(const LcRecord &Record,
                                std::string_view &Name) const {
  constexpr bool ByPackage = M == LcSelectionMode::DefaultChecksOfPackages ||
                             M == LcSelectionMode::ChecksOfPackages;
  std::string_view Pending;
  bool Selected = false;
  for (const LcAttribute &Attribute : Record) {
    std::string_view Key = Attribute.Key();
    std::string_view Value = Attribute.Value();
    // Keys of other lengths are equal to none of the keys the rules read.
    // TryPackage, TryGroup and TryDefault are set only in the modes that
    // use those keys, which lets each mode's rules drop the others.
    switch (Key.size()) {
    case CheckNameKey.size():
      if (Keys[CheckNameIndex].Matches(Key)) {
        Pending = Value;
        if (M == LcSelectionMode::AllChecks)
          Selected = true;
        else if (M == LcSelectionMode::NamedChecks && MatchesRequested(Value))
          Selected = true;
      }
      break;
    case PackageKey.size():
      if (ByPackage && TryPackage && Keys[PackageIndex].Matches(Key)) {
        if (MatchesRequested(Value))
          Selected = true;
        // A default check of an unrequested package is dropped, unless an
        // earlier attribute has already selected it.
        if (M == LcSelectionMode::DefaultChecksOfPackages && !Selected)
          return false;
      } else if (M == LcSelectionMode::DefaultChecksOfPackages && TryDefault &&
                 Keys[DefaultIndex].Matches(Key)) {
        if (On.Matches(Value))
          Selected = true;
      } else if (TryVisible && Keys[VisibleIndex].Matches(Key)) {
        if (No.Matches(Value))
          Selected = false;
      }
      break;
    case GroupKey.size():
      if (M == LcSelectionMode::ChecksOfGroups && TryGroup &&
          Keys[GroupIndex].Matches(Key)) {
        if (MatchesRequested(Value))
          Selected = true;
      }
      break;
    default:
      break;
    }
  }
  if (!Selected || Pending.empty())
    return false;
  Name = Pending;
  return true;
}

bool LcRecordSelector::Select(const LcRecord &Record,
                              std::string_view &Name) const {
  // The rules are compiled once per mode, so that the mode is not tested
  // again for every attribute.
  switch (Mode) {
  case LcSelectionMode::AllChecks:
    return SelectIn<LcSelectionMode::AllChecks>(Record, Name);
  case LcSelectionMode::NamedChecks:
    return SelectIn<LcSelectionMode::NamedChecks>(Record, Name);
  case LcSelectionMode::DefaultChecksOfPackages:
    return SelectIn<LcSelectionMode::DefaultChecksOfPackages>(Record, Name);
  case LcSelectionMode::ChecksOfGroups:
    return SelectIn<LcSelectionMode::ChecksOfGroups>(Record, Name);
  case LcSelectionMode::ChecksOfPackages:
    return SelectIn<LcSelectionMode::ChecksOfPackages>(Record, Name);
  }
  return false;
}

void LcSelectRecords(LcManifestReader &Reader, const LcRecordSelector &Selector,
                     std::ostream &Out) {
  SelectInto(Reader, Selector, LcNameSink{&WriteToStream, &Out});
}

void LcSelectFromStream(LcSelectionMode Mode, std::istream &Manifest,
                        std::ostream &Out,
                        const std::vector<std::string> &Requested) {
  LcRecordSelector Selector(Mode, Requested);
  LcManifestReader Reader;
  Reader.SetKeyFilter(Selector.KeyFilter());
  Reader.Open(Manifest);
  LcSelectRecords(Reader, Selector, Out);
  Reader.Close();
}

void LcRunPass(MsConsole &Console, GeDiskInterface &Disk, LcSelectionMode Mode,
               const std::string &ManifestPath, const std::string &OutputPath,
               const std::vector<std::string> &Requested) {
  LcManifestSource Source(Console, Disk, ManifestPath, false);
  RunPass(Console, Disk, Mode, Source, ManifestPath, OutputPath, Requested);
}

void LcRunSelection(MsConsole &Console, GeDiskInterface &Disk,
                    const LcSelectionRequest &Request) {
  static const std::vector<std::string> NoValues;
  std::vector<std::pair<LcSelectionMode, const std::vector<std::string> *>>
      Passes;
  if (Request.All)
    Passes.emplace_back(LcSelectionMode::AllChecks, &NoValues);
  if (!Request.CheckNames.empty())
    Passes.emplace_back(LcSelectionMode::NamedChecks, &Request.CheckNames);
  if (!Request.DefaultPackages.empty())
    Passes.emplace_back(LcSelectionMode::DefaultChecksOfPackages,
                        &Request.DefaultPackages);
  if (!Request.Groups.empty())
    Passes.emplace_back(LcSelectionMode::ChecksOfGroups, &Request.Groups);
  if (!Request.Packages.empty())
    Passes.emplace_back(LcSelectionMode::ChecksOfPackages, &Request.Packages);
  if (Passes.empty())
    return;

  LcRefuseOutputOverManifest(Console, Disk, Request);
  const std::string &Manifest = Request.ManifestPath;
  const std::string &Output = Request.OutputPath;
  // A manifest that is no regular file may not be there a second time.
  LcManifestSource Source(Console, Disk, Manifest,
                          Passes.size() > 1 && !IsRegularFile(Disk, Manifest));
  for (const auto &Pass : Passes)
    RunPass(Console, Disk, Pass.first, Source, Manifest, Output, *Pass.second);
}

void LcRefuseOutputOverManifest(MsConsole &Console, GeDiskInterface &Disk,
                                const LcSelectionRequest &Request) {
  const bool Selects = Request.All || !Request.CheckNames.empty() ||
                       !Request.DefaultPackages.empty() ||
                       !Request.Groups.empty() || !Request.Packages.empty();
  if (!Selects ||
      !OutputIsManifest(Disk, Request.OutputPath, Request.ManifestPath))
    return;
  Console.Report(MsMakeTag(MsMsgIllegalPath), MsConsole::ErrorFixed,
                 Request.OutputPath);
  throw MsConsoleException();
}

bool LcOutputOpened() { return OutputOpenedFlag; }

void LcResetOutputOpened() { OutputOpenedFlag = false; }
