// Tests of the framework's "Su" message table.
#include "appinterface/SuMessages.h"

#include "console/MsConsoleConcrete.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

TEST(SuMessagesTest, TextsAndLevels) {
  const char *Texts[] = {
      nullptr,
      "No source file specified",
      "Unexpected command line arguments:",
      "[internal]in %sq:",
      "[internal]%s",
      "[internal]%s",
      "The parameter to the command line option %sq1 was %sq2, which has an "
      "initial \"-\". If that is desired, use an initial \"---\" instead",
      "Unable to open the command file %sq",
      "Command file recursion. A request to process %sq was found while "
      "already processing that file",
      "Missing closing quote in command file",
      "Comment unclosed at end of command file",
      "More than one source file specified:",
      "[internal]%s %p",
      "The use of this option is deprecated: %s"};
  EXPECT_EQ(SuMessageTable[0].Text, nullptr);
  for (std::uint16_t N = 1; N <= SuMessageCount; ++N) {
    EXPECT_STREQ(SuMessageTable[N].Text, Texts[N]) << N;
    EXPECT_EQ(SuMessageTable[N].DefaultLevel,
              N == 13 ? MsConsole::Warning : MsConsole::CommandLineError)
        << N;
  }
}

TEST(SuMessagesTest, RegisteredTagsAndListing) {
  std::ostringstream Err, Out;
  MsConsoleConcrete Console(Err, Out);
  SuRegisterMessages(Console);
  EXPECT_EQ(Console.TagText(SuTag(SuMsgDeprecatedOption)), "Su013");
  MsTag Tag;
  EXPECT_TRUE(Console.TextToTag("Su006", Tag));
  EXPECT_EQ(Tag, SuTag(SuMsgParaBeginsWithMinus));
  EXPECT_FALSE(Console.TextToTag("Su014", Tag));
  // Changeable: command-line errors and the warning.
  EXPECT_TRUE(
      Console.SetTagLevel(SuTag(SuMsgDeprecatedOption), MsConsole::Suppressed));
  std::ostringstream List;
  Console.ListTags(List);
  std::string Text = List.str();
  EXPECT_EQ(Text.substr(Text.find("Su001")),
            "Su001:  No source file specified\n"
            "Su002:  Unexpected command line arguments:\n"
            "Su006:  The parameter to the command line option %sq1 was %sq2, "
            "which has an initial \"-\". If that is desired, use an initial "
            "\"---\" instead\n"
            "Su007:  Unable to open the command file %sq\n"
            "Su008:  Command file recursion. A request to process %sq was "
            "found while already processing that file\n"
            "Su009:  Missing closing quote in command file\n"
            "Su010:  Comment unclosed at end of command file\n"
            "Su011:  More than one source file specified:\n"
            "Su013:  The use of this option is deprecated: %s\n");
}

} // namespace
