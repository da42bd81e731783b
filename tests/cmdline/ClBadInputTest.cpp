// Bad input for the walk: odd tokens, huge tokens, many tokens, bytes above
// 127 and control characters. Every case ends either with a result or with
// one of the documented errors.
#include "cmdline/ClLine.h"
#include "cmdline/ClParser.h"
#include "tests/support/ClTestSupport.h"

#include <gtest/gtest.h>

#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Strings = std::vector<std::string>;

using MapFileArg = cltest::MemoryFileArg;

/// A tree shaped like the tool's.
struct Tree {
  Tree() {
    Root.Add(std::make_unique<ClOnce>(Output));
    Root.Add(std::make_unique<ClOnce>(Manifest));
    Root.Add(std::make_unique<ClOnce>(All));
    Check = &Root.Add(std::make_unique<ClMultiVal<ClStringSetArg>>(CheckArg));
    Root.Add(std::make_unique<ClOnce>(Limit));
    auto &One = Root.Add(std::make_unique<ClOnlyOne>());
    One.Add(std::make_unique<ClOnce>(Quiet));
    One.Add(std::make_unique<ClOnce>(Loud));
    Root.Add(std::make_unique<ClMultiVal<ClCommandFileArg>>(Files));
  }

  ClStringArg Output{'o', "output", "file", "Override output file"};
  ClStringArg Manifest{0, "manifest", "file", "Override manifest file"};
  ClFlagArg All{0, "all", "Generate all checks"};
  ClStringSetArg CheckArg{0, "check", "chk,chk,...", "Generate check(s)", ','};
  ClIntegerArg Limit{0,
                     "error_limit",
                     "limit",
                     "Limit",
                     ClIntegerArg::Base::Decimal,
                     0,
                     std::numeric_limits<std::int32_t>::max(),
                     100};
  ClFlagArg Quiet{'q', "", "Quiet"};
  ClFlagArg Loud{'l', "", "Loud"};
  MapFileArg Files;
  ClMultiVal<ClStringSetArg> *Check = nullptr;
  ClAny Root;
};

enum class Outcome {
  Ok,
  Unmatched,
  Minus,
  Parse,
  NotFound,
  Recursion,
  Quote,
  Comment
};

Outcome WalkOutcome(Tree &T, const Strings &Args,
                    ClWalkResult *Result = nullptr) {
  try {
    ClWalkResult R = ClLine(Args).Walk(T.Root);
    if (Result)
      *Result = std::move(R);
    return Outcome::Ok;
  } catch (const ClLine::UnmatchedError &) {
    return Outcome::Unmatched;
  } catch (const ClLine::ParaBeginsWithMinusError &) {
    return Outcome::Minus;
  } catch (const ClLine::CommandFileNotFound &) {
    return Outcome::NotFound;
  } catch (const ClLine::CommandFileRecursionError &) {
    return Outcome::Recursion;
  } catch (const ClLine::UnmatchedQuoteError &) {
    return Outcome::Quote;
  } catch (const ClLine::UnmatchedSlashStarError &) {
    return Outcome::Comment;
  } catch (const ClParser::ParseError &) {
    return Outcome::Parse;
  }
}

struct OddCase {
  Strings Args;
  Outcome Expected;
  Strings Positional;
};

TEST(ClBadInput, OddTokens) {
  const OddCase Cases[] = {
      {{""}, Outcome::Ok, {""}},
      {{"", ""}, Outcome::Ok, {"", ""}},
      {{"-"}, Outcome::Ok, {"-"}},
      {{"--"}, Outcome::Unmatched, {}},
      {{"---"}, Outcome::Unmatched, {}},
      {{"="}, Outcome::Ok, {"="}},
      {{"-="}, Outcome::Unmatched, {}},
      {{"--="}, Outcome::Unmatched, {}},
      {{"-o"}, Outcome::Parse, {}},
      {{"-o", ""}, Outcome::Ok, {}},
      {{"-o", "-"}, Outcome::Ok, {}},
      {{"-o", "--"}, Outcome::Minus, {}},
      {{"-o", "---"}, Outcome::Ok, {}},
      {{"--output="}, Outcome::Ok, {}},
      {{"--output=", "--output="}, Outcome::Ok, {}},
      {{"--output=", "--output=x"}, Outcome::Parse, {}},
      {{"--all="}, Outcome::Ok, {}},
      {{"--all=x"}, Outcome::Parse, {}},
      {{"--error_limit"}, Outcome::Parse, {}},
      {{"--error_limit="}, Outcome::Parse, {}},
      {{"--error_limit", "-1"}, Outcome::Minus, {}},
      {{"--error_limit", "---1"}, Outcome::Parse, {}},
      {{"--error_limit", "2147483647"}, Outcome::Ok, {}},
      {{"-q", "-l"}, Outcome::Parse, {}},
      {{"-ql"}, Outcome::Parse, {}},
      {{"-f"}, Outcome::Parse, {}},
      {{"-f", ""}, Outcome::NotFound, {}},
      {{"-f", "-"}, Outcome::NotFound, {}},
      {{"--check="}, Outcome::Ok, {}},
      {{"--check", ","}, Outcome::Ok, {}},
      {{"\xff\xfe"}, Outcome::Ok, {"\xff\xfe"}},
      {{"-\xff"}, Outcome::Unmatched, {}},
      {{"--\xe9t\xe9"}, Outcome::Unmatched, {}},
      {{"--output=\x01\x7f\x80\n\r"}, Outcome::Ok, {}},
      {{"\x1b[31m", "\t", "\n"}, Outcome::Ok, {"\x1b[31m", "\t", "\n"}},
      {{"--error_limit=\xff"}, Outcome::Parse, {}},
      {{std::string("a\0b", 3)}, Outcome::Ok, {std::string("a\0b", 3)}},
      {{std::string("--output=\0", 10)}, Outcome::Ok, {}},
  };
  for (const OddCase &C : Cases) {
    Tree T;
    ClWalkResult R;
    std::string Name;
    for (const std::string &A : C.Args)
      Name += "[" + A + "]";
    EXPECT_EQ(WalkOutcome(T, C.Args, &R), C.Expected) << Name;
    if (C.Expected == Outcome::Ok) {
      std::vector<std::string> Texts;
      for (const ClToken &Token : R.Positional)
        Texts.push_back(Token.Text);
      EXPECT_EQ(Texts, C.Positional) << Name;
    }
  }
}

TEST(ClBadInput, ConversionMessageQuotesOddBytesAsGiven) {
  Tree T;
  try {
    ClLine(Strings{"--error_limit=\xff\x01"}).Walk(T.Root);
    FAIL() << "no error";
  } catch (const ClArgParser::ParseError &E) {
    EXPECT_EQ(E.Text(), "Expected a decimal integer greater than or equal to "
                        "0: '\xff\x01'");
    EXPECT_EQ(E.Subject(), "\xff\x01");
  }
}

TEST(ClBadInput, HugeTokens) {
  const std::string Huge(100000, 'x');
  {
    Tree T;
    ClWalkResult R;
    EXPECT_EQ(WalkOutcome(T, {Huge}, &R), Outcome::Ok);
    ASSERT_EQ(R.Positional.size(), 1u);
    EXPECT_EQ(R.Positional[0].Text, Huge);
  }
  {
    Tree T;
    EXPECT_EQ(WalkOutcome(T, {"--output=" + Huge}), Outcome::Ok);
    EXPECT_EQ(T.Output.Value(), Huge);
  }
  {
    Tree T;
    EXPECT_EQ(WalkOutcome(T, {"-o", Huge}), Outcome::Ok);
    EXPECT_EQ(T.Output.Value(), Huge);
  }
  {
    Tree T;
    EXPECT_EQ(WalkOutcome(T, {"-" + Huge}), Outcome::Unmatched);
    EXPECT_EQ(WalkOutcome(T, {"--" + Huge}), Outcome::Unmatched);
  }
  {
    Tree T;
    EXPECT_EQ(WalkOutcome(T, {"--error_limit=" + std::string(100000, '9')}),
              Outcome::Parse);
  }
  {
    Tree T;
    std::string Set;
    for (int I = 0; I < 50000; ++I)
      Set += "a,";
    EXPECT_EQ(WalkOutcome(T, {"--check=" + Set}), Outcome::Ok);
    EXPECT_EQ(T.Check->Values().size(), 50000u);
  }
  {
    Tree T;
    EXPECT_EQ(WalkOutcome(T, {"-f", Huge}), Outcome::NotFound);
  }
}

TEST(ClBadInput, ManyTokens) {
  const std::size_t Count = 100000;
  {
    Tree T;
    ClWalkResult R;
    EXPECT_EQ(WalkOutcome(T, Strings(Count, "a"), &R), Outcome::Ok);
    EXPECT_EQ(R.Positional.size(), Count);
    EXPECT_EQ(R.Positional.back().Place.ArgIndex, static_cast<int>(Count));
  }
  {
    Tree T;
    EXPECT_EQ(WalkOutcome(T, Strings(Count, "--check=a,b")), Outcome::Ok);
    EXPECT_EQ(T.Check->Values().size(), 2 * Count);
  }
  {
    Tree T;
    EXPECT_EQ(WalkOutcome(T, Strings(Count, "--all")), Outcome::Ok);
    EXPECT_TRUE(T.All.Value());
  }
  {
    Tree T;
    EXPECT_EQ(WalkOutcome(T, Strings(Count, "-o")), Outcome::Minus);
  }
  {
    Tree T;
    try {
      ClLine(Strings(Count, "-z")).Walk(T.Root);
      FAIL() << "no error";
    } catch (const ClLine::UnmatchedError &E) {
      EXPECT_EQ(E.Arguments().size(), Count);
    }
  }
  {
    Tree T;
    EXPECT_EQ(WalkOutcome(T, Strings(Count, "-")), Outcome::Ok);
  }
}

TEST(ClBadInput, CommandFilesWithOddContent) {
  std::string ManyLines;
  for (int I = 0; I < 100000; ++I)
    ManyLines += "--check=a\n";
  std::string Binary;
  for (int I = 0; I < 256; ++I)
    Binary += static_cast<char>(I);
  struct FileCase {
    std::string Content;
    Outcome Expected;
  };
  const FileCase Cases[] = {
      {ManyLines, Outcome::Ok},
      {std::string(100000, 'y'), Outcome::Ok},
      {std::string(100000, '"'), Outcome::Ok},
      {std::string(99999, '"'), Outcome::Quote},
      {std::string(100000, '/'), Outcome::Ok},
      {"/" + std::string(100000, '*'), Outcome::Comment},
      {"--error_limit", Outcome::Parse},
      {Binary, Outcome::Quote},
      {std::string("\0\0\0", 3), Outcome::Ok},
      {"-f a", Outcome::Recursion},
      {"-f b", Outcome::NotFound},
  };
  for (const FileCase &C : Cases) {
    Tree T;
    T.Files.Files["a"] = C.Content;
    EXPECT_EQ(WalkOutcome(T, {"-f", "a"}), C.Expected)
        << C.Content.substr(0, 20);
  }
}

} // namespace
