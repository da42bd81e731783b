// Tests of the tag table: registration of subsystems, tag texts both ways,
// the tag listing, per-tag and per-range level control, and the level rule.
#include "console/MsTagTable.h"

#include "console/MsMessage.h"
#include "console/MsMessages.h"
#include "tests/support/MsConsoleTestSupport.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

using namespace mstest;

namespace {

/// A tag table with the "Ms" and the "Tt" tables registered.
struct TableFixture {
  TableFixture() {
    Table.Add(MsMessagePrefix, MsMessageTable, nullptr, MsFirstMessage,
              MsMessageCount, nullptr);
    Table.Add("Tt", TtTable, nullptr, 1, 9, nullptr);
  }
  MsTagTable Table;
};

/// The level a report of Tag at Pos gets: the tag's level (Default without
/// table entry) mapped by the level rule.
MsConsole::Level Effective(const MsTagTable &Table, const MsTag &Tag,
                           const DiSourcePosition &Pos,
                           MsConsole::Level Default,
                           MsConsole::ApplicationInterface *App = nullptr) {
  return Table.Map(&Tag, Pos, Table.LevelOf(Tag, Default), App);
}

//===----------------------------------------------------------------------===//
// Registration and tag texts
//===----------------------------------------------------------------------===//

TEST(MsTagTableTest, RegistrationSetsDefaultLevels) {
  TableFixture F;
  EXPECT_TRUE(F.Table.HasPrefix("Tt"));
  EXPECT_TRUE(F.Table.HasPrefix("Ms"));
  EXPECT_FALSE(F.Table.HasPrefix("Zz"));
  const MsConsole::Level Expected[] = {MsConsole::Suppressed,
                                       MsConsole::FatalError,
                                       MsConsole::ErrorFixed,
                                       MsConsole::Error,
                                       MsConsole::Warning,
                                       MsConsole::Remark,
                                       MsConsole::CommandLineError,
                                       MsConsole::Warning,
                                       MsConsole::Error,
                                       MsConsole::Warning};
  for (std::uint16_t N = 1; N <= 9; ++N)
    EXPECT_EQ(F.Table.LevelOf(Tt(N), MsConsole::Suppressed), Expected[N]) << N;
  // A number past the table's count has no level of its own.
  EXPECT_EQ(F.Table.LevelOf(Tt(10), MsConsole::Remark), MsConsole::Remark);
  EXPECT_STREQ(F.Table.RawText(Tt(7)), "[internal]hidden %s");
  EXPECT_EQ(F.Table.RawText(Tt(10)), nullptr);
  EXPECT_EQ(F.Table.RawText(Tt(0)), nullptr);
}

TEST(MsTagTableTest, BadRegistrationsAreInternalFailures) {
  ThrowingFailureScope Scope;
  const MsConsole::MessageDef BadLevel[] = {
      {MsConsole::Suppressed, nullptr},
      {static_cast<MsConsole::Level>(9), "text"}};
  struct Case {
    const char *Prefix;
    const MsConsole::MessageDef *Table;
    const char *Failure;
  } Cases[] = {
      {"T", TtTable,
       "MsConsole: subsystem prefix 'T' is not two characters long"},
      {"Ttt", TtTable,
       "MsConsole: subsystem prefix 'Ttt' is not two characters long"},
      {"Bb", BadLevel, "Unknown message level"},
  };
  for (const Case &C : Cases) {
    MsTagTable Table;
    try {
      Table.Add(C.Prefix, C.Table, nullptr, 1, 1, nullptr);
      ADD_FAILURE() << C.Prefix << ": no failure";
    } catch (const InternalFailure &E) {
      EXPECT_EQ(std::string(E.what()), C.Failure) << C.Prefix;
    }
  }
}

TEST(MsTagTableTest, ATableWithoutTextsHasNoLevels) {
  MsTagTable Table;
  auto Callback = [](std::uint16_t Number, const std::string &) {
    return Number == 1 ? "only the callback" : nullptr;
  };
  Table.Add("Cb", nullptr, nullptr, 1, 2, Callback);
  EXPECT_EQ(Table.MessageText(MsTag("Cb", 1)), "only the callback");
  EXPECT_EQ(Table.RawText(MsTag("Cb", 2)), nullptr);
  EXPECT_EQ(Table.LevelOf(MsTag("Cb", 1), MsConsole::Remark),
            MsConsole::Remark);
  EXPECT_FALSE(Table.SetLevel(MsTag("Cb", 1), MsConsole::Warning));
}

TEST(MsTagTableTest, KindOfLevel) {
  EXPECT_EQ(MsTagTable::KindOfLevel(MsConsole::FatalError), 2);
  EXPECT_EQ(MsTagTable::KindOfLevel(MsConsole::CommandLineError), 3);
  EXPECT_EQ(MsTagTable::KindOfLevel(MsConsole::ErrorFixed), 4);
  EXPECT_EQ(MsTagTable::KindOfLevel(MsConsole::Error), 5);
  EXPECT_EQ(MsTagTable::KindOfLevel(MsConsole::Warning), 6);
  EXPECT_EQ(MsTagTable::KindOfLevel(MsConsole::Remark), 7);
  ThrowingFailureScope Scope;
  for (int Bad : {6, 7, -1}) {
    try {
      MsTagTable::KindOfLevel(static_cast<MsConsole::Level>(Bad));
      FAIL() << Bad;
    } catch (const InternalFailure &E) {
      EXPECT_EQ(std::string(E.what()), "Unknown message level");
    }
  }
}

TEST(MsTagTableTest, TagTextOfRegisteredAndUnregisteredPrefix) {
  TableFixture F;
  EXPECT_EQ(F.Table.TagText(MsTag("Ms", 1)), "Ms001");
  EXPECT_EQ(F.Table.TagText(Tt(12)), "Tt012");
  EXPECT_EQ(F.Table.TagText(MsTag("Zz", 7)), "007");
  EXPECT_EQ(F.Table.TagText(MsTag("Zz", 1234)), "1234");
}

TEST(MsTagTableTest, TextToTag) {
  TableFixture F;
  struct Case {
    const char *Text;
    bool Ok;
    MsTag Tag;
  } Cases[] = {
      {"Ms001", true, MsTag("Ms", 1)},
      {"Ms012", true, MsTag("Ms", 12)},
      {"Ms12", true, MsTag("Ms", 12)},
      {"Ms0012", true, MsTag("Ms", 12)},
      {"Tt007", true, Tt(7)},
      {"Ms013", false, MsTag()},
      {"Ms999", false, MsTag()},
      {"Ms000", false, MsTag()},
      {"Ms", false, MsTag()},
      {"ms001", false, MsTag()},
      {"Ms00a", false, MsTag()},
      {"Ms-01", false, MsTag()},
      {"Ms 01", false, MsTag()},
      {"Zz001", false, MsTag()},
      {"", false, MsTag()},
      {"Ms99999999999", false, MsTag()},
      {"Ms65537", false, MsTag()},
  };
  for (const Case &C : Cases) {
    MsTag Tag;
    EXPECT_EQ(F.Table.TextToTag(C.Text, Tag), C.Ok) << C.Text;
    if (C.Ok) {
      EXPECT_EQ(Tag, C.Tag) << C.Text;
    }
  }
}

TEST(MsTagTableTest, MessageTextCutsInternalMarker) {
  TableFixture F;
  EXPECT_EQ(F.Table.MessageText(MsTag("Ms", 8)), "%s");
  EXPECT_EQ(F.Table.MessageText(Tt(7)), "hidden %s");
  EXPECT_EQ(F.Table.MessageText(MsTag("Ms", 1)),
            "diagnostic tag %sq does not exist");
  EXPECT_EQ(F.Table.MessageText(Tt(77)), "");
}

TEST(MsTagTableTest, ListTags) {
  TableFixture F;
  const MsConsole::MessageDef Aa[] = {{MsConsole::Suppressed, nullptr},
                                      {MsConsole::Warning, "first"},
                                      {MsConsole::Warning, nullptr},
                                      {MsConsole::Warning, "[internal]x"}};
  const MsConsole::MessageDef Ab[] = {{MsConsole::Suppressed, nullptr},
                                      {MsConsole::Warning, "[internal]shown"},
                                      {MsConsole::Warning, "flagged"}};
  const bool AbFlags[] = {false, false, true};
  F.Table.Add("Aa", Aa, nullptr, 1, 3, nullptr);
  F.Table.Add("Ab", Ab, AbFlags, 1, 2, nullptr);
  std::ostringstream List;
  F.Table.List(List);
  EXPECT_EQ(List.str(),
            "Aa001:  first\n"
            "Ab001:  [internal]shown\n"
            "Ms001:  diagnostic tag %sq does not exist\n"
            "Ms002:  diagnostic tag %sq can not have its level changed\n"
            "Ms003:  could not open file %sq for writing\n"
            "Ms004:  problem writing to file %sq\n"
            "Ms005:  problem closing file %sq\n"
            "Ms006:  illegal path %sq\n"
            "Ms007:  could not open file %sq\n"
            "Ms009:  comment unclosed at end of file\n"
            "Ms010:  missing closing quote\n"
            "Ms011:  illegal integer\n"
            "Ms012:  illegal hexadecimal number\n"
            "Tt001:  fatal %s\n"
            "Tt002:  fixed error %sq\n"
            "Tt003:  changeable error %sq\n"
            "Tt004:  a warning %sq\n"
            "Tt005:  a remark %sq\n"
            "Tt006:  bad command line %sq\n"
            "Tt008:  %sq1 and %sq2\n"
            "Tt009:  here: %p\n");
}

TEST(MsTagTableTest, ListTagsUsesCallbackText) {
  MsTagTable Table;
  const MsConsole::MessageDef Cc[] = {{MsConsole::Suppressed, nullptr},
                                      {MsConsole::Warning, "table"},
                                      {MsConsole::Warning, "table two"}};
  auto Callback = [](std::uint16_t Number, const std::string &) {
    return Number == 2 ? "callback two" : nullptr;
  };
  Table.Add("Cc", Cc, nullptr, 1, 2, Callback);
  std::ostringstream List;
  Table.List(List);
  EXPECT_EQ(List.str().substr(0, 34), "Cc001:  table\nCc002:  callback two");
}

TEST(MsTagTableTest, SubsystemTwiceIsInternalFailure) {
  ThrowingFailureScope Scope;
  TableFixture F;
  try {
    F.Table.Add("Tt", TtTable, nullptr, 1, 9, nullptr);
    FAIL() << "no failure";
  } catch (const InternalFailure &E) {
    EXPECT_EQ(std::string(E.what()), "Subsystem 'Tt' already installed");
  }
}

//===----------------------------------------------------------------------===//
// Level control and the level rule
//===----------------------------------------------------------------------===//

TEST(MsTagTableLevelTest, SetTagLevelRefusesFixedLevels) {
  TableFixture F;
  EXPECT_FALSE(F.Table.SetLevel(Tt(1), MsConsole::Warning));
  EXPECT_FALSE(F.Table.SetLevel(Tt(2), MsConsole::Suppressed));
  EXPECT_TRUE(F.Table.SetLevel(Tt(3), MsConsole::Remark));
  EXPECT_TRUE(F.Table.SetLevel(Tt(6), MsConsole::Warning));
  EXPECT_FALSE(F.Table.SetLevel(Tt(99), MsConsole::Warning));
  EXPECT_EQ(F.Table.LevelOf(Tt(1), MsConsole::Warning), MsConsole::FatalError);
  EXPECT_EQ(F.Table.LevelOf(Tt(2), MsConsole::Warning), MsConsole::ErrorFixed);
  EXPECT_EQ(F.Table.LevelOf(Tt(3), MsConsole::Warning), MsConsole::Remark);
  EXPECT_EQ(F.Table.LevelOf(Tt(99), MsConsole::Warning), MsConsole::Warning);
  // A tag made fixed stays fixed.
  EXPECT_TRUE(F.Table.SetLevel(Tt(4), MsConsole::ErrorFixed));
  EXPECT_FALSE(F.Table.SetLevel(Tt(4), MsConsole::Warning));
}

TEST(MsTagTableLevelTest, SetTagLevelOutsideRangeIsInternalFailure) {
  ThrowingFailureScope Scope;
  TableFixture F;
  EXPECT_THROW(F.Table.SetLevel(Tt(4), static_cast<MsConsole::Level>(7)),
               InternalFailure);
}

TEST(MsTagTableLevelTest, EffectiveLevelTable) {
  using L = MsConsole::Level;
  struct Case {
    L Start;
    bool WarningsAreErrors;
    bool WarningsEnabled;
    bool RemarksEnabled;
    bool Suppressing;
    int Override; // -1: none
    L Expected;
  } Cases[] = {
      // Steps 1 and 2: fatal and fixed errors never change.
      {L::FatalError, true, false, false, true, 6, L::FatalError},
      {L::ErrorFixed, true, false, false, true, 6, L::ErrorFixed},
      // Plain levels.
      {L::CommandLineError, false, true, false, false, -1, L::CommandLineError},
      {L::Error, false, true, false, false, -1, L::Error},
      {L::Warning, false, true, false, false, -1, L::Warning},
      {L::Remark, false, true, false, false, -1, L::Suppressed},
      {L::Remark, false, true, true, false, -1, L::Remark},
      // Step 3: the application interface suppresses warnings and remarks,
      // not errors.
      {L::Warning, false, true, false, true, -1, L::Suppressed},
      {L::Remark, false, true, true, true, -1, L::Suppressed},
      {L::Error, false, true, false, true, -1, L::Error},
      {L::CommandLineError, false, true, false, true, -1, L::CommandLineError},
      // Step 4: a range override applies, and the later steps see it.
      {L::Error, false, true, false, false, 4, L::Warning},
      {L::Warning, false, true, false, false, 3, L::Error},
      {L::Error, true, true, false, false, 4, L::Error},
      {L::Error, false, false, false, false, 4, L::Suppressed},
      {L::Warning, false, true, false, false, 5, L::Suppressed},
      {L::Warning, false, true, true, false, 5, L::Remark},
      // Step 5 before step 6: warnings are errors wins over no_warnings.
      {L::Warning, true, true, false, false, -1, L::Error},
      {L::Warning, true, false, false, false, -1, L::Error},
      // Step 6: no_warnings hides warnings and remarks, even with remarks.
      {L::Warning, false, false, true, false, -1, L::Suppressed},
      {L::Remark, false, false, true, false, -1, L::Suppressed},
      {L::Remark, true, true, true, false, -1, L::Remark},
      {L::Error, false, false, false, false, -1, L::Error},
      // Suppressed stays suppressed.
      {L::Suppressed, true, true, true, false, -1, L::Suppressed},
  };
  OneFile File("f.c", {"a", "b", "c"});
  DiSourceRange Range(File.At(1, 1), File.At(2, 9));
  int Row = 0;
  for (const Case &C : Cases) {
    ++Row;
    MsTagTable Table;
    const MsConsole::MessageDef Ee[] = {{L::Suppressed, nullptr},
                                        {C.Start, "text"}};
    Table.Add("Ee", Ee, nullptr, 1, 1, nullptr);
    SuppressingInterface App;
    App.Suppress = C.Suppressing;
    Table.SetWarningsAreErrors(C.WarningsAreErrors);
    Table.SetWarningsEnabled(C.WarningsEnabled);
    Table.SetRemarksEnabled(C.RemarksEnabled);
    if (C.Override >= 0) {
      // Overrides of fatal and fixed errors are refused.
      bool Settable = C.Start != L::FatalError && C.Start != L::ErrorFixed;
      EXPECT_EQ(
          Table.SetLevel(MsTag("Ee", 1), Range, static_cast<L>(C.Override)),
          Settable)
          << Row;
    }
    EXPECT_EQ(Effective(Table, MsTag("Ee", 1), File.At(2, 3), L::Warning, &App),
              C.Expected)
        << "row " << Row;
    // Outside the range the override does not apply.
    if (C.Override >= 0 && !C.Suppressing) {
      MsTagTable Plain;
      Plain.Add("Ee", Ee, nullptr, 1, 1, nullptr);
      Plain.SetWarningsAreErrors(C.WarningsAreErrors);
      Plain.SetWarningsEnabled(C.WarningsEnabled);
      Plain.SetRemarksEnabled(C.RemarksEnabled);
      EXPECT_EQ(
          Effective(Table, MsTag("Ee", 1), File.At(3, 1), L::Warning, &App),
          Effective(Plain, MsTag("Ee", 1), File.At(3, 1), L::Warning))
          << "row " << Row;
    }
  }
}

TEST(MsTagTableLevelTest, LaterRangeOverrideWins) {
  TableFixture F;
  OneFile File("f.c", {"a", "b", "c"});
  ASSERT_TRUE(F.Table.SetLevel(
      Tt(3), DiSourceRange(File.At(1, 1), File.At(3, 1)), MsConsole::Warning));
  ASSERT_TRUE(F.Table.SetLevel(Tt(3),
                               DiSourceRange(File.At(2, 1), File.At(2, 5)),
                               MsConsole::Suppressed));
  EXPECT_EQ(Effective(F.Table, Tt(3), File.At(2, 2), MsConsole::Error),
            MsConsole::Suppressed);
  EXPECT_EQ(Effective(F.Table, Tt(3), File.At(1, 2), MsConsole::Error),
            MsConsole::Warning);
  EXPECT_EQ(
      Effective(F.Table, Tt(3), DiSourcePosition::sNone, MsConsole::Error),
      MsConsole::Error);
}

TEST(MsTagTableLevelTest, UntaggedTextsSkipSuppressionAndOverrides) {
  TableFixture F;
  SuppressingInterface App;
  F.Table.SetWarningsAreErrors(true);
  EXPECT_EQ(
      F.Table.Map(nullptr, DiSourcePosition::sNone, MsConsole::Warning, &App),
      MsConsole::Error);
  EXPECT_TRUE(App.Asked.empty());
  EXPECT_EQ(
      F.Table.Map(nullptr, DiSourcePosition::sNone, MsConsole::Remark, &App),
      MsConsole::Suppressed);
}

} // namespace
