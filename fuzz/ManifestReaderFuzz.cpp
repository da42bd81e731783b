// Fuzz harness of the manifest reader: reads the input as a manifest with
// LcManifestReader and with the line-by-line reference reader, and aborts
// when they see different records or leave the stream in different states.
// Every input is read four ways: whole, with every attribute kept; handed
// out in small pieces to a reader with a small block; and skimmed with a key
// filter (one of the selection modes' filters or one made from the input)
// by every kind of block classification this processor runs, whole and in
// pieces. The piece and block sizes and the filter follow from a hash of the
// input.
#include "tests/support/LcReferenceReader.h"
#include "tests/support/PieceBuf.h"
#include "tool/LcManifestReader.h"
#include "tool/LcSelection.h"

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace {

using lctest::Record;

/// Piece sizes of 1 to 64 bytes following from Seed, enough to hand out
/// Size bytes.
std::vector<std::size_t> PieceSizes(std::size_t Size, std::uint32_t Seed) {
  std::vector<std::size_t> Sizes;
  std::uint32_t State = Seed | 1;
  for (std::size_t Total = 0; Total < Size || Sizes.empty();) {
    State ^= State << 13;
    State ^= State >> 17;
    State ^= State << 5;
    Sizes.push_back(State % 64 + 1);
    Total += Sizes.back();
  }
  return Sizes;
}

/// What a pass saw: its records and the state it left the stream in.
struct Outcome {
  std::vector<Record> Seen;
  std::ios_base::iostate State = std::ios_base::goodbit;
  bool operator!=(const Outcome &Other) const {
    return Seen != Other.Seen || State != Other.State;
  }
};

Record Copy(const LcRecord &R) {
  Record Result;
  for (const LcAttribute &A : R)
    Result.emplace_back(std::string(A.Key()), std::string(A.Value()));
  return Result;
}

Record Copy(const Record &R) { return R; }

template <class Reader> Outcome Pass(Reader &R, std::istream &In) {
  Outcome Result;
  R.Open(In);
  while (!R.AtEnd()) {
    Result.Seen.push_back(Copy(R.Current()));
    R.Advance();
  }
  R.Close();
  Result.State = In.rdstate();
  return Result;
}

Outcome Reference(const std::string &Text, const LcKeyFilter &Filter) {
  std::istringstream In(Text);
  lctest::ReferenceReader<std::function<bool(const std::string &)>> Reader(
      [&Filter](const std::string &Key) { return Filter.Keeps(Key); });
  return Pass(Reader, In);
}

Outcome Whole(const std::string &Text, const LcKeyFilter &Filter,
              LcMaskKind Kind) {
  std::istringstream In(Text);
  LcManifestReader Reader(LcManifestReader::DefaultBlockSize, Kind);
  Reader.SetKeyFilter(Filter);
  return Pass(Reader, In);
}

Outcome Pieces(const std::string &Text, std::uint32_t Hash,
               const LcKeyFilter &Filter, LcMaskKind Kind) {
  testsupport::PieceBuf Buf(Text, PieceSizes(Text.size(), Hash));
  std::istream In(&Buf);
  LcManifestReader Reader(Hash % 200 + 1, Kind);
  Reader.SetKeyFilter(Filter);
  return Pass(Reader, In);
}

/// A filter picked by Hash: a selection mode's, or one that keeps keys of
/// a few short lengths beginning with bytes taken from the input.
LcKeyFilter PickFilter(const std::string &Text, std::uint32_t Hash) {
  static const std::vector<std::string> Values = {"x"};
  switch (Hash % 4) {
  case 0:
    return LcRecordSelector(LcSelectionMode::AllChecks, Values).KeyFilter();
  case 1:
    return LcRecordSelector(LcSelectionMode::DefaultChecksOfPackages, Values)
        .KeyFilter();
  default:
    break;
  }
  LcKeyFilter Filter;
  std::size_t Lengths = Hash / 4 % 5 + 1;
  for (std::size_t I = 0; I < Lengths; ++I) {
    std::bitset<256> Initials;
    for (std::size_t J = 0; J < 3 && !Text.empty(); ++J)
      Initials[static_cast<unsigned char>(
          Text[(Hash / 16 + I * 7 + J * 13) % Text.size()])] = true;
    if (Hash % 4 == 3)
      Initials.flip();
    Filter.Keep((Hash >> (8 + 3 * I)) % 12 + 1, Initials);
  }
  return Filter;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *Data,
                                      std::size_t Size) {
  const std::string Text(reinterpret_cast<const char *>(Data), Size);
  std::uint32_t Hash = 2166136261u;
  for (std::size_t I = 0; I < Size; ++I)
    Hash = (Hash ^ Data[I]) * 16777619u;

  const LcKeyFilter KeepAll;
  const Outcome Wanted = Reference(Text, KeepAll);
  if (Whole(Text, KeepAll, LcBestMaskKind()) != Wanted ||
      Pieces(Text, Hash, KeepAll, LcBestMaskKind()) != Wanted)
    std::abort();

  const LcKeyFilter Filter = PickFilter(Text, Hash);
  const Outcome Filtered = Reference(Text, Filter);
  for (LcMaskKind Kind : LcMaskKindsForThisMachine())
    if (Whole(Text, Filter, Kind) != Filtered ||
        Pieces(Text, Hash, Filter, Kind) != Filtered)
      std::abort();
  return 0;
}
