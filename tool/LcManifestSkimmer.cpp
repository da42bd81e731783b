// The manifest reader's skimming: the loops that pass by, 64 bytes at a
// time, every line whose key the reader's key filter cannot keep.
#include "tool/LcManifestReader.h"

#include "tool/LcByteMaskKernels.h"

#include <cstring>

namespace {
inline unsigned LowestBit(std::uint64_t Mask) {
  return static_cast<unsigned>(__builtin_ctzll(Mask));
}

inline unsigned LeadingZeros(std::uint64_t Mask) {
  return static_cast<unsigned>(__builtin_clzll(Mask));
}

/// The offset of the first Byte in [From, To) of Base; To when there is none.
inline std::size_t Find(const char *Base, std::size_t From, std::size_t To,
                        char Byte) {
  if (From >= To)
    return To;
  const void *At = std::memchr(Base + From, Byte, To - From);
  return At ? static_cast<std::size_t>(static_cast<const char *>(At) - Base)
            : To;
}
} // namespace

/// The skimming loop built around each kind of masks and each number of
/// probes. Each is flattened, so that the classification and the bit work
/// around it become one loop in the instruction set of its kind.
struct LcManifestReader::Skimmers {
  template <std::size_t N>
  __attribute__((flatten)) static bool Portable(LcManifestReader &Reader) {
    return Reader.SkimWith<lcmasks::Portable, N>();
  }
#ifdef LC_MASKS_X86
  template <std::size_t N>
  __attribute__((flatten)) static bool Sse2(LcManifestReader &Reader) {
    return Reader.SkimWith<lcmasks::Sse2, N>();
  }
  template <std::size_t N>
  __attribute__((target("avx2,bmi,bmi2"), flatten)) static bool
  Avx2(LcManifestReader &Reader) {
    return Reader.SkimWith<lcmasks::Avx2, N>();
  }
  template <std::size_t N>
  __attribute__((target("avx512bw,bmi,bmi2"), flatten)) static bool
  Avx512(LcManifestReader &Reader) {
    return Reader.SkimWith<lcmasks::Avx512, N>();
  }
#endif

  using Function = bool (*)(LcManifestReader &);
  template <std::size_t N> static Function For(LcMaskKind Kind) {
    switch (Kind) {
#ifdef LC_MASKS_X86
    case LcMaskKind::Sse2:
      return &Sse2<N>;
    case LcMaskKind::Avx2:
      return &Avx2<N>;
    case LcMaskKind::Avx512:
      return &Avx512<N>;
#endif
    default:
      return &Portable<N>;
    }
  }
  /// The loop for Kind and Probes probes (1 to MaxProbes).
  static Function For(LcMaskKind Kind, std::size_t Probes) {
    static_assert(MaxProbes == 4, "one loop per number of probes");
    switch (Probes) {
    case 1:
      return For<1>(Kind);
    case 2:
      return For<2>(Kind);
    case 3:
      return For<3>(Kind);
    default:
      return For<4>(Kind);
    }
  }
};

void LcManifestReader::SetKeyFilter(const LcKeyFilter &NewFilter) {
  Filter = NewFilter;
  Skims = false;
  Block.Valid = false;
  // Skimming carries the line starts of one block into the next, so it
  // handles keys shorter than a block.
  static_assert(LcKeyFilter::ShortKeys <= LcMaskBlockSize,
                "skimming carries line starts one block on");
  if (Filter.All || !Filter.Long.empty())
    return;
  // One probe per key length. A length kept for one initial (both cases of
  // a letter count as one) is probed for it: the masks match initials
  // regardless of bit 5, and each candidate line is then tested exactly. A
  // length kept for several initials is probed for any initial: one probe
  // costs more over every block than the few candidates it lets through
  // whose key the filter then turns down.
  std::size_t Count = 0;
  for (unsigned Length = 1; Length < LcKeyFilter::ShortKeys; ++Length) {
    const std::bitset<256> &Kept = Filter.Short[Length];
    if (Kept.none())
      continue;
    if (Count == MaxProbes)
      return;
    int Folded = -1;
    bool Several = false;
    for (unsigned Byte = 0; Byte < 256 && !Several; ++Byte) {
      if (!Kept[Byte])
        continue;
      int ByteFolded = static_cast<int>(Byte | 0x20);
      Several = Folded >= 0 && Folded != ByteFolded;
      Folded = ByteFolded;
    }
    if (Several) {
      Probes[Count] = SkimProbe{Length, ~std::uint64_t(0)};
      Initials.Folded[Count++] = 0x20;
    } else {
      Probes[Count] = SkimProbe{Length, 0};
      Initials.Folded[Count++] = static_cast<unsigned char>(Folded);
    }
  }
  // A filter that keeps nothing is left to the line-by-line reading.
  if (Count == 0)
    return;
  Initials.Count = Count;
  SkimRegion = Skimmers::For(MaskKind, Count);
  Skims = true;
}

template <class Kernel, std::size_t N> bool LcManifestReader::SkimWith() {
  SkimBlock &B = Block;
  const char *Base = Buffer.get();
  const std::size_t End = RegionEnd;
  // Pos: the events before it have been handled. While no valid line is
  // held it is the start of the line to look at.
  std::size_t Pos = Next;
  if (Pos < End &&
      (!B.Valid || Pos < B.At || Pos - B.At >= 2 * LcMaskBlockSize))
    MaskBlock<Kernel, N>(B, Pos, true);
  for (;;) {
    if (Pos >= End) {
      Next = End;
      return false;
    }
    std::size_t BlockEnd = B.At + LcMaskBlockSize;
    if (Pos >= BlockEnd) {
      if (Pos - BlockEnd < LcMaskBlockSize)
        MaskBlock<Kernel, N>(B, BlockEnd, false);
      else
        MaskBlock<Kernel, N>(B, Pos, true);
      continue;
    }
    auto Rel = static_cast<unsigned>(Pos - B.At);
    if (!Holding) {
      // Every line counts until one is valid: find its "\n" and first "=".
      std::size_t LineEnd, EqAt;
      std::uint64_t Eqs = B.Equals >> Rel;
      if (std::uint64_t Ahead = B.Newline >> Rel) {
        LineEnd = Pos + LowestBit(Ahead);
        Eqs &= (Ahead & (~Ahead + 1)) - 1;
        EqAt = Eqs ? Pos + LowestBit(Eqs) : LineEnd;
      } else {
        // The line runs on into the next block (the region ends with a
        // "\n"), or further still.
        MaskBlock<Kernel, N>(B, BlockEnd, false);
        std::uint64_t NextEqs = B.Equals;
        if (B.Newline != 0) {
          LineEnd = BlockEnd + LowestBit(B.Newline);
          NextEqs &= (B.Newline & (~B.Newline + 1)) - 1;
        } else {
          LineEnd = Find(Base, BlockEnd + LcMaskBlockSize, End, '\n');
        }
        if (Eqs)
          EqAt = Pos + LowestBit(Eqs);
        else if (NextEqs)
          EqAt = BlockEnd + LowestBit(NextEqs);
        else
          EqAt = Find(Base, BlockEnd + LcMaskBlockSize, LineEnd, '=');
      }
      std::size_t Size = LineEnd - Pos;
      if (Size != 0 && Base[LineEnd - 1] == '\r')
        --Size;
      if (EqAt != Pos && EqAt + 1 < Pos + Size) {
        Holding = true;
        if (Filter.Keeps(std::string_view(Base + Pos, EqAt - Pos)))
          Store(Base + Pos, EqAt - Pos, Size);
      }
      Pos = LineEnd + 1;
      continue;
    }
    // A valid line is held: only the empty line that ends the record and
    // the lines the filter may keep matter, block after block.
    std::uint64_t Pending = B.Events & (~std::uint64_t(0) << Rel);
    bool Beyond = false;
    for (;;) {
      while (Pending != 0) {
        unsigned Bit = LowestBit(Pending);
        Pending &= Pending - 1;
        if (B.Newline >> Bit & 1) {
          Next = B.At + Bit + 1;
          Holding = false;
              return true;
        }
        if (std::size_t After = TakeCandidate<Kernel, N>(B, Bit)) {
          // The line ran past the block, and the blocks have moved on.
          Pos = After;
          Beyond = Pos - B.At >= LcMaskBlockSize;
          if (Beyond)
            break;
          Pending = B.Events & (~std::uint64_t(0) << (Pos - B.At));
        }
      }
      if (Beyond)
        break;
      std::size_t Following = B.At + LcMaskBlockSize;
      if (Following >= End) {
        Next = End;
          return false;
      }
      MaskBlock<Kernel, N>(B, Following, false);
      Pending = B.Events;
    }
  }
}

template <class Kernel, std::size_t N>
inline void LcManifestReader::MaskBlock(SkimBlock &B, std::size_t At,
                                        bool Fresh) const {
  constexpr std::uint64_t Top = std::uint64_t(1) << 63;
  if (Fresh) {
    // At starts a line: the byte before it, if any, is a "\n".
    B.PrevNewline = Top;
    B.PrevEquals = 0;
    for (std::size_t K = 0; K < N; ++K)
      B.PrevStarts[K] = 0;
  } else {
    B.PrevNewline = B.Newline;
    B.PrevEquals = B.Equals;
  }
  LcByteMasks Masks;
  Kernel::template Classify<N>(Buffer.get() + At, Initials, Masks);
  std::uint64_t Newline = Masks.Newline;
  std::uint64_t Equals = Masks.Equals;
  if (RegionEnd - At < LcMaskBlockSize) {
    // Bytes past the whole lines read are left out.
    std::uint64_t Valid = (std::uint64_t(1) << (RegionEnd - At)) - 1;
    Newline &= Valid;
    Equals &= Valid;
  }
  std::uint64_t Starts = Newline << 1 | B.PrevNewline >> 63;
  // A line is empty when the byte before its "\n" is a "\n", or a "\r" with
  // a "\n" before it (one "\r" is dropped from a line end). Lines of one
  // byte are rare, so the byte between two "\n" one byte apart is looked at
  // directly rather than classified in every block. It lies in this block or
  // is the last byte of the one before (a fresh block has no "\n" two bytes
  // before it).
  std::uint64_t Empty = Newline & Starts;
  for (std::uint64_t Gaps =
           Newline & (Newline << 2 | B.PrevNewline >> 62) & ~Starts;
       Gaps != 0; Gaps &= Gaps - 1) {
    unsigned Bit = LowestBit(Gaps);
    if (Buffer[At + Bit - 1] == '\r')
      Empty |= std::uint64_t(1) << Bit;
  }
  // A candidate is an "=" a probe's key length after the start of a line
  // that begins with the probe's initial.
  std::uint64_t Candidates = 0;
  for (std::size_t K = 0; K < N; ++K) {
    std::uint64_t ProbeStarts = Starts & (Masks.Initial[K] | Probes[K].Any);
    unsigned Length = Probes[K].Length;
    Candidates |= ProbeStarts << Length | B.PrevStarts[K] >> (64 - Length);
    B.PrevStarts[K] = ProbeStarts;
  }
  B.Events = Empty | (Candidates & Equals);
  B.Newline = Newline;
  B.Equals = Equals;
  B.At = At;
  B.Valid = true;
}

template <class Kernel, std::size_t N>
inline std::size_t LcManifestReader::TakeCandidate(SkimBlock &B,
                                                   unsigned Bit) {
  std::size_t EqAt = B.At + Bit;
  std::uint64_t Below = (std::uint64_t(1) << Bit) - 1;
  // The line starts after the last "\n" before the "="; no "=" may come
  // between them.
  std::size_t LineStart;
  if (std::uint64_t NewlinesBelow = B.Newline & Below) {
    unsigned StartBit = 64 - LeadingZeros(NewlinesBelow);
    LineStart = B.At + StartBit;
    if ((B.Equals & Below) >> StartBit != 0)
      return 0;
  } else {
    // A candidate's line starts less than a block before its "=", so the
    // block before holds that "\n".
    if (B.PrevNewline == 0)
      return 0;
    unsigned Back = LeadingZeros(B.PrevNewline);
    LineStart = B.At - Back;
    if ((B.Equals & Below) != 0 ||
        (Back != 0 && B.PrevEquals >> (64 - Back) != 0))
      return 0;
  }
  const char *Base = Buffer.get();
  std::size_t KeySize = EqAt - LineStart;
  if (!Filter.Keeps(std::string_view(Base + LineStart, KeySize)))
    return 0;
  std::size_t LineEnd;
  std::size_t After = 0;
  if (std::uint64_t Ahead = B.Newline >> Bit) {
    LineEnd = EqAt + LowestBit(Ahead);
  } else {
    // The line runs on into the next block (the region ends with a "\n"),
    // or further still. Nothing after the "=" in this block is an event.
    std::size_t BlockEnd = B.At + LcMaskBlockSize;
    MaskBlock<Kernel, N>(B, BlockEnd, false);
    LineEnd = B.Newline != 0
                  ? BlockEnd + LowestBit(B.Newline)
                  : Find(Base, BlockEnd + LcMaskBlockSize, RegionEnd, '\n');
    After = LineEnd + 1;
  }
  std::size_t Size = LineEnd - LineStart;
  if (Base[LineEnd - 1] == '\r')
    --Size;
  if (KeySize + 1 < Size)
    Store(Base + LineStart, KeySize, Size);
  return After;
}
