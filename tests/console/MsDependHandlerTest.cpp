// Tests of dependency lists: their three shapes, escaping, system files,
// the list's path, and how the console feeds, finishes and drops them.
#include "console/MsDependHandler.h"

#include "console/MsConsoleConcrete.h"
#include "tests/support/MsConsoleTestSupport.h"
#include "tests/support/MsDependListSupport.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

using namespace mstest;

namespace {

MsMessage FileMessage(int Kind, const std::string &Name) {
  return MsMessage(
      Kind, MsTag(), DiSourceRange(),
      std::make_unique<MsPlainMessageContent>("%s", MsFillIns{Name}));
}

/// Feeds the files (a leading '!' marks a system file) to a list of Style
/// and answers what it wrote.
std::string ListOf(MsDependStyle Style, const std::vector<std::string> &Files,
                   bool IncludeSystem = true,
                   const std::string &Target = "sel.txt") {
  std::string Text;
  int Closes = 0;
  MsDependHandler List(Style, IncludeSystem, Target,
                       std::make_unique<StringFile>(Text, Closes));
  std::ostringstream Err, Out;
  MsConsoleConcrete Console(Err, Out);
  for (const std::string &File : Files) {
    if (!File.empty() && File[0] == '!')
      List.Handle(FileMessage(MsMessage::KindSystemDependFile, File.substr(1)),
                  Console);
    else
      List.Handle(FileMessage(MsMessage::KindDependFile, File), Console);
  }
  EXPECT_TRUE(List.Finish());
  EXPECT_EQ(Closes, 1);
  return Text;
}

//===----------------------------------------------------------------------===//
// Shapes
//===----------------------------------------------------------------------===//

TEST(MsDependHandlerTest, FileNamesOnePerLine) {
  EXPECT_EQ(ListOf(MsDependStyle::FileNames, {"m.txt", "cmd.xcl"}),
            "m.txt\ncmd.xcl\n");
}

TEST(MsDependHandlerTest, MakeRulesOneLinePerFile) {
  EXPECT_EQ(ListOf(MsDependStyle::MakeRules, {"m.txt", "cmd.xcl"}),
            "sel.txt: m.txt\nsel.txt: cmd.xcl\n");
}

TEST(MsDependHandlerTest, MakeOneRuleWithContinuationLines) {
  EXPECT_EQ(ListOf(MsDependStyle::MakeOneRule, {"m.txt", "cmd.xcl", "x"}),
            "sel.txt:  \\\n"
            "  m.txt \\\n"
            "  cmd.xcl \\\n"
            "  x\n");
}

TEST(MsDependHandlerTest, OneFileInEachStyle) {
  EXPECT_EQ(ListOf(MsDependStyle::FileNames, {"a"}), "a\n");
  EXPECT_EQ(ListOf(MsDependStyle::MakeRules, {"a"}), "sel.txt: a\n");
  EXPECT_EQ(ListOf(MsDependStyle::MakeOneRule, {"a"}), "sel.txt:  \\\n  a\n");
}

TEST(MsDependHandlerTest, NoFilesAtAll) {
  EXPECT_EQ(ListOf(MsDependStyle::FileNames, {}), "");
  EXPECT_EQ(ListOf(MsDependStyle::MakeRules, {}), "");
  EXPECT_EQ(ListOf(MsDependStyle::MakeOneRule, {}), "\n");
}

//===----------------------------------------------------------------------===//
// Escaping
//===----------------------------------------------------------------------===//

TEST(MsDependHandlerTest, EscapeTable) {
  const struct {
    const char *In;
    const char *Out;
  } Cases[] = {
      {"", ""},
      {"plain.txt", "plain.txt"},
      {"a b", "a\\ b"},
      {"  ", "\\ \\ "},
      {"$", "$$"},
      {"$$x", "$$$$x"},
      {"my $HOME dir/f.txt", "my\\ $$HOME\\ dir/f.txt"},
      {"tab\there", "tab\there"},
      {"back\\slash:colon#hash", "back\\slash:colon#hash"},
  };
  for (const auto &C : Cases)
    EXPECT_EQ(MsDependHandler::Escape(C.In), C.Out) << C.In;
}

TEST(MsDependHandlerTest, BlanksAndDollarsEscapedInTheMakeStylesOnly) {
  EXPECT_EQ(ListOf(MsDependStyle::MakeRules, {"my dir/a$b.txt"}),
            "sel.txt: my\\ dir/a$$b.txt\n");
  EXPECT_EQ(ListOf(MsDependStyle::MakeOneRule, {"my dir/a$b.txt"}),
            "sel.txt:  \\\n  my\\ dir/a$$b.txt\n");
  EXPECT_EQ(ListOf(MsDependStyle::FileNames, {"my dir/a$b.txt"}),
            "my dir/a$b.txt\n");
}

TEST(MsDependHandlerTest, TargetIsEscapedToo) {
  EXPECT_EQ(ListOf(MsDependStyle::MakeRules, {"m"}, true, "out $1.txt"),
            "out\\ $$1.txt: m\n");
  EXPECT_EQ(ListOf(MsDependStyle::MakeOneRule, {"m"}, true, "out $1.txt"),
            "out\\ $$1.txt:  \\\n  m\n");
}

TEST(MsDependHandlerTest, ListsReadBackToTheNamesWritten) {
  const std::vector<std::string> Names = {
      "a b", "$", "x\\ y", "trail\\", " lead", "tab\there", "c:d", "",
      "$$ $", "end "};
  const std::string Target = "out $1 .txt";
  for (MsDependStyle Style :
       {MsDependStyle::FileNames, MsDependStyle::MakeRules,
        MsDependStyle::MakeOneRule})
    EXPECT_EQ(ReadDependList(Style, ListOf(Style, Names, true, Target), Target),
              Names)
        << static_cast<int>(Style);
}

TEST(MsDependHandlerTest, ListReaderRefusesWhatNoListHolds) {
  const struct {
    MsDependStyle Style;
    const char *Text;
  } Cases[] = {
      {MsDependStyle::FileNames, "a"},
      {MsDependStyle::MakeRules, "t a\n"},
      {MsDependStyle::MakeRules, "u: a\n"},
      {MsDependStyle::MakeRules, "t: a b\n"},
      {MsDependStyle::MakeRules, "t: a$b\n"},
      {MsDependStyle::MakeOneRule, "t: a\n"},
      {MsDependStyle::MakeOneRule, "t:  \\\n"},
      {MsDependStyle::MakeOneRule, "t:  \\\n a\n"},
      {MsDependStyle::MakeOneRule, "t:  \\\n  a\n  b\n"},
  };
  for (const auto &C : Cases)
    EXPECT_THROW(ReadDependList(C.Style, C.Text, "t"), DependListError)
        << C.Text;
}

//===----------------------------------------------------------------------===//
// System files and other messages
//===----------------------------------------------------------------------===//

TEST(MsDependHandlerTest, SystemFilesUnlessSuppressed) {
  EXPECT_EQ(ListOf(MsDependStyle::FileNames, {"a", "!sys.h", "b"}),
            "a\nsys.h\nb\n");
  EXPECT_EQ(ListOf(MsDependStyle::FileNames, {"a", "!sys.h", "b"}, false),
            "a\nb\n");
  EXPECT_EQ(ListOf(MsDependStyle::MakeOneRule, {"!sys.h", "a"}, false),
            "sel.txt:  \\\n  a\n");
  EXPECT_EQ(ListOf(MsDependStyle::MakeOneRule, {"!sys.h"}, false), "\n");
}

TEST(MsDependHandlerTest, OtherMessagesAreIgnored) {
  std::string Text;
  int Closes = 0;
  MsDependHandler List(MsDependStyle::FileNames, true, "t",
                       std::make_unique<StringFile>(Text, Closes));
  std::ostringstream Err, Out;
  MsConsoleConcrete Console(Err, Out);
  for (int Kind :
       {int(MsMessage::KindError), int(MsMessage::KindWarning),
        int(MsMessage::KindInformation), int(MsMessage::KindText),
        int(MsMessage::KindOutputFile), int(MsMessage::KindIncludeFile)})
    List.Handle(FileMessage(Kind, "not.me"), Console);
  List.Handle(
      MsMessage(MsMessage::KindAbort, MsTag(), DiSourceRange(), nullptr),
      Console);
  List.Handle(FileMessage(MsMessage::KindDependFile, "me"), Console);
  EXPECT_TRUE(List.Finish());
  EXPECT_EQ(Text, "me\n");
}

TEST(MsDependHandlerTest, NothingAfterFinish) {
  std::string Text;
  int Closes = 0;
  MsDependHandler List(MsDependStyle::MakeOneRule, true, "t",
                       std::make_unique<StringFile>(Text, Closes));
  std::ostringstream Err, Out;
  MsConsoleConcrete Console(Err, Out);
  EXPECT_TRUE(List.Finish());
  List.Handle(FileMessage(MsMessage::KindDependFile, "late"), Console);
  EXPECT_FALSE(List.Finish());
  EXPECT_EQ(Closes, 1);
  EXPECT_EQ(Text, "\n");
}

TEST(MsDependHandlerTest, NoFileIsAnInternalFailure) {
  ThrowingFailureScope Scope;
  EXPECT_THROW(MsDependHandler(MsDependStyle::FileNames, true, "t", nullptr),
               InternalFailure);
}

//===----------------------------------------------------------------------===//
// The list's path
//===----------------------------------------------------------------------===//

TEST(MsDependHandlerTest, ListPaths) {
  ScratchDir Dir;
  std::filesystem::create_directory(Dir.Path("deps"));
  const std::string Folder = Dir.Path("deps");
  const struct {
    std::string Destination;
    std::string MainOutput;
    bool Named;
    std::string Path;
  } Cases[] = {
      {"+", "ruvex_sel_checks.txt", true, "ruvex_sel_checks.d"},
      {"+", "out/sel.txt", true, "out/sel.d"},
      {"+", "noext", true, "noext.d"},
      {"+", "a.b.c", true, "a.b.d"},
      {"+", "-", false, ""},
      {"+", "", false, ""},
      {Folder, "sub/sel.txt", true, Folder + "/sel.d"},
      {Folder + "/", "sel.txt", true, Folder + "/sel.d"},
      {Folder, "-", false, ""},
      {"deps.d", "sel.txt", true, "deps.d"},
      {"deps.d", "-", true, "deps.d"},
      {Dir.Path("nofolder/x"), "sel.txt", true, Dir.Path("nofolder/x")},
      {"", "sel.txt", true, ""},
  };
  for (const auto &C : Cases) {
    std::string Path = "unchanged";
    EXPECT_EQ(MsDependHandler::ListPath(C.Destination, C.MainOutput, Path),
              C.Named)
        << C.Destination << " " << C.MainOutput;
    if (C.Named)
      EXPECT_EQ(Path, C.Path) << C.Destination << " " << C.MainOutput;
    else
      EXPECT_EQ(Path, "unchanged");
  }
}

//===----------------------------------------------------------------------===//
// Lists on the console
//===----------------------------------------------------------------------===//

/// A console with the "Tt" table and one list written through a Temp file.
struct ConsoleList {
  explicit ConsoleList(MsDependStyle Style = MsDependStyle::MakeRules)
      : Console(Err, Out), Target(Dir.Path("deps.d")) {
    RegisterTt(Console);
    auto File =
        MsOutputStream::Open(Console, MsOutputStream::Kind::Temp, Target);
    EXPECT_TRUE(File);
    Console.SetMainOutputName("sel.txt");
    Console.AddDependencyList(std::make_unique<MsDependHandler>(
        Style, true, Console.MainOutputName(), std::move(File)));
  }
  ScratchDir Dir;
  std::ostringstream Err, Out;
  MsConsoleConcrete Console;
  std::string Target;
};

TEST(MsDependConsoleTest, QueuedFilesReachTheListAndSummaryWritesIt) {
  ConsoleList L;
  L.Console.AnnounceFile("cmd.xcl");
  L.Console.AnnounceFile("m.txt");
  EXPECT_EQ(TempFilesIn(L.Dir.Root()).size(), 1u);
  L.Console.Start();
  L.Console.AnnounceFile("cmd.xcl");
  L.Console.AnnounceFile("sys.h", true);
  L.Console.NotifyOutputFileWritten("sel.txt");
  EXPECT_EQ(Slurp(L.Target), "<missing>");
  std::ostringstream Summary;
  EXPECT_EQ(L.Console.Summary(Summary), 0);
  EXPECT_EQ(Summary.str(), "\nErrors: none\nWarnings: none\n");
  EXPECT_EQ(Slurp(L.Target),
            "sel.txt: cmd.xcl\nsel.txt: m.txt\nsel.txt: sys.h\n");
  EXPECT_EQ(NamesIn(L.Dir.Root()), std::set<std::string>{"deps.d"});
  EXPECT_EQ(L.Err.str(), "");
}

TEST(MsDependConsoleTest, WarningsStillWriteTheList) {
  ConsoleList L(MsDependStyle::FileNames);
  L.Console.Start();
  L.Console.AnnounceFile("m.txt");
  L.Console.Report(Tt(4), MsConsole::Warning, "w");
  std::ostringstream Summary;
  EXPECT_EQ(L.Console.Summary(Summary), 0);
  EXPECT_EQ(Slurp(L.Target), "m.txt\n");
}

TEST(MsDependConsoleTest, AnErrorDropsTheListAndKeepsTheOldOne) {
  ConsoleList L;
  Spit(L.Target, "sel.txt: old\n");
  L.Console.Start();
  L.Console.AnnounceFile("m.txt");
  L.Console.Report(Tt(2), MsConsole::ErrorFixed, "x");
  std::ostringstream Summary;
  EXPECT_EQ(L.Console.Summary(Summary), 2);
  EXPECT_EQ(Slurp(L.Target), "sel.txt: old\n");
  EXPECT_EQ(NamesIn(L.Dir.Root()), std::set<std::string>{"deps.d"});
}

TEST(MsDependConsoleTest, AnAbortDropsTheList) {
  ConsoleList L;
  L.Console.Start();
  L.Console.AnnounceFile("m.txt");
  EXPECT_THROW(L.Console.Report(Tt(1), MsConsole::FatalError, "stop"),
               MsConsoleException);
  std::ostringstream Summary;
  EXPECT_EQ(L.Console.Summary(Summary), 3);
  EXPECT_TRUE(NamesIn(L.Dir.Root()).empty());
}

TEST(MsDependConsoleTest, AFailedListCountsBeforeTheSummary) {
  ConsoleList L;
  Spit(L.Target, "sel.txt: old\n");
  L.Console.Start();
  L.Console.AnnounceFile("m.txt");
  // Taking the temporary file away makes the rename impossible.
  for (const std::string &Name : TempFilesIn(L.Dir.Root()))
    std::filesystem::remove(L.Dir.Path(Name));
  std::ostringstream Summary;
  EXPECT_EQ(L.Console.Summary(Summary), 2);
  EXPECT_EQ(Summary.str(), "\nErrors: 1\nWarnings: none\n");
  EXPECT_EQ(L.Err.str(),
            "Error[Ms005]: problem closing file \"" + L.Target + "\"\n");
  EXPECT_EQ(Slurp(L.Target), "sel.txt: old\n");
}

TEST(MsDependConsoleTest, FailedListAtTheErrorLimitAborts) {
  ConsoleList L;
  L.Console.SetErrorLimit(1);
  L.Console.Start();
  for (const std::string &Name : TempFilesIn(L.Dir.Root()))
    std::filesystem::remove(L.Dir.Path(Name));
  std::ostringstream Summary;
  EXPECT_EQ(L.Console.Summary(Summary), 3);
  EXPECT_EQ(Summary.str(), "");
  EXPECT_TRUE(NamesIn(L.Dir.Root()).empty());
}

TEST(MsDependConsoleTest, UnfinishedListsLeaveNothingBehind) {
  ScratchDir Dir;
  {
    std::ostringstream Err, Out;
    MsConsoleConcrete Console(Err, Out);
    auto File = MsOutputStream::Open(Console, MsOutputStream::Kind::Temp,
                                     Dir.Path("deps.d"));
    ASSERT_TRUE(File);
    Console.AddDependencyList(std::make_unique<MsDependHandler>(
        MsDependStyle::FileNames, true, "t", std::move(File)));
    Console.Start();
    Console.AnnounceFile("m.txt");
    EXPECT_EQ(TempFilesIn(Dir.Root()).size(), 1u);
  }
  EXPECT_TRUE(NamesIn(Dir.Root()).empty());
}

TEST(MsDependConsoleTest, DiscardAndFinishByHand) {
  ConsoleList L;
  L.Console.Start();
  L.Console.AnnounceFile("m.txt");
  L.Console.DiscardDependencyLists();
  EXPECT_TRUE(NamesIn(L.Dir.Root()).empty());
  L.Console.FinishDependencyLists();
  EXPECT_TRUE(NamesIn(L.Dir.Root()).empty());
}

TEST(MsDependConsoleTest, MainOutputName) {
  std::ostringstream Err, Out;
  MsConsoleConcrete Console(Err, Out);
  EXPECT_EQ(Console.MainOutputName(), "");
  Console.SetMainOutputName("-");
  EXPECT_EQ(Console.MainOutputName(), "-");
}

} // namespace
