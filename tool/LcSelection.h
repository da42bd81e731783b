// Check selection: the five selection passes over the checks manifest and
// the selected-checks output they write.
#ifndef TOOL_LCSELECTION_H
#define TOOL_LCSELECTION_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

class GeDiskInterface;
class LcKeyFilter;
class LcManifestReader;
class LcRecord;
class MsConsole;

/// The user's choice of checks, filled by the main flow. The lists are used
/// as given: no trimming, no removal of duplicates.
struct LcSelectionRequest {
  std::string ManifestPath;
  /// "-" means standard output.
  std::string OutputPath;
  bool All = false;
  std::vector<std::string> CheckNames;
  std::vector<std::string> DefaultPackages;
  std::vector<std::string> Groups;
  std::vector<std::string> Packages;
};

/// The selection modes, in the order in which their passes run.
enum class LcSelectionMode {
  AllChecks,
  NamedChecks,
  DefaultChecksOfPackages,
  ChecksOfGroups,
  ChecksOfPackages
};

/// A text compared whole and without regard to case: another text equals it
/// when both have the same length and every pair of bytes is equal after
/// upper-casing through a table of 256 entries. Prepared once, so that where
/// each byte of the text equals only itself, or itself and the byte that
/// differs from it in bit 5 (the ASCII case bit), a comparison takes a few
/// word operations; otherwise it goes through the table byte by byte.
/// Borrows the table, which must outlive it.
class LcCaselessText {
public:
  LcCaselessText(std::string_view Text, const std::array<char, 256> &Upper);

  bool Matches(std::string_view Other) const {
    const std::size_t Size = Text.size();
    if (Other.size() != Size)
      return false;
    const char *O = Other.data();
    switch (Way) {
    case ByHalfWords:
      // Two pieces that overlap cover the text.
      return PieceMatches<std::uint32_t>(O, 0, Head) &&
             PieceMatches<std::uint32_t>(O, Size - 4, Tail);
    case ByWords:
      if (!PieceMatches<std::uint64_t>(O, 0, Head) ||
          !PieceMatches<std::uint64_t>(O, Size - 8, Tail))
        return false;
      for (std::size_t I = 8; I + 8 < Size; I += 8)
        if (!PieceMatches<std::uint64_t>(O, I))
          return false;
      return true;
    default:
      return MatchesThroughTable(Other);
    }
  }

private:
  bool MatchesThroughTable(std::string_view Other) const;

  /// Fold and Pattern of one piece of the text, kept at hand for the first
  /// and the last piece.
  struct Piece {
    std::uint64_t Fold = 0;
    std::uint64_t Pattern = 0;
  };

  /// Whether (Other[I] | Fold[I]) == Pattern[I] for the Word-sized piece at
  /// I, whose fold and pattern are Known.
  template <class Word>
  static bool PieceMatches(const char *Other, std::size_t I,
                           const Piece &Known) {
    Word O;
    std::memcpy(&O, Other + I, sizeof O);
    return (O | static_cast<Word>(Known.Fold)) ==
           static_cast<Word>(Known.Pattern);
  }

  /// The fold and pattern of the Word-sized piece at I.
  template <class Word> Piece PieceAt(std::size_t I) const {
    Word F, P;
    std::memcpy(&F, Fold.data() + I, sizeof F);
    std::memcpy(&P, Pattern.data() + I, sizeof P);
    return Piece{F, P};
  }

  /// The same for any piece, its fold and pattern read from Fold and
  /// Pattern.
  template <class Word>
  bool PieceMatches(const char *Other, std::size_t I) const {
    Word O, F, P;
    std::memcpy(&O, Other + I, sizeof O);
    std::memcpy(&F, Fold.data() + I, sizeof F);
    std::memcpy(&P, Pattern.data() + I, sizeof P);
    return (O | F) == P;
  }

  /// How Matches compares: through the table, or by two overlapping
  /// 4-byte pieces (texts of 4 to 7 bytes), or by 8-byte pieces (8 bytes or
  /// more).
  enum Comparison : unsigned char { ThroughTable, ByHalfWords, ByWords };

  std::string Text;
  const std::array<char, 256> *Upper;
  Comparison Way = ThroughTable;
  /// Unless Way is ThroughTable, a byte B of Other matches byte I when
  /// (B | Fold[I]) == Pattern[I].
  std::string Fold;
  std::string Pattern;
  /// The first and the last piece of the text.
  Piece Head;
  Piece Tail;
};

/// Decides, record by record, what one pass of one mode selects. Keys and
/// values are compared whole and without regard to case: equal length and
/// every pair of bytes equal after upper-casing through the global locale's
/// ctype<char> facet, which is read once, when the selector is made. Borrows
/// the requested values, which must outlive it.
class LcRecordSelector {
public:
  LcRecordSelector(LcSelectionMode Mode,
                   const std::vector<std::string> &Requested);
  LcRecordSelector(const LcRecordSelector &) = delete;
  LcRecordSelector &operator=(const LcRecordSelector &) = delete;

  /// Answers whether Record is selected and, if so, sets Name to the check
  /// name to write (a view into Record). A selected record without a
  /// "checkname" attribute answers false: there is nothing to write.
  bool Select(const LcRecord &Record, std::string_view &Name) const;

  /// Whole-string comparison without regard to case.
  bool Equal(std::string_view A, std::string_view B) const;

  /// The attributes Select reads in this mode: those whose key may equal a
  /// key it tries. A reader that keeps only these reads the same selection.
  LcKeyFilter KeyFilter() const;

private:
  bool MatchesRequested(std::string_view Value) const;
  /// Select for M, which is the selector's mode.
  template <LcSelectionMode M>
  bool SelectIn(const LcRecord &Record, std::string_view &Name) const;

  LcSelectionMode Mode;
  const std::vector<std::string> &Requested;
  std::array<char, 256> Upper;
  /// The keys the rules read, the values they test and the requested
  /// values, prepared for comparison through Upper.
  std::vector<LcCaselessText> Keys;
  LcCaselessText On;
  LcCaselessText No;
  std::vector<LcCaselessText> Wanted;
  /// Whether Select compares a pair's key with "package", "group",
  /// "default", "visible": only when such a pair can change the outcome in
  /// this mode.
  bool TryPackage = false;
  bool TryGroup = false;
  bool TryDefault = false;
  bool TryVisible = false;
};

/// Writes the name of every record of Reader (open, first record read) that
/// Selector selects to Out, one per line, each followed by "\n". The names
/// are gathered and handed to Out in pieces of about 64 KiB; the names
/// gathered so far are still handed over when an exception (memory
/// exhaustion) leaves the pass. Stops early once Out has failed.
void LcSelectRecords(LcManifestReader &Reader, const LcRecordSelector &Selector,
                     std::ostream &Out);

/// One pass of Mode over the manifest text Manifest, writing to Out; the pass
/// without files.
void LcSelectFromStream(LcSelectionMode Mode, std::istream &Manifest,
                        std::ostream &Out,
                        const std::vector<std::string> &Requested);

/// One pass of Mode: opens the output on Disk (standard output for "-",
/// else the file, created or truncated the first time any pass opens the
/// output in this process and appended to afterwards), then the manifest,
/// writes the selected names, and flushes and closes the output. A file that
/// cannot be opened is reported to Console as Lc002 and a failed write as
/// Ms004; both then throw MsConsoleException.
void LcRunPass(MsConsole &Console, GeDiskInterface &Disk, LcSelectionMode Mode,
               const std::string &ManifestPath, const std::string &OutputPath,
               const std::vector<std::string> &Requested);

/// When Request selects anything and its output is the manifest itself (the
/// same regular file however spelt, or for "-" a standard output redirected
/// into it), reports Ms006 with the output path to Console and throws
/// MsConsoleException. Opens nothing. The main flow asks this as soon as the
/// paths are known, before the console opens its dependency lists.
void LcRefuseOutputOverManifest(MsConsole &Console, GeDiskInterface &Disk,
                                const LcSelectionRequest &Request);

/// Runs the pass of every selection present in Request, in the order of
/// LcSelectionMode, reporting to Console and opening files on Disk. With no
/// selection nothing is opened.
///
/// Before the first pass, an output that is the manifest itself is refused
/// as LcRefuseOutputOverManifest says: nothing is opened or truncated. A
/// manifest that is not a regular file (a pipe, /dev/stdin) is read only
/// once when several passes run: the first pass copies it into an anonymous
/// file that every pass reads.
void LcRunSelection(MsConsole &Console, GeDiskInterface &Disk,
                    const LcSelectionRequest &Request);

/// Whether a pass has opened the output in this process.
bool LcOutputOpened();
/// Forgets that the output was opened, so that the next pass truncates it.
void LcResetOutputOpened();

#endif
