// End-to-end test of how the shipped program is linked: the Release build of
// chksel is a static executable at a fixed address, with no program
// interpreter (dynamic loader) and no shared library to load. Other builds
// link it dynamically, and the test is skipped there.
#include "E2eSupport.h"

#include <gtest/gtest.h>

#include <elf.h>

#include <cstring>
#include <string>

using namespace e2e;

namespace {

/// What the headers of an ELF file say about its linking.
struct Linkage {
  bool Elf64 = false;
  unsigned Type = ET_NONE;
  bool Interpreter = false;
  bool Dynamic = false;
  int Needed = 0;
};

template <class T> bool ReadAt(const std::string &File, std::size_t At, T &Out) {
  if (At > File.size() || File.size() - At < sizeof(T))
    return false;
  std::memcpy(&Out, File.data() + At, sizeof(T));
  return true;
}

/// Reads the ELF header, the program headers and the dynamic section of a
/// 64-bit ELF file.
Linkage Inspect(const std::string &Path) {
  Linkage Result;
  const std::string File = ReadFile(Path);
  Elf64_Ehdr Header;
  if (!ReadAt(File, 0, Header) ||
      std::memcmp(Header.e_ident, ELFMAG, SELFMAG) != 0 ||
      Header.e_ident[EI_CLASS] != ELFCLASS64)
    return Result;
  Result.Elf64 = true;
  Result.Type = Header.e_type;
  for (unsigned I = 0; I < Header.e_phnum; ++I) {
    Elf64_Phdr Segment;
    if (!ReadAt(File, Header.e_phoff + std::size_t(I) * Header.e_phentsize,
                Segment))
      break;
    if (Segment.p_type == PT_INTERP)
      Result.Interpreter = true;
    if (Segment.p_type != PT_DYNAMIC)
      continue;
    Result.Dynamic = true;
    for (std::size_t At = Segment.p_offset;
         At + sizeof(Elf64_Dyn) <= Segment.p_offset + Segment.p_filesz;
         At += sizeof(Elf64_Dyn)) {
      Elf64_Dyn Entry;
      if (!ReadAt(File, At, Entry) || Entry.d_tag == DT_NULL)
        break;
      if (Entry.d_tag == DT_NEEDED)
        ++Result.Needed;
    }
  }
  return Result;
}

TEST(StaticProgram, InspectionSeesADynamicProgram) {
  // The test program itself is linked dynamically: the inspection must see
  // its loader and its libraries, or it could not tell the difference.
  Linkage Self = Inspect("/proc/self/exe");
  ASSERT_TRUE(Self.Elf64);
  EXPECT_TRUE(Self.Interpreter);
  EXPECT_TRUE(Self.Dynamic);
  EXPECT_GT(Self.Needed, 0);
}

TEST(StaticProgram, ShippedProgramIsStatic) {
#if !CHKSEL_STATIC_PROGRAM
  GTEST_SKIP() << "only the Release build without sanitizers links chksel "
                  "statically";
#endif
  Linkage Program = Inspect(ChkselPath());
  ASSERT_TRUE(Program.Elf64);
  EXPECT_EQ(Program.Type, unsigned(ET_EXEC)) << "not at a fixed address";
  EXPECT_FALSE(Program.Interpreter) << "needs the dynamic loader";
  EXPECT_EQ(Program.Needed, 0) << "needs shared libraries";
}

} // namespace
