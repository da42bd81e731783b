// The walk as the setup run does it: every error of the walk and of command
// files reaches the console as one whole command-line error of the "Su"
// table, with its fill-ins and its place. Each case runs on a console of its
// own.
#include "setup/SuWalkReports.h"

#include "cmdline/ClArg.h"
#include "cmdline/ClParser.h"
#include "console/MsConsoleConcrete.h"
#include "tests/support/ClTestSupport.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace {

/// A console of its own with the "Su" table, a tree with one text option,
/// one flag and the command-file option.
struct Fixture {
  Fixture() : Console(Err, Out) {
    SuRegisterMessages(Console);
    Root.Add(std::make_unique<ClOnce>(Output));
    Root.Add(std::make_unique<ClOnce>(All));
    Root.Add(std::make_unique<ClMultiVal<ClCommandFileArg>>(Files));
  }

  /// Walks Arguments; answers what the console printed once started, or
  /// "no error" when the walk went through.
  std::string Walk(const std::vector<std::string> &Arguments) {
    ClLine Line(Arguments);
    try {
      SuWalkCommandLine(Console, Line, Root, ClWalkSettings());
      return "no error";
    } catch (const MsConsoleException &) {
    }
    Console.Start();
    return Err.str() + Out.str();
  }

  std::ostringstream Err;
  std::ostringstream Out;
  MsConsoleConcrete Console;
  ClStringArg Output{'o', "output", "file", "Override output file"};
  ClFlagArg All{0, "all", "Generate all checks"};
  cltest::MemoryFileArg Files;
  ClAny Root;
};

TEST(SuWalkCommandLineTest, EveryWalkErrorIsOneWholeMessage) {
  const struct {
    const char *Name;
    std::vector<std::string> Arguments;
    std::string Printed;
  } Cases[] = {
      {"unknown options",
       {"--nope", "x", "-q"},
       "Command line error: Unexpected command line arguments: --nope -q\n"},
      {"initial dash",
       {"-o", "-x"},
       "Command line error: The parameter to the command line option \"-o\" "
       "was \"-x\", which has an initial \"-\". If that is desired, use an "
       "initial \"---\" instead\n"},
      {"missing command file",
       {"--all", "-f", "gone"},
       "Command line error: Unable to open the command file \"gone\"\n"},
      {"recursion",
       {"-f", "self"},
       "\n\"self\",2  Command line error: Command file recursion. A request "
       "to process \"self\" was found while already processing that file\n"},
      {"unclosed quote",
       {"-f", "quote"},
       "\n\"quote\",1  Command line error: Missing closing quote in command "
       "file\n"},
      {"unclosed comment",
       {"-f", "comment"},
       "\n\"comment\",1  Command line error: Comment unclosed at end of "
       "command file\n"},
      {"separate parameter missing",
       {"--all", "-o"},
       "Command line error: Option requires a separate parameter: -o\n"},
      {"text option twice",
       {"-o", "a", "-o", "b"},
       "Command line error: Option --output does not match previous "
       "occurrence\n"},
  };
  for (const auto &Case : Cases) {
    Fixture F;
    F.Files.Files["self"] = "--all\n-f self";
    F.Files.Files["quote"] = "--all \"open";
    F.Files.Files["comment"] = "--all /* open";
    EXPECT_EQ(F.Walk(Case.Arguments), Case.Printed) << Case.Name;
  }
}

TEST(SuWalkCommandLineTest, AWalkWithoutErrorsAnswersItsResult) {
  Fixture F;
  ClLine Line(std::vector<std::string>{"a", "--all", "b"});
  const ClWalkResult Result =
      SuWalkCommandLine(F.Console, Line, F.Root, ClWalkSettings());
  ASSERT_EQ(Result.Positional.size(), 2u);
  EXPECT_EQ(Result.Positional[1].Text, "b");
  EXPECT_TRUE(F.All.Value());
  F.Console.Start();
  EXPECT_EQ(F.Err.str(), "");
}

TEST(SuMessageOfTest, WalkMessagesAreTheirSuMessages) {
  EXPECT_EQ(SuMessageOf(ClLineMessage::UnexpectedArguments),
            SuMsgUnexpectedArguments);
  EXPECT_EQ(SuMessageOf(ClLineMessage::ParaBeginsWithMinus),
            SuMsgParaBeginsWithMinus);
  EXPECT_EQ(SuMessageOf(ClLineMessage::CommandFileNotFound),
            SuMsgCommandFileNotFound);
  EXPECT_EQ(SuMessageOf(ClLineMessage::CommandFileRecursion),
            SuMsgCommandFileRecursion);
  EXPECT_EQ(SuMessageOf(ClLineMessage::UnmatchedQuote), SuMsgUnmatchedQuote);
  EXPECT_EQ(SuMessageOf(ClLineMessage::UnmatchedSlashStar),
            SuMsgUnmatchedSlashStar);
}

} // namespace
