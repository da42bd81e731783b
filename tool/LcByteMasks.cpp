// Classification of manifest text 64 bytes at a time: bit masks of the line
// feeds, carriage returns, "=" signs and chosen key initials of a block, made
// with the widest vector instructions the processor offers.
#include "tool/LcByteMasks.h"

#include "tool/LcByteMaskKernels.h"

#if defined(LC_MASKS_X86) && __has_include(<sys/platform/x86.h>)
#include <sys/platform/x86.h>
#endif

namespace {

/// Runs Kernel for the number of initials Initials holds.
template <class Kernel>
void ClassifyWith(const char *Block, const LcInitials &Initials,
                  LcByteMasks &Masks) {
  Masks = LcByteMasks();
  switch (Initials.Count) {
  case 0:
    Kernel::template Classify<0>(Block, Initials, Masks);
    return;
  case 1:
    Kernel::template Classify<1>(Block, Initials, Masks);
    return;
  case 2:
    Kernel::template Classify<2>(Block, Initials, Masks);
    return;
  case 3:
    Kernel::template Classify<3>(Block, Initials, Masks);
    return;
  default:
    Kernel::template Classify<4>(Block, Initials, Masks);
    return;
  }
}

#ifdef LC_MASKS_X86
__attribute__((target("avx2"), flatten)) void
ClassifyAvx2(const char *Block, const LcInitials &Initials,
             LcByteMasks &Masks) {
  ClassifyWith<lcmasks::Avx2>(Block, Initials, Masks);
}

__attribute__((target("avx512bw"), flatten)) void
ClassifyAvx512(const char *Block, const LcInitials &Initials,
               LcByteMasks &Masks) {
  ClassifyWith<lcmasks::Avx512>(Block, Initials, Masks);
}
#endif

} // namespace

namespace {
#ifdef LC_MASKS_X86
#if __has_include(<sys/platform/x86.h>)
// The C library has asked the processor what it offers before main, so its
// answers are taken. __builtin_cpu_supports would link in a constructor of
// the compiler's runtime that asks the processor again at every start, and
// each question costs microseconds inside a virtual machine, where the
// hypervisor answers it.
#define LC_CPU_RUNS(Feature, Name) CPU_FEATURE_ACTIVE(Feature)
#else
#define LC_CPU_RUNS(Feature, Name) __builtin_cpu_supports(Name)
#endif
#endif

/// Whether this processor runs Kind.
bool Runs(LcMaskKind Kind) {
#ifdef LC_MASKS_X86
  // The loops built around the wider kinds also use the bit manipulation
  // instructions that came with them.
  bool Bmi = LC_CPU_RUNS(BMI1, "bmi") && LC_CPU_RUNS(BMI2, "bmi2");
  switch (Kind) {
  case LcMaskKind::Portable:
  case LcMaskKind::Sse2:
    return true;
  case LcMaskKind::Avx2:
    return Bmi && LC_CPU_RUNS(AVX2, "avx2");
  case LcMaskKind::Avx512:
    return Bmi && LC_CPU_RUNS(AVX512BW, "avx512bw");
  }
  return false;
#else
  return Kind == LcMaskKind::Portable;
#endif
}

constexpr LcMaskKind AllKinds[] = {LcMaskKind::Portable, LcMaskKind::Sse2,
                                   LcMaskKind::Avx2, LcMaskKind::Avx512};
} // namespace

std::vector<LcMaskKind> LcMaskKindsForThisMachine() {
  std::vector<LcMaskKind> Kinds;
  for (LcMaskKind Kind : AllKinds)
    if (Runs(Kind))
      Kinds.push_back(Kind);
  return Kinds;
}

LcMaskKind LcBestMaskKind() {
  static const LcMaskKind Best = [] {
    LcMaskKind Found = LcMaskKind::Portable;
    for (LcMaskKind Kind : AllKinds)
      if (Runs(Kind))
        Found = Kind;
    return Found;
  }();
  return Best;
}

const char *LcMaskKindName(LcMaskKind Kind) {
  switch (Kind) {
  case LcMaskKind::Portable:
    return "portable";
  case LcMaskKind::Sse2:
    return "sse2";
  case LcMaskKind::Avx2:
    return "avx2";
  case LcMaskKind::Avx512:
    return "avx512";
  }
  return "?";
}

void LcClassifyBlock(LcMaskKind Kind, const char *Block,
                     const LcInitials &Initials, LcByteMasks &Masks) {
  switch (Kind) {
#ifdef LC_MASKS_X86
  case LcMaskKind::Sse2:
    ClassifyWith<lcmasks::Sse2>(Block, Initials, Masks);
    return;
  case LcMaskKind::Avx2:
    ClassifyAvx2(Block, Initials, Masks);
    return;
  case LcMaskKind::Avx512:
    ClassifyAvx512(Block, Initials, Masks);
    return;
#endif
  default:
    ClassifyWith<lcmasks::Portable>(Block, Initials, Masks);
    return;
  }
}
