// Tests of the output stream adaptors and the column operations.
#include "general/GeStreamAdaptors.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ext/stdio_sync_filebuf.h>
#include <fstream>
#include <iterator>
#include <limits>
#include <random>
#include <sstream>
#include <stdio_ext.h>
#include <string>
#include <vector>

#include <unistd.h>

namespace {

/// A target with a tiny put area: characters collect in a buffer of a few
/// bytes and move on to the flushed text when it is full or on sync. An
/// optional capacity makes it refuse every character beyond it. Counts
/// synchronisations and records the contents at each.
class TinyTarget : public std::streambuf {
public:
  explicit TinyTarget(
      std::size_t AreaSize,
      std::size_t Limit = std::numeric_limits<std::size_t>::max())
      : Area(AreaSize), Capacity(Limit) {
    ResetArea();
  }

  /// Everything accepted so far, flushed or not.
  std::string Contents() const {
    return Flushed +
           std::string(pbase(), static_cast<std::size_t>(pptr() - pbase()));
  }
  const std::string &FlushedText() const { return Flushed; }
  const std::vector<std::string> &SyncSnapshots() const { return Snapshots; }
  void FailSync(bool Fail) { SyncFails = Fail; }

protected:
  int_type overflow(int_type Ch) override {
    Drain();
    if (traits_type::eq_int_type(Ch, traits_type::eof()))
      return traits_type::not_eof(Ch);
    if (Flushed.size() + 1 > Capacity)
      return traits_type::eof();
    *pptr() = traits_type::to_char_type(Ch);
    pbump(1);
    return Ch;
  }
  int sync() override {
    Drain();
    Snapshots.push_back(Flushed);
    return SyncFails ? -1 : 0;
  }

private:
  void Drain() {
    Flushed.append(pbase(), static_cast<std::size_t>(pptr() - pbase()));
    ResetArea();
  }
  void ResetArea() {
    // Only as much room as the capacity still allows, so that the default
    // xsputn stops exactly at the capacity.
    const std::size_t Room = std::min(
        Area.size(), Capacity > Flushed.size() ? Capacity - Flushed.size() : 0);
    setp(Area.data(), Area.data() + Room);
  }

  std::vector<char> Area;
  std::size_t Capacity;
  std::string Flushed;
  std::vector<std::string> Snapshots;
  bool SyncFails = false;
};

/// The column of the end of Text, counted from Start.
std::int32_t ReferenceColumn(const std::string &Text, std::int32_t Start = 0) {
  const std::string::size_type Feed = Text.rfind('\n');
  if (Feed == std::string::npos)
    return Start + static_cast<std::int32_t>(Text.size());
  return static_cast<std::int32_t>(Text.size() - Feed - 1);
}

/// The prefix rule applied one character at a time.
std::string ReferencePrefixed(const std::string &Text,
                              const std::string &Prefix) {
  std::string Trimmed = Prefix;
  while (!Trimmed.empty() && Trimmed.back() == ' ')
    Trimmed.pop_back();
  std::string Out;
  bool AtStart = true;
  for (char Ch : Text) {
    if (AtStart)
      Out += Ch == '\n' ? Trimmed : Prefix;
    AtStart = Ch == '\n';
    Out += Ch;
  }
  return Out;
}

/// A text with empty lines, long lines and lines of one character.
std::string SampleText() {
  return "first line\n\nx\n   indented  \nA much longer line that spans "
         "several of the tiny buffers used below.\n\n\nlast, without feed";
}

/// Writes Text to Out in random-sized pieces, alternating single-character
/// puts and block writes, calling Check after each piece with the number of
/// characters written so far.
template <class CheckFn>
void WriteInRandomPieces(std::ostream &Out, const std::string &Text,
                         unsigned Seed, CheckFn Check) {
  std::mt19937 Random(Seed);
  std::uniform_int_distribution<std::size_t> PieceLength(1, 7);
  std::size_t Done = 0;
  while (Done < Text.size()) {
    const std::size_t Length =
        std::min(PieceLength(Random), Text.size() - Done);
    if (Length == 1 && Random() % 2 == 0)
      Out.put(Text[Done]);
    else
      Out.write(Text.data() + Done, static_cast<std::streamsize>(Length));
    Done += Length;
    ASSERT_TRUE(Out.good());
    Check(Done);
  }
}

//===----------------------------------------------------------------------===//
// GeForwardingStreambuf
//===----------------------------------------------------------------------===//

TEST(GeForwardingStreambufTest, InstallsItselfAndForwards) {
  TinyTarget Target(3);
  std::ostream Out(&Target);
  {
    GeForwardingStreambuf Forward(Out);
    EXPECT_EQ(Out.rdbuf(), &Forward);
    EXPECT_EQ(Forward.Target(), &Target);
    EXPECT_EQ(&Forward.Stream(), &Out);
    Out << "abc" << 'd' << "\nefgh";
    EXPECT_EQ(Target.Contents(), "abcd\nefgh");
    Out.flush();
    EXPECT_EQ(Target.FlushedText(), "abcd\nefgh");
    EXPECT_EQ(Target.SyncSnapshots().size(), 1u);
  }
  EXPECT_EQ(Out.rdbuf(), &Target);
}

TEST(GeForwardingStreambufTest,
     DestroyingRestoresPreviousBufferSoLaterOutputBypassesIt) {
  std::ostringstream Out;
  std::streambuf *const Original = Out.rdbuf();
  {
    GePrefixStreamAdaptor Prefix(static_cast<std::ostream &>(Out), "> ");
    Out << "in\n";
  }
  EXPECT_EQ(static_cast<std::ostream &>(Out).rdbuf(), Original);
  Out << "out\n";
  EXPECT_EQ(Out.str(), "> in\nout\n");
}

TEST(GeForwardingStreambufTest, KeepsStreamStateOnInstallAndRestore) {
  std::ostringstream Out;
  Out.setstate(std::ios::failbit);
  {
    GeForwardingStreambuf Forward(Out);
    EXPECT_TRUE(Out.fail());
    Out.clear();
    Out << "x";
    Out.setstate(std::ios::eofbit);
  }
  EXPECT_TRUE(Out.eof());
  EXPECT_FALSE(Out.fail());
  EXPECT_EQ(Out.str(), "x");
}

TEST(GeForwardingStreambufTest, KeepsExceptionMaskAndDoesNotThrowOnInstall) {
  std::ostringstream Out;
  Out.clear(std::ios::badbit);
  EXPECT_THROW(Out.exceptions(std::ios::badbit), std::ios::failure);
  {
    GeForwardingStreambuf Forward(Out);
    EXPECT_EQ(static_cast<std::ostream &>(Out).rdbuf(), &Forward);
    EXPECT_EQ(Out.exceptions(), std::ios::badbit);
    EXPECT_EQ(Out.rdstate(), std::ios::badbit);
  }
  EXPECT_EQ(static_cast<std::ostream &>(Out).rdbuf(), Out.rdbuf());
  EXPECT_EQ(Out.exceptions(), std::ios::badbit);
  EXPECT_EQ(Out.rdstate(), std::ios::badbit);
}

TEST(GeForwardingStreambufTest, TargetRefusalSurfaces) {
  TinyTarget Target(2, /*Capacity=*/5);
  std::ostream Out(&Target);
  GeForwardingStreambuf Forward(Out);
  EXPECT_EQ(Forward.sputn("abcdefgh", 8), 5);
  EXPECT_EQ(Forward.sputc('x'), std::char_traits<char>::eof());
  Out << "more";
  EXPECT_TRUE(Out.bad());
  EXPECT_EQ(Target.Contents(), "abcde");
}

TEST(GeForwardingStreambufTest, WithoutTargetEveryWriteFails) {
  std::ostream Out(nullptr);
  GeForwardingStreambuf Forward(Out);
  EXPECT_EQ(Forward.Target(), nullptr);
  EXPECT_EQ(Forward.sputc('a'), std::char_traits<char>::eof());
  EXPECT_EQ(Forward.sputn("abc", 3), 0);
  EXPECT_EQ(Forward.pubsync(), -1);
}

TEST(GeForwardingStreambufTest, SyncReportsTargetFailure) {
  TinyTarget Target(4);
  std::ostream Out(&Target);
  GeForwardingStreambuf Forward(Out);
  Target.FailSync(true);
  Out << "a";
  Out.flush();
  EXPECT_TRUE(Out.bad());
}

//===----------------------------------------------------------------------===//
// GeFreshBuf
//===----------------------------------------------------------------------===//

TEST(GeFreshBufTest, ColumnAfterTwoCharactersOnSecondLine) {
  std::ostringstream Out;
  GeFreshBuf Fresh(Out);
  EXPECT_EQ(Fresh.Column(), 0);
  for (char Ch : {'a', 'b', '\n', 'c', 'd'})
    Out.put(Ch);
  EXPECT_EQ(Fresh.Column(), 2);
  EXPECT_EQ(GeColumn(Out), 2);
  EXPECT_EQ(Out.str(), "ab\ncd");
}

TEST(GeFreshBufTest, BlockWritesCountLikeCharacters) {
  std::ostringstream Out;
  GeFreshBuf Fresh(Out);
  Out << "abc";
  EXPECT_EQ(Fresh.Column(), 3);
  Out << "de\nfghi\njk";
  EXPECT_EQ(Fresh.Column(), 2);
  Out << "\n";
  EXPECT_EQ(Fresh.Column(), 0);
  Out << "";
  EXPECT_EQ(Fresh.Column(), 0);
}

TEST(GeFreshBufTest, RandomPiecesOverTinyTargets) {
  const std::string Text = SampleText();
  for (std::size_t AreaSize : {1u, 2u, 3u, 5u}) {
    for (unsigned Seed = 1; Seed <= 20; ++Seed) {
      TinyTarget Target(AreaSize);
      std::ostream Out(&Target);
      GeFreshBuf Fresh(Out);
      WriteInRandomPieces(Out, Text, Seed, [&](std::size_t Done) {
        const std::string Written = Text.substr(0, Done);
        ASSERT_EQ(Target.Contents(), Written)
            << "area " << AreaSize << " seed " << Seed;
        ASSERT_EQ(Fresh.Column(), ReferenceColumn(Written));
        ASSERT_EQ(GeColumn(Out), ReferenceColumn(Written));
      });
    }
  }
}

TEST(GeFreshBufTest, RefusedCharactersAreNotCounted) {
  TinyTarget Target(2, /*Capacity=*/6);
  std::ostream Out(&Target);
  GeFreshBuf Fresh(Out);
  Out << "ab\ncdefgh";
  EXPECT_TRUE(Out.bad());
  EXPECT_EQ(Target.Contents(), "ab\ncde");
  EXPECT_EQ(Fresh.Column(), 3);
  EXPECT_EQ(Fresh.sputc('z'), std::char_traits<char>::eof());
  EXPECT_EQ(Fresh.Column(), 3);
  EXPECT_EQ(Fresh.sputn("xyz", 3), 0);
  EXPECT_EQ(Fresh.Column(), 3);
}

TEST(GeFreshBufTest, ColumnStopsAtLargest32BitValue) {
  std::ostringstream Out;
  GeFreshBuf Fresh(Out);
  Fresh.SetColumn(std::numeric_limits<std::int32_t>::max() - 2);
  Out << "abcde";
  EXPECT_EQ(Fresh.Column(), std::numeric_limits<std::int32_t>::max());
  Out.put('f');
  EXPECT_EQ(Fresh.Column(), std::numeric_limits<std::int32_t>::max());
  Out << "\nx";
  EXPECT_EQ(Fresh.Column(), 1);
}

TEST(GeFreshBufTest, FindFollowsTheRegistryRule) {
  std::ostringstream Plain;
  EXPECT_EQ(GeFreshBuf::Find(Plain), nullptr);
  EXPECT_EQ(GeColumn(Plain), -1);

  std::ostringstream Out;
  {
    GeForwardingStreambuf Below(Out);
    EXPECT_EQ(GeFreshBuf::Find(Out), nullptr);
    GeFreshBuf Fresh(Out);
    EXPECT_EQ(GeFreshBuf::Find(Out), &Fresh);
    {
      GePrefixStreamAdaptor Prefix(Out, "# ");
      GeForwardingStreambuf Above(Out);
      EXPECT_EQ(GeFreshBuf::Find(Out), &Fresh);
      {
        GeFreshBuf Outer(Out);
        EXPECT_EQ(GeFreshBuf::Find(Out), &Outer);
      }
      EXPECT_EQ(GeFreshBuf::Find(Out), &Fresh);
    }
    EXPECT_EQ(GeFreshBuf::Find(Out), &Fresh);
  }
  EXPECT_EQ(GeFreshBuf::Find(Out), nullptr);
  EXPECT_EQ(GeColumn(Out), -1);
}

TEST(GeFreshBufTest, TwoStreamsOverOneTargetEachHaveTheirOwn) {
  TinyTarget Target(4);
  std::ostream First(&Target);
  std::ostream Second(&Target);
  GeFreshBuf FreshFirst(First);
  {
    GeFreshBuf FreshSecond(Second);
    EXPECT_EQ(GeFreshBuf::Find(First), &FreshFirst);
    EXPECT_EQ(GeFreshBuf::Find(Second), &FreshSecond);
    First << "abc";
    Second << "x\ny";
    EXPECT_EQ(GeColumn(First), 3);
    EXPECT_EQ(GeColumn(Second), 1);
  }
  EXPECT_EQ(GeFreshBuf::Find(First), &FreshFirst);
  EXPECT_EQ(GeFreshBuf::Find(Second), nullptr);
  EXPECT_EQ(Target.Contents(), "abcx\ny");
}

//===----------------------------------------------------------------------===//
// Column operations
//===----------------------------------------------------------------------===//

TEST(GeColumnOperationsTest, MoveToColumn) {
  struct Case {
    const char *Before;
    int Column;
    const char *Added;
  };
  const Case Cases[] = {
      {"abcdef", 4, "\n    "}, // past the column: new line first
      {"ab", 4, "  "},
      {"abcd", 4, ""},
      {"", 0, ""},
      {"", 3, "   "},
      {"x\n", 2, "  "},
      {"abc", 0, "\n"},
      {"", 40, "                                        "},
      {"abc", -1, "\n"},
  };
  for (const Case &C : Cases) {
    GeFresh_ostrstream Out;
    Out << C.Before;
    GeMoveToColumn(Out, C.Column);
    EXPECT_EQ(Out.str(), std::string(C.Before) + C.Added)
        << "from \"" << C.Before << "\" to " << C.Column;
    EXPECT_EQ(Out.Column(), std::max(C.Column, 0));
  }
}

TEST(GeColumnOperationsTest, ColumnOperationsDoNothingWithoutFreshBuf) {
  std::ostringstream Out;
  Out << "abcdef";
  GeMoveToColumn(Out, 2);
  GeMoveToColumn(Out, 10);
  GeWriteIndented(Out, 4, "text\nmore");
  EXPECT_EQ(Out.str(), "abcdef");
}

TEST(GeColumnOperationsTest, WriteIndented) {
  struct Case {
    const char *Before;
    int Column;
    const char *Text;
    const char *Expected;
  };
  const Case Cases[] = {
      {"", 4, "one\ntwo", "    one\n    two"},
      {"--verbose", 16, "Talk a lot.", "--verbose       Talk a lot."},
      {"--a-very-long-name ", 16, "Desc.\nMore.",
       "--a-very-long-name \n                Desc.\n                More."},
      {"--exactly15char", 16, "D", "--exactly15char D"},
      {"ab", 4, "", "ab  "},
      {"", 2, "a\n", "  a\n  "},
      {"", 2, "a\n\nb", "  a\n  \n  b"},
      {"", 0, "x\ny", "x\ny"},
  };
  for (const Case &C : Cases) {
    GeFresh_ostrstream Out;
    Out << C.Before;
    GeWriteIndented(Out, C.Column, C.Text);
    EXPECT_EQ(Out.str(), C.Expected) << "text \"" << C.Text << "\"";
  }
}

TEST(GeColumnOperationsTest, WriteIndentedSynchronisesAfterEachLineBreak) {
  TinyTarget Target(2);
  std::ostream Out(&Target);
  GeFreshBuf Fresh(Out);
  Out << "-x";
  GeWriteIndented(Out, 3, "a\nbc\nd");
  EXPECT_EQ(Target.Contents(), "-x a\n   bc\n   d");
  ASSERT_EQ(Target.SyncSnapshots().size(), 2u);
  EXPECT_EQ(Target.SyncSnapshots()[0], "-x a\n");
  EXPECT_EQ(Target.SyncSnapshots()[1], "-x a\n   bc\n");
}

TEST(GeColumnOperationsTest, ThroughPrefixAdaptorAboveTheFreshBuf) {
  TinyTarget Target(3);
  std::ostream Out(&Target);
  GeFreshBuf Fresh(Out);
  GePrefixStreamAdaptor Prefix(Out, "> ");
  GeMoveToColumn(Out, 4);
  EXPECT_EQ(Target.Contents(), ">   ");
  Out << "ab";
  EXPECT_EQ(GeColumn(Out), 6);
  GeMoveToColumn(Out, 3);
  EXPECT_EQ(Target.Contents(), ">   ab\n>  ");
  EXPECT_EQ(GeColumn(Out), 3);
  GeWriteIndented(Out, 5, "x\n\ny");
  EXPECT_EQ(Target.Contents(), ">   ab\n>    x\n>    \n>    y");
}

TEST(GeColumnOperationsTest, StopsWhenTheStreamFails) {
  TinyTarget Target(1, /*Capacity=*/3);
  std::ostream Out(&Target);
  GeFreshBuf Fresh(Out);
  GeMoveToColumn(Out, 10);
  EXPECT_TRUE(Out.bad());
  EXPECT_EQ(Target.Contents(), "   ");
  GeWriteIndented(Out, 10, "a\nb\nc");
  EXPECT_EQ(Target.Contents(), "   ");
}

//===----------------------------------------------------------------------===//
// GePrefixStreamAdaptor
//===----------------------------------------------------------------------===//

TEST(GePrefixStreamAdaptorTest, BlankPrefixLeavesEmptyLinesEmpty) {
  std::ostringstream Out;
  {
    GePrefixStreamAdaptor Prefix(Out, "  ");
    for (char Ch : {'x', '\n', '\n', 'y'})
      Out.put(Ch);
  }
  EXPECT_EQ(Out.str(), "  x\n\n  y");
}

TEST(GePrefixStreamAdaptorTest, Table) {
  struct Case {
    const char *Prefix;
    const char *Text;
    const char *Expected;
  };
  const Case Cases[] = {
      {"  ", "x\n\ny", "  x\n\n  y"},
      {"> ", "a\n\nb\n", "> a\n>\n> b\n"},
      {"#", "\n", "#\n"},
      {"", "a\nb", "a\nb"},
      {"  ", "", ""},
      {"  ", "\n", "\n"},
      {" - ", "a", " - a"},
      {" - ", "\n", " -\n"},
      {"a b  ", "1\n\n2", "a b  1\na b\na b  2"},
  };
  for (const Case &C : Cases) {
    std::ostringstream Out;
    {
      GePrefixStreamAdaptor Prefix(Out, C.Prefix);
      Out << C.Text;
    }
    EXPECT_EQ(Out.str(), C.Expected) << "prefix \"" << C.Prefix << "\"";
    EXPECT_EQ(ReferencePrefixed(C.Text, C.Prefix), C.Expected);
  }
}

TEST(GePrefixStreamAdaptorTest, AtLineStartFlag) {
  std::ostringstream Out;
  GePrefixStreamAdaptor Prefix(Out, "> ");
  EXPECT_TRUE(Prefix.AtLineStart());
  Out << "a";
  EXPECT_FALSE(Prefix.AtLineStart());
  Out << "b\n";
  EXPECT_TRUE(Prefix.AtLineStart());
  EXPECT_EQ(Prefix.Prefix(), "> ");
}

TEST(GePrefixStreamAdaptorTest, RandomPiecesOverFreshBufOverTinyTarget) {
  const std::string Text = SampleText();
  for (const char *PrefixText : {"  ", "// ", "#"}) {
    for (unsigned Seed = 1; Seed <= 20; ++Seed) {
      TinyTarget Target(Seed % 4 + 1);
      std::ostream Out(&Target);
      GeFreshBuf Fresh(Out);
      {
        GePrefixStreamAdaptor Prefix(Out, PrefixText);
        WriteInRandomPieces(Out, Text, Seed, [&](std::size_t Done) {
          const std::string Expected =
              ReferencePrefixed(Text.substr(0, Done), PrefixText);
          ASSERT_EQ(Target.Contents(), Expected)
              << "prefix \"" << PrefixText << "\" seed " << Seed;
          ASSERT_EQ(GeColumn(Out), ReferenceColumn(Expected));
        });
      }
      // The prefix adaptor is gone; the fresh buffer still counts.
      const std::string Before = Target.Contents();
      EXPECT_EQ(Out.rdbuf(), &Fresh);
      Out << "\nplain";
      EXPECT_EQ(Target.Contents(), Before + "\nplain");
      EXPECT_EQ(GeColumn(Out), 5);
    }
  }
}

TEST(GePrefixStreamAdaptorTest, RefusalWhileWritingThePrefixSurfaces) {
  TinyTarget Target(1, /*Capacity=*/5);
  std::ostream Out(&Target);
  GePrefixStreamAdaptor Prefix(Out, ">>> ");
  EXPECT_EQ(Prefix.sputn("a\nb", 3), 1);
  EXPECT_EQ(Target.Contents(), ">>> a");
  EXPECT_EQ(Prefix.sputc('\n'), std::char_traits<char>::eof());
}

TEST(GePrefixStreamAdaptorTest, SingleCharacterRefusalAfterPrefix) {
  TinyTarget Target(1, /*Capacity=*/2);
  std::ostream Out(&Target);
  GePrefixStreamAdaptor Prefix(Out, "> ");
  EXPECT_EQ(Prefix.sputc('a'), std::char_traits<char>::eof());
  EXPECT_EQ(Target.Contents(), "> ");
  EXPECT_FALSE(Prefix.AtLineStart());
}

//===----------------------------------------------------------------------===//
// GeLineBufStdout
//===----------------------------------------------------------------------===//

TEST(GeLineBufStdoutTest, SynchronisesAfterEveryLineFeed) {
  const std::string Text = "ab\ncd\n\nef";
  for (unsigned Seed = 1; Seed <= 10; ++Seed) {
    TinyTarget Target(Seed % 3 + 1);
    std::ostream Out(&Target);
    GeLineBufStdout LineBuf(Out);
    WriteInRandomPieces(Out, Text, Seed, [&](std::size_t Done) {
      const std::string Written = Text.substr(0, Done);
      ASSERT_EQ(Target.Contents(), Written);
      // One synchronisation per line feed, right after it.
      std::vector<std::string> Expected;
      for (std::size_t I = 0; I < Done; ++I)
        if (Text[I] == '\n')
          Expected.push_back(Text.substr(0, I + 1));
      ASSERT_EQ(Target.SyncSnapshots(), Expected) << "seed " << Seed;
    });
  }
}

TEST(GeLineBufStdoutTest, CountsLiveInstancesAndLineBuffersStdout) {
  const int Before = GeLineBufStdout::LiveInstances();
  std::ostringstream First;
  std::ostringstream Second;
  {
    GeLineBufStdout A(First);
    EXPECT_EQ(GeLineBufStdout::LiveInstances(), Before + 1);
    {
      GeLineBufStdout B(Second);
      EXPECT_EQ(GeLineBufStdout::LiveInstances(), Before + 2);
    }
    EXPECT_EQ(GeLineBufStdout::LiveInstances(), Before + 1);
    EXPECT_NE(__flbf(stdout), 0);
    EXPECT_EQ(__fbufsize(stdout), 512u);
  }
  EXPECT_EQ(GeLineBufStdout::LiveInstances(), Before);
}

TEST(GeLineBufStdoutTest, FailedSynchronisationFailsTheLineFeed) {
  TinyTarget Target(8);
  std::ostream Out(&Target);
  GeLineBufStdout LineBuf(Out);
  Target.FailSync(true);
  EXPECT_EQ(LineBuf.sputn("ab\ncd", 5), 2);
  EXPECT_EQ(LineBuf.sputc('x'), 'x');
  EXPECT_EQ(LineBuf.sputc('\n'), std::char_traits<char>::eof());
  Out << "\n";
  EXPECT_TRUE(Out.bad());
}

TEST(GeLineBufStdoutTest, RefusedWriteSurfaces) {
  TinyTarget Target(2, /*Capacity=*/4);
  std::ostream Out(&Target);
  GeLineBufStdout LineBuf(Out);
  EXPECT_EQ(LineBuf.sputn("a\nbcdef", 7), 4);
  EXPECT_EQ(Target.Contents(), "a\nbc");
}

/// A C stream on Path with a line buffer of 16 bytes, and a C++ stream that
/// writes to it the way std::cout writes to stdout.
struct CStreamOnFile {
  explicit CStreamOnFile(const char *Path)
      : File(std::fopen(Path, "w")), Sync(File), Out(&Sync) {
    if (File)
      std::setvbuf(File, Buffer, _IOLBF, sizeof Buffer);
  }
  ~CStreamOnFile() {
    if (File)
      std::fclose(File);
  }
  std::FILE *File;
  char Buffer[16];
  __gnu_cxx::stdio_sync_filebuf<char> Sync;
  std::ostream Out;
};

TEST(GeLineBufStdoutTest, CStreamThatDropsAFullBufferFailsTheWrite) {
  // The C library takes the 40 characters, fails to write its full buffer
  // on the way, drops it and answers success; the next flush has nothing
  // left to write and succeeds too. Only the error flag tells.
  CStreamOnFile Full("/dev/full");
  ASSERT_NE(Full.File, nullptr) << "no /dev/full";
  GeLineBufStdout LineBuf(Full.Out);
  EXPECT_FALSE(LineBuf.CStreamFailed());
  Full.Out << std::string(40, 'x');
  Full.Out.flush();
  EXPECT_TRUE(Full.Out.bad());
  EXPECT_TRUE(LineBuf.CStreamFailed());
  // Once failed, every write and synchronisation fails.
  EXPECT_EQ(LineBuf.sputn("ab", 2), 0);
  EXPECT_EQ(LineBuf.sputc('a'), std::char_traits<char>::eof());
  EXPECT_EQ(LineBuf.pubsync(), -1);
}

TEST(GeLineBufStdoutTest, CStreamFailureOfAShortTextIsSeenByTheFlush) {
  // Less than the C buffer holds and no line feed: the flush is the last
  // moment the failure can show.
  CStreamOnFile Full("/dev/full");
  ASSERT_NE(Full.File, nullptr) << "no /dev/full";
  GeLineBufStdout LineBuf(Full.Out);
  Full.Out << "short";
  Full.Out.flush();
  EXPECT_TRUE(Full.Out.bad());
  EXPECT_TRUE(LineBuf.CStreamFailed());
}

TEST(GeLineBufStdoutTest, HealthyCStreamGetsEveryByte) {
  char Path[] = "/tmp/gelinebuf-XXXXXX";
  const int Handle = ::mkstemp(Path);
  ASSERT_GE(Handle, 0);
  ::close(Handle);
  std::string Expected;
  {
    CStreamOnFile File(Path);
    ASSERT_NE(File.File, nullptr);
    GeLineBufStdout LineBuf(File.Out);
    for (int I = 0; I < 100; ++I) {
      const std::string Line = "line " + std::to_string(I) + " of text\n";
      File.Out << Line;
      Expected += Line;
    }
    File.Out << "no line feed";
    Expected += "no line feed";
    File.Out.flush();
    EXPECT_TRUE(File.Out.good());
    EXPECT_FALSE(LineBuf.CStreamFailed());
  }
  std::ifstream In(Path, std::ios::binary);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(In),
                        std::istreambuf_iterator<char>()),
            Expected);
  ::unlink(Path);
}

TEST(GeLineBufStdoutTest, OtherTargetsHaveNoCStream) {
  std::ostringstream Text;
  GeLineBufStdout LineBuf(Text);
  Text << "a\n";
  EXPECT_FALSE(LineBuf.CStreamFailed());
  EXPECT_EQ(Text.str(), "a\n");
}

//===----------------------------------------------------------------------===//
// GeFresh_ostrstream
//===----------------------------------------------------------------------===//

TEST(GeFreshOstrstreamTest, KnowsItsColumnAndText) {
  GeFresh_ostrstream Out;
  std::ostream &AsStream = Out;
  EXPECT_NE(GeFreshBuf::Find(AsStream), nullptr);
  EXPECT_EQ(Out.Column(), 0);
  Out << "--name" << '=' << 42;
  EXPECT_EQ(Out.Column(), 9);
  EXPECT_EQ(GeColumn(Out), 9);
  GeMoveToColumn(Out, 16);
  Out << "desc\n";
  EXPECT_EQ(Out.Column(), 0);
  EXPECT_EQ(Out.str(), "--name=42       desc\n");
}

TEST(GeFreshOstrstreamTest, ReplacingTheTextStartsOver) {
  GeFresh_ostrstream Out;
  Out << "abc\nde";
  Out.str("");
  EXPECT_EQ(Out.Column(), 0);
  EXPECT_EQ(Out.str(), "");
  Out << "xy";
  EXPECT_EQ(Out.Column(), 2);
  EXPECT_EQ(Out.str(), "xy");
}

TEST(GeFreshOstrstreamTest, PrefixAdaptorOnTop) {
  GeFresh_ostrstream Out;
  {
    GePrefixStreamAdaptor Prefix(Out, "  ");
    Out << "x\n\ny";
    EXPECT_EQ(GeColumn(Out), 3);
  }
  Out << "z";
  EXPECT_EQ(Out.str(), "  x\n\n  yz");
  EXPECT_EQ(Out.Column(), 4);
}

} // namespace
