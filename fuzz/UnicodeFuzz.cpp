// Fuzz harness of the Unicode conversions and the Unicode-path input file
// stream: one UTF-8 sequence decoded against a plain model of the decoding
// rule, UTF-8 to UTF-16 and back without loss for any bytes, UTF-16 to UTF-8
// and back for any text without lone surrogates, UTF-16 encoding of values,
// wide-to-narrow conversion in the C and C.UTF-8 locales, and a file read
// back byte for byte.
//
// Input: a settings byte (bit 0 writes the input to a file and reads it
// back), then the bytes.
#include "fuzz/FuzzSupport.h"
#include "general/GeUnicode.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <locale>
#include <stdexcept>
#include <string>

namespace {

using fuzz::Require;
using GeUnicode::CodePoint;

/// One sequence by the rule: a byte below 128 is itself; 128-191 is
/// invalid; otherwise one continuation byte (10xxxxxx) per one bit below the
/// top bit, counted from bit 6 down, at most six, each adding its six low
/// bits. Answers validity, the value and the bytes taken.
bool ModelDecode(const std::string &Bytes, std::size_t At, CodePoint &Value,
                 std::size_t &Taken) {
  const unsigned Lead = static_cast<unsigned char>(Bytes[At]);
  Taken = 1;
  if (Lead < 0x80) {
    Value = Lead;
    return true;
  }
  if (Lead < 0xC0)
    return false;
  unsigned Ones = 0;
  while (Ones < 7 && (Lead & (0x40u >> Ones)))
    ++Ones;
  CodePoint Result = Ones >= 6 ? 0 : Lead & ((1u << (6 - Ones)) - 1);
  for (unsigned I = 0; I < Ones; ++I) {
    if (I == 6 || At + Taken >= Bytes.size())
      return false;
    const unsigned Next = static_cast<unsigned char>(Bytes[At + Taken]);
    if ((Next & 0xC0) != 0x80)
      return false;
    ++Taken;
    Result = Result << 6 | (Next & 0x3F);
  }
  Value = Result;
  return true;
}

std::string ModelUtf8(CodePoint V) {
  std::string Out;
  if (V < 0x80) {
    Out += static_cast<char>(V);
  } else if (V < 0x800) {
    Out += static_cast<char>(0xC0 | V >> 6);
    Out += static_cast<char>(0x80 | (V & 0x3F));
  } else if (V < 0x10000) {
    Out += static_cast<char>(0xE0 | V >> 12);
    Out += static_cast<char>(0x80 | (V >> 6 & 0x3F));
    Out += static_cast<char>(0x80 | (V & 0x3F));
  } else {
    Out += static_cast<char>(0xF0 | V >> 18);
    Out += static_cast<char>(0x80 | (V >> 12 & 0x3F));
    Out += static_cast<char>(0x80 | (V >> 6 & 0x3F));
    Out += static_cast<char>(0x80 | (V & 0x3F));
  }
  return Out;
}

bool IsSurrogate(CodePoint V) { return V >= 0xD800 && V <= 0xDFFF; }

/// Whether Text has a surrogate unit that is not part of a pair.
bool HasLoneSurrogate(const std::u16string &Text) {
  for (std::size_t I = 0; I < Text.size(); ++I) {
    const char16_t U = Text[I];
    if (U >= 0xD800 && U <= 0xDBFF && I + 1 < Text.size() &&
        Text[I + 1] >= 0xDC00 && Text[I + 1] <= 0xDFFF)
      ++I;
    else if (IsSurrogate(U))
      return true;
  }
  return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *Data,
                                      std::size_t Size) {
  std::uint8_t Settings = 0;
  std::string Bytes;
  if (!fuzz::SplitSettings(Data, Size, Settings, Bytes))
    return 0;

  // Decoding, sequence by sequence, as far as the model goes.
  for (std::size_t At = 0; At < Bytes.size();) {
    CodePoint Wanted = 0, Got = 0;
    std::size_t Taken = 0;
    const bool Valid = ModelDecode(Bytes, At, Wanted, Taken);
    const char *Pos = Bytes.data() + At;
    Require(GeUnicode::DecodeUtf8(Pos, Bytes.data() + Bytes.size(), Got) ==
            Valid);
    Require(Pos == Bytes.data() + At + Taken);
    if (Valid)
      Require(Got == Wanted);
    At += Taken;
  }
  {
    const char *Pos = Bytes.data() + Bytes.size();
    CodePoint Ignored = 0;
    Require(!GeUnicode::DecodeUtf8(Pos, Pos, Ignored));
    Require(Pos == Bytes.data() + Bytes.size());
  }

  // Bytes to UTF-16 and back: nothing is lost.
  const std::u16string Wide = GeUnicode::Utf8ToUtf16(Bytes);
  Require(GeUnicode::Utf16ToUtf8(Wide) == Bytes);

  // The bytes read as UTF-16 units: back and forth when no surrogate stands
  // alone.
  std::u16string Units;
  for (std::size_t I = 0; I + 1 < Bytes.size(); I += 2)
    Units += static_cast<char16_t>(static_cast<unsigned char>(Bytes[I]) << 8 |
                                   static_cast<unsigned char>(Bytes[I + 1]));
  if (!HasLoneSurrogate(Units))
    Require(GeUnicode::Utf8ToUtf16(GeUnicode::Utf16ToUtf8(Units)) == Units);

  // Values of three bytes each: UTF-16 encoding and wide-to-narrow.
  static const std::locale *Utf8 = [] {
    try {
      return new std::locale(GeUnicode::MakeLocale("C.UTF-8"));
    } catch (const std::runtime_error &) {
      return static_cast<std::locale *>(nullptr);
    }
  }();
  // Beyond U+10FFFF the C.UTF-8 locale writes the old five- and six-byte
  // forms; that is the locale's business, so only Unicode values are
  // compared there.
  std::wstring WideText, UnicodeText;
  std::string InC, InUtf8;
  for (std::size_t I = 0; I + 2 < Bytes.size(); I += 3) {
    const CodePoint V = static_cast<CodePoint>(
        static_cast<unsigned char>(Bytes[I]) << 16 |
        static_cast<unsigned char>(Bytes[I + 1]) << 8 |
        static_cast<unsigned char>(Bytes[I + 2]));
    char16_t Pair[2] = {0, 0};
    const unsigned Count = GeUnicode::EncodeUtf16(V, Pair);
    if (V < 0x10000)
      Require(Count == 1 && Pair[0] == V);
    else if (V > GeUnicode::MaxCodePoint)
      Require(Count == 0);
    else
      Require(Count == 2 && Pair[0] >= 0xD800 && Pair[0] <= 0xDBFF &&
              Pair[1] >= 0xDC00 && Pair[1] <= 0xDFFF &&
              0x10000 + ((CodePoint(Pair[0]) - 0xD800) << 10) +
                      (CodePoint(Pair[1]) - 0xDC00) ==
                  V);
    if (V == 0)
      continue;
    WideText += static_cast<wchar_t>(V);
    InC += V < 0x80 ? static_cast<char>(V) : '?';
    if (V <= GeUnicode::MaxCodePoint) {
      UnicodeText += static_cast<wchar_t>(V);
      InUtf8 += IsSurrogate(V) ? "?" : ModelUtf8(V);
    }
  }
  Require(GeUnicode::WideToNarrow(WideText, std::locale::classic()) == InC);
  if (Utf8) {
    Require(GeUnicode::WideToNarrow(UnicodeText, *Utf8) == InUtf8);
    GeUnicode::WideToNarrow(WideText, *Utf8);
  }

  if (Settings & 1) {
    const std::string Path = fuzz::ScratchFolder().Path("r\xC3\xA9sum\xC3\xA9 \xF0\x9F\x93\x84.txt");
    // Removed rather than truncated: truncating a file that was just written
    // makes the file system flush it, which costs milliseconds.
    std::remove(Path.c_str());
    testsupport::WriteFile(Path, Bytes);
    GeUnicode::InFileStream In(GeUnicode::Utf8ToUtf16(Path));
    Require(In.IsOpen());
    const std::string Read((std::istreambuf_iterator<char>(In)),
                           std::istreambuf_iterator<char>());
    Require(Read == Bytes);
    In.Close();
    Require(!In.fail());
  }
  return 0;
}
