// End-to-end tests of memory exhaustion: chksel, with its address space
// limited, reads a manifest whose one record is a single 2 GiB line. The
// failed allocation must end the run with "Out of memory" (or its IDE
// message) and exit status 3, not with a crash or another status.
//
// Not run under AddressSanitizer: it reserves far more address space than
// any limit leaves room for, and its allocator aborts instead of calling the
// new-handler.
#include "E2eSupport.h"

#include "tests/support/WtProtocolParser.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#define CHKSEL_E2E_UNDER_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CHKSEL_E2E_UNDER_ASAN 1
#endif
#endif

using namespace e2e;

namespace {

constexpr off_t HugeSize = off_t(2) * 1024 * 1024 * 1024;
constexpr unsigned long long AddressLimit = 256ull * 1024 * 1024;

/// Makes Path a sparse file of Size NUL bytes: no line feed anywhere, and no
/// disk space taken.
void MakeSparseFile(const std::string &Path, off_t Size) {
  int Fd = open(Path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (Fd < 0)
    throw std::runtime_error("cannot create " + Path);
  int Result = ftruncate(Fd, Size);
  close(Fd);
  if (Result != 0)
    throw std::runtime_error("cannot extend " + Path);
}

class MemoryTest : public FolderTest {
protected:
  void SetUp() override {
#ifdef CHKSEL_E2E_UNDER_ASAN
    GTEST_SKIP() << "address-space limits do not work under AddressSanitizer";
#endif
    MakeSparseFile(Dir.Path("huge.txt"), HugeSize);
  }

  RunResult RunLimited(const std::vector<std::string> &Args) {
    RunOptions Options = Here();
    Options.AddressSpaceLimit = AddressLimit;
    return RunChksel(Args, Options);
  }
};

TEST_F(MemoryTest, HugeRecordRunsOutOfMemory) {
  RunResult R = RunLimited({"--manifest=huge.txt", "--all", "--output=-"});
  EXPECT_EQ(R.Status, 3);
  EXPECT_EQ(R.Err, "Out of memory\n");
  EXPECT_EQ(R.Out, "");
}

TEST_F(MemoryTest, OnlyStdoutMovesTheMessage) {
  RunResult R = RunLimited(
      {"--only_stdout", "--manifest=huge.txt", "--all", "--output=o.txt"});
  EXPECT_EQ(R.Status, 3);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(R.Out, "Out of memory\n");
}

TEST_F(MemoryTest, IdeModeSendsTypeThirtyThree) {
  RunResult R =
      RunLimited({"--IDE", "--manifest=huge.txt", "--all", "--output=-"});
  EXPECT_EQ(R.Status, 3);
  EXPECT_EQ(R.Err, "");
  const std::string Golden =
      "$$TOOL_BEGIN $$VERSION \"1\" $$MSG_BEGIN $$MSG_POS \"0\" \"0\" \"0\" "
      "\"0\" $$TYPE \"33\" $$TXT_BEGIN \"Out of memory\" $$TOOL_END \n"
      " $$TOOL_EXIT";
  ASSERT_GE(R.Out.size(), Golden.size());
  EXPECT_EQ(R.Out.substr(R.Out.size() - Golden.size()), Golden);

  wttest::IdeOutput Parsed = wttest::ParseIdeOutput(R.Out);
  EXPECT_TRUE(Parsed.ExitMarker);
  EXPECT_TRUE(Parsed.PlainLines().empty());
  std::vector<wttest::IdeLine> Lines = Parsed.ProtocolLines();
  ASSERT_FALSE(Lines.empty());
  const wttest::IdeLine &Last = Lines.back();
  EXPECT_EQ(Last.Type, 33u);
  EXPECT_FALSE(Last.HasTag);
  EXPECT_FALSE(Last.HasPath);
  EXPECT_EQ(Last.Text, "Out of memory");
  // Only file events may come before it: no other message.
  for (std::size_t I = 0; I + 1 < Lines.size(); ++I)
    EXPECT_NE(Lines[I].Kind, wttest::IdeLine::Message);
}

TEST_F(MemoryTest, IdeLevelThree) {
  RunResult R = RunLimited({"--IDE3", "--manifest=huge.txt", "--check=x"});
  EXPECT_EQ(R.Status, 3);
  EXPECT_EQ(R.Err, "");
  const std::string Golden =
      "$$TOOL_BEGIN $$VERSION \"3\" $$MSG_BEGIN $$MSG_POS \"0\" \"0\" \"0\" "
      "\"0\" $$TYPE \"33\" $$TXT_BEGIN \"Out of memory\" $$TOOL_END \n"
      " $$TOOL_EXIT";
  ASSERT_GE(R.Out.size(), Golden.size());
  EXPECT_EQ(R.Out.substr(R.Out.size() - Golden.size()), Golden);
}

TEST_F(MemoryTest, ASmallManifestRunsWithinTheSameLimit) {
  // The limit itself leaves the program room to do its ordinary work.
  WriteFile(Dir.Path("m.txt"), "checkname=Alpha\n");
  RunResult R = RunLimited({"--manifest=m.txt", "--all", "--output=-"});
  EXPECT_EQ(R.Status, 0);
  EXPECT_EQ(R.Err, "");
  EXPECT_EQ(R.Out, "Alpha\n");
}

} // namespace
