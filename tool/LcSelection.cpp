// Check selection: the five selection passes over the checks manifest and
// the selected-checks output they write.
#include "tool/LcSelection.h"

#include "console/MsConsole.h"
#include "console/MsMessages.h"
#include "console/MsOutputStream.h"
#include "tool/CoutSink.h"
#include "tool/LcManifestReader.h"
#include "tool/LcMessages.h"

#include <boost/algorithm/string/predicate.hpp>
#include <boost/iostreams/device/file_descriptor.hpp>
#include <boost/iostreams/stream.hpp>

#include <bitset>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <istream>
#include <iterator>
#include <locale>
#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

/// Set once any pass has opened the output; later passes append.
bool OutputOpenedFlag = false;

/// Selected names are gathered into pieces of this size before they are
/// written.
constexpr std::size_t OutputChunkSize = 64 * 1024;

/// Reports that writing the output Path failed and stops the run.
[[noreturn]] void ReportWriteFailure(const std::string &Path) {
  MsGetConsole().Report(MsMakeTag(MsMsgWriteProblem), MsConsole::ErrorFixed,
                        Path);
  throw MsConsoleException();
}

/// Closes a descriptor it owns.
class Descriptor {
public:
  Descriptor() = default;
  explicit Descriptor(int Handle) : Fd(Handle) {}
  Descriptor(Descriptor &&Other) noexcept : Fd(std::exchange(Other.Fd, -1)) {}
  Descriptor &operator=(Descriptor &&Other) noexcept {
    std::swap(Fd, Other.Fd);
    return *this;
  }
  Descriptor(const Descriptor &) = delete;
  Descriptor &operator=(const Descriptor &) = delete;
  ~Descriptor() {
    if (Fd >= 0)
      ::close(Fd);
  }
  int Get() const { return Fd; }
  bool IsOpen() const { return Fd >= 0; }
  /// Gives the descriptor up without closing it.
  int Release() { return std::exchange(Fd, -1); }

private:
  int Fd = -1;
};

/// Writes Size bytes of Data to Handle, through short writes and
/// interruptions; answers whether all were written.
bool WriteFully(int Handle, const char *Data, std::size_t Size) {
  while (Size > 0) {
    const ssize_t Written = ::write(Handle, Data, Size);
    if (Written < 0) {
      if (errno == EINTR)
        continue;
      return false;
    }
    Data += Written;
    Size -= static_cast<std::size_t>(Written);
  }
  return true;
}

/// Where a pass writes its pieces of names: Write(Context, Data, Size)
/// writes them all and answers false once the output has failed.
struct NameSink {
  bool (*Write)(void *Context, const char *Data, std::size_t Size);
  void *Context;
};

/// Gathers the selected names of a pass, each followed by "\n", in a buffer
/// of its own and hands them to a sink in pieces of about OutputChunkSize
/// bytes; a name too long for a piece goes to the sink by itself.
class NameWriter {
public:
  explicit NameWriter(NameSink Target)
      : Sink(Target), Chunk(new char[OutputChunkSize]) {}

  /// Adds Name and "\n"; answers false once the output has failed.
  bool Add(std::string_view Name) {
    const std::size_t Size = Name.size();
    if (Used + Size >= OutputChunkSize) {
      if (!Flush())
        return false;
      if (Size >= OutputChunkSize)
        return Sink.Write(Sink.Context, Name.data(), Size) &&
               Sink.Write(Sink.Context, "\n", 1);
    }
    std::memcpy(Chunk.get() + Used, Name.data(), Size);
    Chunk[Used + Size] = '\n';
    Used += Size + 1;
    return true;
  }

  /// Writes what has been gathered; answers false once the output has
  /// failed.
  bool Flush() {
    if (Used != 0)
      Good = Sink.Write(Sink.Context, Chunk.get(), std::exchange(Used, 0));
    return Good;
  }

private:
  NameSink Sink;
  std::unique_ptr<char[]> Chunk;
  std::size_t Used = 0;
  /// Whether every write so far succeeded.
  bool Good = true;
};

/// A sink on a stream: the stream's own state tells whether it failed.
bool WriteToStream(void *Context, const char *Data, std::size_t Size) {
  auto &Out = *static_cast<std::ostream *>(Context);
  Out.write(Data, static_cast<std::streamsize>(Size));
  return static_cast<bool>(Out);
}

/// The output of one pass, held for the length of the pass: for "-" the
/// program's own sink on standard output, written through std::cout so that
/// it follows whatever the program wrote there before; otherwise a Boost
/// file_descriptor_sink on the output file. The names come in pieces from a
/// NameWriter, so neither device needs a stream buffer of its own. Every
/// write is checked to the last byte.
class PassOutput {
public:
  /// Opens OutputPath: truncated the first time any pass opens the output
  /// in this process, appended to afterwards. Reports Lc002 and throws
  /// MsConsoleException on failure.
  explicit PassOutput(const std::string &OutputPath) : Path(OutputPath) {
    if (Path != "-") {
      const std::ios_base::openmode Mode =
          std::ios_base::out | std::ios_base::binary |
          (OutputOpenedFlag ? std::ios_base::app : std::ios_base::trunc);
      try {
        File.open(Path, Mode);
      } catch (const std::ios_base::failure &) {
      }
      if (!File.is_open()) {
        LcReport(LcMsgCouldNotOpen, Path);
        throw MsConsoleException();
      }
    }
    OutputOpenedFlag = true;
  }

  NameSink Sink() { return NameSink{&PassOutput::Write, this}; }

  /// Flushes and closes the output; reports Ms004 and throws
  /// MsConsoleException when a write, the flush or the close failed.
  void Finish() {
    try {
      if (File.is_open())
        File.close();
      else
        Console.flush();
    } catch (const std::ios_base::failure &) {
      Good = false;
    }
    if (!Good)
      ReportWriteFailure(Path);
  }

private:
  static bool Write(void *Context, const char *Data, std::size_t Size) {
    auto &Output = *static_cast<PassOutput *>(Context);
    if (Output.File.is_open()) {
      // The device's own write takes a short write for a failure; this
      // loop goes on through short writes and interruptions instead.
      Output.Good = WriteFully(Output.File.handle(), Data, Size);
      return Output.Good;
    }
    try {
      Output.Console.write(Data, static_cast<std::streamsize>(Size));
    } catch (const std::ios_base::failure &) {
      Output.Good = false;
    }
    return Output.Good;
  }

  std::string Path;
  /// The output file; not open for standard output.
  boost::iostreams::file_descriptor_sink File;
  CoutSink Console;
  bool Good = true;
};

/// Whether Path names a regular file (links followed).
bool IsRegularFile(const std::string &Path) {
  struct stat Info;
  return ::stat(Path.c_str(), &Info) == 0 && S_ISREG(Info.st_mode);
}

/// Whether writing the output would write over the manifest: both are the
/// same regular file, however spelt; for "-", standard output is that file.
/// Devices and pipes (a terminal that is both /dev/stdin and /dev/stdout)
/// are not refused: writing them destroys nothing.
bool OutputIsManifest(const std::string &OutputPath,
                      const std::string &ManifestPath) {
  if (!IsRegularFile(ManifestPath))
    return false;
  if (OutputPath != "-")
    return MsOutputStream::SameFile(OutputPath, ManifestPath);
  struct stat Output, Manifest;
  return ::fstat(STDOUT_FILENO, &Output) == 0 && S_ISREG(Output.st_mode) &&
         ::stat(ManifestPath.c_str(), &Manifest) == 0 &&
         Output.st_dev == Manifest.st_dev && Output.st_ino == Manifest.st_ino;
}

/// The manifest as the passes read it. Each pass opens the file again,
/// unless it can be read only once (a pipe, a FIFO, a terminal) and more
/// than one pass reads it: then the first pass copies it into an anonymous
/// file, in blocks, and every pass reads the copy from its start. The copy
/// is a memory file (memfd_create), or when the system has none an unnamed
/// file (O_TMPFILE) in $TMPDIR or /tmp; it has no name, so nothing is left
/// behind, whatever ends the run.
class ManifestSource {
public:
  ManifestSource(std::string ManifestPath, bool ReadOnce)
      : Path(std::move(ManifestPath)), Once(ReadOnce) {}

  /// Opens Reader on the manifest. A manifest that cannot be opened is
  /// reported as Lc002; a copy that cannot be made or written, as Ms003 or
  /// Ms004 with the copy's name; both throw MsConsoleException.
  void Open(LcManifestReader &Reader) {
    if (!Once) {
      Reader.Open(Path);
      return;
    }
    if (!Copy.IsOpen())
      MakeCopy();
    if (::lseek(Copy.Get(), 0, SEEK_SET) != 0)
      Fail(MsMsgWriteProblem);
    Stream = std::make_unique<CopyStream>(
        boost::iostreams::file_descriptor_source(
            Copy.Get(), boost::iostreams::never_close_handle),
        LcManifestReader::DefaultBlockSize);
    Reader.Open(*Stream);
  }

private:
  using CopyStream =
      boost::iostreams::stream<boost::iostreams::file_descriptor_source>;
  static constexpr std::size_t CopyBlockSize = 64 * 1024;

  void MakeCopy() {
    Descriptor In(::open(Path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat Info;
    if (!In.IsOpen() || ::fstat(In.Get(), &Info) != 0 ||
        S_ISDIR(Info.st_mode)) {
      LcReport(LcMsgCouldNotOpen, Path);
      throw MsConsoleException();
    }
    Copy = MakeAnonymousFile();
    if (!Copy.IsOpen())
      Fail(MsMsgCannotWrite);
    std::unique_ptr<char[]> Block(new char[CopyBlockSize]);
    for (;;) {
      const ssize_t Read = ::read(In.Get(), Block.get(), CopyBlockSize);
      if (Read < 0 && errno == EINTR)
        continue;
      // A read error ends the input, as it does when the file is read
      // directly.
      if (Read <= 0)
        break;
      if (!WriteFully(Copy.Get(), Block.get(), static_cast<std::size_t>(Read)))
        Fail(MsMsgWriteProblem);
    }
  }

  /// Opens an anonymous file for reading and writing; sets CopyName to the
  /// name messages give it.
  Descriptor MakeAnonymousFile() {
    CopyName = "memfd:chksel-manifest";
    Descriptor Memory(::memfd_create("chksel-manifest", MFD_CLOEXEC));
    if (Memory.IsOpen())
      return Memory;
    const char *TmpDir = std::getenv("TMPDIR");
    for (const char *Folder : {TmpDir, "/tmp"}) {
      if (!Folder || !*Folder)
        continue;
      CopyName = Folder;
      Descriptor Unnamed(
          ::open(Folder, O_TMPFILE | O_RDWR | O_CLOEXEC, S_IRUSR | S_IWUSR));
      if (Unnamed.IsOpen())
        return Unnamed;
    }
    return Descriptor();
  }

  [[noreturn]] void Fail(MsMessageNumber Number) {
    MsGetConsole().Report(MsMakeTag(Number), MsConsole::ErrorFixed, CopyName);
    throw MsConsoleException();
  }

  std::string Path;
  bool Once;
  Descriptor Copy;
  std::string CopyName;
  /// The stream of the current pass over the copy; the reader borrows it.
  std::unique_ptr<CopyStream> Stream;
};

/// Writes the name of every record of Reader that Selector selects to Sink.
void SelectInto(LcManifestReader &Reader, const LcRecordSelector &Selector,
                NameSink Sink) {
  NameWriter Writer(Sink);
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
void RunPass(LcSelectionMode Mode, ManifestSource &Source,
             const std::string &ManifestPath, const std::string &OutputPath,
             const std::vector<std::string> &Requested) {
  PassOutput Output(OutputPath);
  LcRecordSelector Selector(Mode, Requested);
  LcManifestReader Reader;
  Reader.SetKeyFilter(Selector.KeyFilter());
  Source.Open(Reader);
  MsGetConsole().AnnounceFile(ManifestPath);
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
  SelectInto(Reader, Selector, NameSink{&WriteToStream, &Out});
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

void LcRunPass(LcSelectionMode Mode, const std::string &ManifestPath,
               const std::string &OutputPath,
               const std::vector<std::string> &Requested) {
  ManifestSource Source(ManifestPath, false);
  RunPass(Mode, Source, ManifestPath, OutputPath, Requested);
}

void LcRunSelection(const LcSelectionRequest &Request) {
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

  const std::string &Manifest = Request.ManifestPath;
  const std::string &Output = Request.OutputPath;
  if (OutputIsManifest(Output, Manifest)) {
    MsGetConsole().Report(MsMakeTag(MsMsgIllegalPath), MsConsole::ErrorFixed,
                          Output);
    throw MsConsoleException();
  }
  // A manifest that is no regular file may not be there a second time.
  ManifestSource Source(Manifest,
                        Passes.size() > 1 && !IsRegularFile(Manifest));
  for (const auto &Pass : Passes)
    RunPass(Pass.first, Source, Manifest, Output, *Pass.second);
}

bool LcOutputOpened() { return OutputOpenedFlag; }

void LcResetOutputOpened() { OutputOpenedFlag = false; }
