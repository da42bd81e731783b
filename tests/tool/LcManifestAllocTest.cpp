// Tests of the manifest reader and selection under a replaced global
// allocator: memory exhaustion while reading a huge line reaches the caller,
// and reading and selecting allocate nothing per record once warmed up.
#include "tool/LcManifestReader.h"
#include "tool/LcSelection.h"

#include "console/MsConsole.h"
#include "tests/support/AllocationFailure.h"
#include "tests/tool/LcToolTestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <sstream>
#include <streambuf>

namespace {

/// Fails allocations above Limit bytes for its lifetime.
using FailLargeAllocations = testsupport::AllocationFailureScope;

/// An endless line "k=xxx..." without a line end, produced chunk by chunk,
/// so that the line grows as long as memory allows.
class EndlessLineBuf : public std::streambuf {
public:
  EndlessLineBuf() {
    for (char &C : Chunk)
      C = 'x';
    Chunk[0] = 'k';
    Chunk[1] = '=';
  }

protected:
  int_type underflow() override {
    if (Started)
      Chunk[0] = Chunk[1] = 'x';
    Started = true;
    setg(Chunk, Chunk, Chunk + sizeof Chunk);
    return traits_type::to_int_type(*gptr());
  }

private:
  char Chunk[4096];
  bool Started = false;
};

TEST(ManifestAlloc, HugeLineBadAllocPropagatesFromOpen) {
  EndlessLineBuf Buf;
  std::istream In(&Buf);
  LcManifestReader Reader;
  FailLargeAllocations Guard(1 << 20);
  EXPECT_THROW(Reader.Open(In), std::bad_alloc);
}

TEST(ManifestAlloc, HugeLineBadAllocPropagatesFromAdvance) {
  std::string First = "checkname=A\n\n";
  struct FirstThenEndless : EndlessLineBuf {
    explicit FirstThenEndless(std::string &Text) {
      setg(Text.data(), Text.data(), Text.data() + Text.size());
    }
  } Buf(First);
  std::istream In(&Buf);
  LcManifestReader Reader;
  Reader.Open(In);
  ASSERT_FALSE(Reader.AtEnd());
  FailLargeAllocations Guard(1 << 20);
  EXPECT_THROW(Reader.Advance(), std::bad_alloc);
}

TEST(ManifestAlloc, HugeLineBadAllocPropagatesWithTinyBlocks) {
  EndlessLineBuf Buf;
  std::istream In(&Buf);
  LcManifestReader Reader(1);
  FailLargeAllocations Guard(1 << 20);
  EXPECT_THROW(Reader.Open(In), std::bad_alloc);
  EXPECT_TRUE(In.bad());
}

TEST(ManifestAlloc, NewHandlerExceptionPropagates) {
  std::new_handler Previous =
      std::set_new_handler([] { throw MsConsole::BadAlloc(); });
  EndlessLineBuf Buf;
  std::istream In(&Buf);
  std::ostringstream Out;
  const std::vector<std::string> None;
  {
    FailLargeAllocations Guard(1 << 20);
    EXPECT_THROW(LcSelectFromStream(LcSelectionMode::AllChecks, In, Out, None),
                 MsConsole::BadAlloc);
  }
  std::set_new_handler(Previous);
}

/// A manifest of Count records of five shapes.
std::string Manifest(int Count) {
  std::string Text;
  for (int I = 0; I < Count; ++I) {
    Text += "checkname=CHK-" +
            std::string(static_cast<std::size_t>(I % 5 + 1), 'n') +
            "\r\npackage=pkg" + std::to_string(I % 3) + "\ngroup=grp" +
            std::to_string(I % 4) + "\n";
    if (I % 7 == 0)
      Text += "group=second\nvisible=no\n";
    Text += "default=" + std::string(I % 2 ? "on" : "off") +
            "\nnote=" + std::string(static_cast<std::size_t>(I % 5) * 9, 'd') +
            "\n\n";
  }
  return Text;
}

/// Discards all output without allocating.
class NullBuf : public std::streambuf {
protected:
  int_type overflow(int_type C) override { return traits_type::not_eof(C); }
  std::streamsize xsputn(const char *, std::streamsize N) override { return N; }
};

TEST(ManifestAlloc, ReaderAllocatesNothingPerRecordOnceWarm) {
  std::istringstream In(Manifest(2000));
  LcManifestReader Reader;
  Reader.Open(In);
  // Once every combination of record shapes (they repeat every 35 records)
  // has been read, every line slot is as large as it will ever need to be.
  for (int I = 0; I < 40; ++I)
    ASSERT_TRUE(Reader.Advance());
  testsupport::StartCountingAllocations();
  std::size_t Records = 0;
  while (Reader.Advance())
    ++Records;
  const std::size_t Allocations = testsupport::StopCountingAllocations();
  EXPECT_EQ(Allocations, 0u);
  EXPECT_EQ(Records, 1959u);
}

TEST(ManifestAlloc, ReaderAllocatesNothingPerRefillOnceWarm) {
  // A small block makes the reader move the record it is reading to the
  // front of its buffer and read on many times per record; once the largest
  // record has been seen, that needs no memory.
  lctest::PieceBuf Buf(Manifest(2000), {100, 37, 1});
  std::istream In(&Buf);
  LcManifestReader Reader(256);
  Reader.Open(In);
  for (int I = 0; I < 40; ++I)
    ASSERT_TRUE(Reader.Advance());
  testsupport::StartCountingAllocations();
  std::size_t Records = 0;
  while (Reader.Advance())
    ++Records;
  const std::size_t Allocations = testsupport::StopCountingAllocations();
  EXPECT_EQ(Allocations, 0u);
  EXPECT_EQ(Records, 1959u);
}

std::size_t SelectionAllocations(LcSelectionMode Mode,
                                 const std::vector<std::string> &Requested,
                                 int Records) {
  std::istringstream In(Manifest(Records));
  NullBuf Null;
  std::ostream Out(&Null);
  testsupport::StartCountingAllocations();
  LcSelectFromStream(Mode, In, Out, Requested);
  return testsupport::StopCountingAllocations();
}

TEST(ManifestAlloc, SelectionAllocationsDoNotGrowWithManifest) {
  const std::vector<std::string> None;
  const std::vector<std::string> Packages = {"PKG1", "pkg2"};
  const std::vector<std::string> Groups = {"grp3", "second"};
  const std::vector<std::string> Names = {"chk-nn", "CHK-NNNN"};
  EXPECT_EQ(SelectionAllocations(LcSelectionMode::AllChecks, None, 20),
            SelectionAllocations(LcSelectionMode::AllChecks, None, 5000));
  EXPECT_EQ(SelectionAllocations(LcSelectionMode::NamedChecks, Names, 20),
            SelectionAllocations(LcSelectionMode::NamedChecks, Names, 5000));
  EXPECT_EQ(SelectionAllocations(LcSelectionMode::DefaultChecksOfPackages,
                                 Packages, 20),
            SelectionAllocations(LcSelectionMode::DefaultChecksOfPackages,
                                 Packages, 5000));
  EXPECT_EQ(
      SelectionAllocations(LcSelectionMode::ChecksOfGroups, Groups, 20),
      SelectionAllocations(LcSelectionMode::ChecksOfGroups, Groups, 5000));
  EXPECT_EQ(
      SelectionAllocations(LcSelectionMode::ChecksOfPackages, Packages, 20),
      SelectionAllocations(LcSelectionMode::ChecksOfPackages, Packages, 5000));
}

} // namespace
