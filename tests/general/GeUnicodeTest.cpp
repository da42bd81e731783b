// Tests of the UTF-8 / UTF-16 / locale conversions and the Unicode input file
// stream.
#include "general/GeUnicode.h"

#include "tests/support/TestFiles.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using GeUnicode::CodePoint;

//===----------------------------------------------------------------------===//
// UTF-8 decoding
//===----------------------------------------------------------------------===//

struct DecodeCase {
  const char *Name;
  std::string Bytes;
  bool Valid;
  CodePoint Value;
  std::ptrdiff_t Taken;
};

TEST(GeUnicodeDecodeTest, Table) {
  const DecodeCase Cases[] = {
      {"empty range", "", false, 0, 0},
      {"ASCII", "A", true, 0x41, 1},
      {"NUL", std::string(1, '\0'), true, 0, 1},
      {"DEL", "\x7F", true, 0x7F, 1},
      {"ASCII then more", "ab", true, 0x61, 1},
      {"2-byte", "\xC3\xA4", true, 0xE4, 2},
      {"2-byte largest", "\xDF\xBF", true, 0x7FF, 2},
      {"2-byte then more", "\xC3\xA4z", true, 0xE4, 2},
      {"3-byte", "\xE2\x82\xAC", true, 0x20AC, 3},
      {"3-byte largest", "\xEF\xBF\xBF", true, 0xFFFF, 3},
      {"4-byte", "\xF0\x9D\x84\x9E", true, 0x1D11E, 4},
      {"4-byte largest Unicode", "\xF4\x8F\xBF\xBF", true, 0x10FFFF, 4},
      {"4-byte beyond Unicode", "\xF4\x90\x80\x80", true, 0x110000, 4},
      {"5-byte", "\xF8\x88\x80\x80\x80", true, 0x200000, 5},
      {"5-byte largest", "\xFB\xBF\xBF\xBF\xBF", true, 0x3FFFFFF, 5},
      {"6-byte", "\xFC\x84\x80\x80\x80\x80", true, 0x4000000, 6},
      {"6-byte largest", "\xFD\xBF\xBF\xBF\xBF\xBF", true, 0x7FFFFFFF, 6},
      {"lead 0xFE, six continuation bytes", "\xFE\x83\xBF\xBF\xBF\xBF\xBF",
       true, 0xFFFFFFFF, 7},
      {"lead 0xFE, largest", "\xFE\xBF\xBF\xBF\xBF\xBF\xBF", true, 0xFFFFFFFFF,
       7},
      {"overlong NUL is not checked", "\xC0\x80", true, 0, 2},
      {"overlong slash is not checked", "\xE0\x80\xAF", true, 0x2F, 3},
      {"surrogate is not checked", "\xED\xA0\x80", true, 0xD800, 3},
      {"lone continuation byte", "\x80", false, 0, 1},
      {"lone continuation byte 0xBF", "\xBF", false, 0, 1},
      {"lead 0xFF alone", "\xFF", false, 0, 1},
      {"lead 0xFF with seven continuation bytes",
       "\xFF\x80\x80\x80\x80\x80\x80\x80", false, 0, 7},
      {"lead 0xFE alone", "\xFE", false, 0, 1},
      {"truncated 2-byte", "\xC3", false, 0, 1},
      {"truncated 3-byte", "\xE2\x82", false, 0, 2},
      {"truncated 4-byte", "\xF0\x9D\x84", false, 0, 3},
      {"truncated 6-byte", "\xFC\x84\x80\x80\x80", false, 0, 5},
      {"ASCII instead of continuation",
       "\xC3"
       "A",
       false, 0, 1},
      {"lead instead of continuation", "\xC3\xC3\xA4", false, 0, 1},
      {"bad third byte", "\xE2\x82\xC3", false, 0, 2},
      {"0xFF instead of continuation", "\xE2\xFF\xAC", false, 0, 1},
  };
  for (const DecodeCase &C : Cases) {
    const char *const Begin = C.Bytes.data();
    const char *Pos = Begin;
    CodePoint Value = 0xDEAD;
    const bool Valid =
        GeUnicode::DecodeUtf8(Pos, Begin + C.Bytes.size(), Value);
    EXPECT_EQ(Valid, C.Valid) << C.Name;
    if (C.Valid) {
      EXPECT_EQ(Value, C.Value) << C.Name;
    }
    EXPECT_EQ(Pos - Begin, C.Taken) << C.Name;
  }
}

TEST(GeUnicodeDecodeTest, DoesNotReadPastTheEndOfTheRange) {
  const std::string Bytes = "\xE2\x82\xAC";
  const char *Pos = Bytes.data();
  CodePoint Value = 0;
  EXPECT_FALSE(GeUnicode::DecodeUtf8(Pos, Bytes.data() + 2, Value));
  EXPECT_EQ(Pos, Bytes.data() + 2);
}

TEST(GeUnicodeDecodeTest, WalksAMixedString) {
  const std::string Text = "cmd-\xC3\xA4\xE2\x82\xAC\xF0\x9D\x84\x9E.txt";
  const CodePoint Expected[] = {'c',     'm', 'd', '-', 0xE4, 0x20AC,
                                0x1D11E, '.', 't', 'x', 't'};
  const char *Pos = Text.data();
  const char *const End = Pos + Text.size();
  for (CodePoint Want : Expected) {
    CodePoint Value = 0;
    ASSERT_TRUE(GeUnicode::DecodeUtf8(Pos, End, Value));
    EXPECT_EQ(Value, Want);
  }
  EXPECT_EQ(Pos, End);
}

//===----------------------------------------------------------------------===//
// UTF-16 encoding
//===----------------------------------------------------------------------===//

TEST(GeUnicodeEncodeTest, Table) {
  struct Case {
    CodePoint Value;
    unsigned Count;
    char16_t First;
    char16_t Second;
  };
  const Case Cases[] = {
      {0, 1, 0, 0},
      {0x41, 1, 0x41, 0},
      {0xE4, 1, 0xE4, 0},
      {0x20AC, 1, 0x20AC, 0},
      {0xD800, 1, 0xD800, 0},
      {0xFFFF, 1, 0xFFFF, 0},
      {0x10000, 2, 0xD800, 0xDC00},
      {0x1D11E, 2, 0xD834, 0xDD1E},
      {0x10FFFF, 2, 0xDBFF, 0xDFFF},
      {0x110000, 0, 0, 0},
      {0x7FFFFFFF, 0, 0, 0},
      {0xFFFFFFFFF, 0, 0, 0},
  };
  for (const Case &C : Cases) {
    char16_t Units[2] = {0x1234, 0x1234};
    EXPECT_EQ(GeUnicode::EncodeUtf16(C.Value, Units), C.Count) << C.Value;
    if (C.Count >= 1) {
      EXPECT_EQ(Units[0], C.First) << C.Value;
    }
    if (C.Count == 2) {
      EXPECT_EQ(Units[1], C.Second) << C.Value;
    }
  }
}

//===----------------------------------------------------------------------===//
// UTF-8 <-> UTF-16
//===----------------------------------------------------------------------===//

TEST(GeUnicodeConvertTest, Utf8ToUtf16) {
  struct Case {
    std::string Utf8;
    std::u16string Utf16;
  };
  const Case Cases[] = {
      {"", u""},
      {"plain.xcl", u"plain.xcl"},
      {"cmd-\xC3\xA4\xE2\x82\xAC\xF0\x9D\x84\x9E.txt", u"cmd-ä€𝄞.txt"},
      {"a\xFF"
       "b",
       u"a\xDCFF"
       "b"},
      {"\x80", u"\xDC80"},
      {"\xC3", u"\xDCC3"},
      {"\xC3"
       "A",
       u"\xDCC3"
       "A"},
      {"\xC0\x80", u"\xDCC0\xDC80"},                     // overlong
      {"\xED\xA0\x80", u"\xDCED\xDCA0\xDC80"},           // encoded surrogate
      {"\xF4\x90\x80\x80", u"\xDCF4\xDC90\xDC80\xDC80"}, // beyond Unicode
      {"\xF8\x88\x80\x80\x80", u"\xDCF8\xDC88\xDC80\xDC80\xDC80"},
  };
  for (const Case &C : Cases) {
    EXPECT_EQ(GeUnicode::Utf8ToUtf16(C.Utf8), C.Utf16) << C.Utf8;
    EXPECT_EQ(GeUnicode::Utf16ToUtf8(C.Utf16), C.Utf8) << C.Utf8;
  }
}

TEST(GeUnicodeConvertTest, Utf16ToUtf8) {
  struct Case {
    std::u16string Utf16;
    std::string Utf8;
  };
  const Case Cases[] = {
      {u"\x00E4", "\xC3\xA4"},
      {u"\xD834\xDD1E", "\xF0\x9D\x84\x9E"},
      {u"\xDBFF\xDFFF", "\xF4\x8F\xBF\xBF"},
      {u"\xD800", "\xED\xA0\x80"}, // lone high surrogate
      {u"\xD800"
       "x",
       "\xED\xA0\x80x"},
      {u"\xDC41", "\xED\xB1\x81"}, // lone low, not an escaped byte
      {u"\xDC80", "\x80"},         // escaped byte
      {u"\xDCFF", "\xFF"},
      {u"\xDD1E\xD834", "\xED\xB4\x9E\xED\xA0\xB4"}, // pair in wrong order
  };
  for (const Case &C : Cases)
    EXPECT_EQ(GeUnicode::Utf16ToUtf8(C.Utf16), C.Utf8);
}

TEST(GeUnicodeConvertTest, EveryByteStringSurvivesTheRoundTrip) {
  for (int Byte = 0; Byte < 256; ++Byte) {
    const std::string Text(1, static_cast<char>(Byte));
    EXPECT_EQ(GeUnicode::Utf16ToUtf8(GeUnicode::Utf8ToUtf16(Text)), Text)
        << Byte;
  }
  std::mt19937 Random(12345);
  std::uniform_int_distribution<int> Length(0, 24);
  std::uniform_int_distribution<int> ByteValue(0, 255);
  for (int Round = 0; Round < 2000; ++Round) {
    std::string Text;
    for (int I = Length(Random); I > 0; --I)
      Text += static_cast<char>(ByteValue(Random));
    ASSERT_EQ(GeUnicode::Utf16ToUtf8(GeUnicode::Utf8ToUtf16(Text)), Text);
  }
}

//===----------------------------------------------------------------------===//
// Text by its byte-order mark
//===----------------------------------------------------------------------===//

TEST(GeUnicodeMarkedTextTest, Table) {
  struct Case {
    const char *Name;
    std::string Bytes;
    bool Valid;
    std::string Text;
  };
  const Case Cases[] = {
      {"empty", "", true, ""},
      {"no mark", "a b\r\n\xC3\xA4\xFF", true, "a b\r\n\xC3\xA4\xFF"},
      {"UTF-8 mark", "\xEF\xBB\xBF-f x", true, "-f x"},
      {"UTF-8 mark alone", "\xEF\xBB\xBF", true, ""},
      {"UTF-8 mark twice keeps the second", "\xEF\xBB\xBF\xEF\xBB\xBFx", true,
       "\xEF\xBB\xBFx"},
      {"UTF-8 mark not at the start", "x\xEF\xBB\xBF", true, "x\xEF\xBB\xBF"},
      {"part of a UTF-8 mark", "\xEF\xBBx", true, "\xEF\xBBx"},
      {"UTF-16LE mark alone", "\xFF\xFE", true, ""},
      {"UTF-16BE mark alone", "\xFE\xFF", true, ""},
      {"UTF-16LE",
       std::string("\xFF\xFE"
                   "a\0\n\0\xE4\0\xAC\x20",
                   10),
       true, "a\n\xC3\xA4\xE2\x82\xAC"},
      {"UTF-16BE",
       std::string("\xFE\xFF"
                   "\0a\0\n\0\xE4\x20\xAC",
                   10),
       true, "a\n\xC3\xA4\xE2\x82\xAC"},
      {"UTF-16LE pair", "\xFF\xFE\x34\xD8\x1E\xDD", true, "\xF0\x9D\x84\x9E"},
      {"UTF-16BE pair", "\xFE\xFF\xD8\x34\xDD\x1E", true, "\xF0\x9D\x84\x9E"},
      {"UTF-16 NUL", std::string("\xFF\xFE\0\0", 4), true,
       std::string(1, '\0')},
      {"UTF-16 second mark kept", "\xFF\xFE\xFF\xFE", true, "\xEF\xBB\xBF"},
      {"UTF-16LE odd byte count",
       "\xFF\xFE"
       "a",
       false, ""},
      {"UTF-16BE odd byte count", std::string("\xFE\xFF\0a\0", 5), false, ""},
      {"lone high surrogate at the end", std::string("\xFF\xFE\0\xD8", 4),
       false, ""},
      {"high surrogate before a letter", std::string("\xFF\xFE\0\xD8x\0", 6),
       false, ""},
      {"high surrogate twice", std::string("\xFE\xFF\xD8\0\xD8\0", 6), false,
       ""},
      {"lone low surrogate", std::string("\xFE\xFF\xDC\0", 4), false, ""},
      {"low then high", "\xFF\xFE\x1E\xDD\x34\xD8", false, ""},
      {"escaped-byte surrogate", "\xFF\xFE\x80\xDC", false, ""},
  };
  for (const Case &C : Cases) {
    std::string Text = "left over";
    const bool Valid = GeUnicode::DecodeMarkedText(C.Bytes, Text);
    EXPECT_EQ(Valid, C.Valid) << C.Name;
    if (C.Valid) {
      EXPECT_EQ(Text, C.Text) << C.Name;
    }
  }
}

TEST(GeUnicodeMarkedTextTest, Utf16OfEveryCharacterGivesItsUtf8) {
  // Every code point outside the surrogates, in both byte orders, gives the
  // UTF-8 form the encoder of this library writes.
  for (CodePoint Value = 0; Value <= GeUnicode::MaxCodePoint; ++Value) {
    if (Value >= 0xD800 && Value <= 0xDFFF)
      continue;
    char16_t Units[2];
    const unsigned Count = GeUnicode::EncodeUtf16(Value, Units);
    std::string Little = "\xFF\xFE";
    std::string Big = "\xFE\xFF";
    for (unsigned I = 0; I < Count; ++I) {
      Little += static_cast<char>(Units[I] & 0xFF);
      Little += static_cast<char>(Units[I] >> 8);
      Big += static_cast<char>(Units[I] >> 8);
      Big += static_cast<char>(Units[I] & 0xFF);
    }
    const std::string Expected =
        GeUnicode::Utf16ToUtf8(std::u16string(Units, Count));
    std::string Text;
    ASSERT_TRUE(GeUnicode::DecodeMarkedText(Little, Text)) << Value;
    ASSERT_EQ(Text, Expected) << Value;
    ASSERT_TRUE(GeUnicode::DecodeMarkedText(Big, Text)) << Value;
    ASSERT_EQ(Text, Expected) << Value;
  }
}

//===----------------------------------------------------------------------===//
// Wide to narrow
//===----------------------------------------------------------------------===//

TEST(GeUnicodeNarrowTest, ClassicLocaleSubstitutesOneQuestionMarkPerCharacter) {
  const std::locale Classic = std::locale::classic();
  EXPECT_EQ(GeUnicode::WideToNarrow(L"", Classic), "");
  EXPECT_EQ(GeUnicode::WideToNarrow(L"plain", Classic), "plain");
  EXPECT_EQ(GeUnicode::WideToNarrow(L"a\u00E4b", Classic), "a?b");
  EXPECT_EQ(GeUnicode::WideToNarrow(L"\u00E4\u20AC\U0001D11E", Classic), "???");
  EXPECT_EQ(GeUnicode::WideToNarrow(L"x\U0001D11E", Classic), "x?");
  // glibc passes over the tag characters without a word; they still count,
  // alone too.
  EXPECT_EQ(GeUnicode::WideToNarrow(L"a\U000E0001b\U000E007F\u0100", Classic),
            "a?b??");
  EXPECT_EQ(GeUnicode::WideToNarrow(L"\U000E0001", Classic), "?");
  EXPECT_EQ(GeUnicode::WideToNarrow(L"\U000E0000\U000E0020", Classic), "??");
}

TEST(GeUnicodeNarrowTest, LongTextAcrossChunks) {
  std::wstring Wide;
  std::string Expected;
  for (int I = 0; I < 10000; ++I) {
    if (I % 97 == 0) {
      Wide += L'\u20AC';
      Expected += '?';
    } else {
      Wide += static_cast<wchar_t>(L'a' + I % 26);
      Expected += static_cast<char>('a' + I % 26);
    }
  }
  EXPECT_EQ(GeUnicode::WideToNarrow(Wide, std::locale::classic()), Expected);
}

TEST(GeUnicodeNarrowTest, Utf8LocaleGivesUtf8) {
  std::locale Utf8;
  try {
    Utf8 = GeUnicode::MakeLocale("C.UTF-8");
  } catch (const std::runtime_error &) {
    GTEST_SKIP() << "no C.UTF-8 locale on this machine";
  }
  EXPECT_EQ(GeUnicode::WideToNarrow(L"cmd-\u00E4\u20AC\U0001D11E.txt", Utf8),
            "cmd-\xC3\xA4\xE2\x82\xAC\xF0\x9D\x84\x9E.txt");
  // A surrogate or a negative value is no character and cannot be written.
  const std::wstring Bad = {L'a', static_cast<wchar_t>(0xD800), L'b',
                            static_cast<wchar_t>(-1)};
  EXPECT_EQ(GeUnicode::WideToNarrow(Bad, Utf8), "a?b?");
  // Tag characters are characters like any other there.
  EXPECT_EQ(GeUnicode::WideToNarrow(L"\U000E0001x", Utf8),
            "\xF3\xA0\x80\x81x");

  // The default is the global locale.
  const std::locale Previous = std::locale::global(Utf8);
  const std::string Narrow = GeUnicode::WideToNarrow(L"\u00E4");
  std::locale::global(Previous);
  EXPECT_EQ(Narrow, "\xC3\xA4");
  EXPECT_EQ(GeUnicode::WideToNarrow(L"\u00E4"), "?");
}

TEST(GeUnicodeNarrowTest, MissingLocaleName) {
  try {
    GeUnicode::MakeLocale("no-such-locale.XYZ");
    FAIL() << "no exception";
  } catch (const std::runtime_error &Error) {
    EXPECT_STREQ(Error.what(), "bad locale name");
  }
  EXPECT_NO_THROW(GeUnicode::MakeLocale("C"));
}

//===----------------------------------------------------------------------===//
// InFileStream
//===----------------------------------------------------------------------===//

class GeUnicodeInFileStreamTest : public ::testing::Test {
protected:
  std::string WriteFile(const std::string &Name, const std::string &Bytes) {
    const std::string Path = Dir + Name;
    testsupport::WriteFile(Path, Bytes);
    return Path;
  }

  static std::string ReadAll(std::istream &In) {
    return std::string(std::istreambuf_iterator<char>(In),
                       std::istreambuf_iterator<char>());
  }

  testsupport::TempDir Folder;
  /// The folder's path with a final "/".
  const std::string Dir = Folder.Path("");
};

const std::string Content = std::string("\xEF\xBB\xBF"
                                        "a b\r\nc\x1A"
                                        "d\r") +
                            std::string(1, '\0') + "\xC3\xA4\n";

TEST_F(GeUnicodeInFileStreamTest, OpensNonAsciiNameThroughUtf16Path) {
  WriteFile("cmd-\xC3\xA4\xE2\x82\xAC\xF0\x9D\x84\x9E.txt", Content);
  GeUnicode::InFileStream In(GeUnicode::Utf8ToUtf16(Dir) + u"cmd-ä€𝄞.txt");
  ASSERT_TRUE(In.good());
  EXPECT_TRUE(In.IsOpen());
  // Bytes as stored: the byte-order mark, carriage returns, NUL and 0x1A.
  EXPECT_EQ(ReadAll(In), Content);
  In.Close();
  EXPECT_FALSE(In.IsOpen());
}

TEST_F(GeUnicodeInFileStreamTest, OpensThroughUtf8Path) {
  const std::string Path = WriteFile("plain.xcl", "--check=A\n");
  GeUnicode::InFileStream In(Path);
  ASSERT_TRUE(In);
  std::string Line;
  ASSERT_TRUE(std::getline(In, Line));
  EXPECT_EQ(Line, "--check=A");
  EXPECT_FALSE(std::getline(In, Line));
}

TEST_F(GeUnicodeInFileStreamTest, NameThatIsNotUtf8SurvivesTheWidePath) {
  const std::string Name = "latin1-\xE4.txt";
  WriteFile(Name, "x");
  GeUnicode::InFileStream In(GeUnicode::Utf8ToUtf16(Dir + Name));
  ASSERT_TRUE(In.good());
  EXPECT_EQ(ReadAll(In), "x");
}

TEST_F(GeUnicodeInFileStreamTest, MissingFileSetsFail) {
  GeUnicode::InFileStream In(GeUnicode::Utf8ToUtf16(Dir) + u"missing-ä.txt");
  EXPECT_TRUE(In.fail());
  EXPECT_FALSE(In.bad());
  EXPECT_FALSE(In.IsOpen());
  EXPECT_FALSE(static_cast<bool>(In));
  EXPECT_EQ(In.rdbuf(), In.FileBuf());

  GeUnicode::InFileStream Narrow(Dir + "missing.txt");
  EXPECT_TRUE(Narrow.fail());
  char Ch = 0;
  EXPECT_FALSE(Narrow.get(Ch));
}

TEST_F(GeUnicodeInFileStreamTest, FolderIsNotAFile) {
  GeUnicode::InFileStream In(Dir);
  std::string Line;
  EXPECT_FALSE(In && std::getline(In, Line));
}

} // namespace
