// UTF-8 / UTF-16 / locale conversions and the Unicode-path input file stream.
#include "general/GeUnicode.h"

#include <algorithm>
#include <cwchar>
#include <stdexcept>

namespace GeUnicode {

namespace {

constexpr char16_t EscapeBase = 0xDC00;

bool IsContinuation(unsigned char Byte) { return (Byte & 0xC0) == 0x80; }

/// The number of bytes of the shortest UTF-8 form of Value (up to 0x10FFFF).
std::ptrdiff_t ShortestUtf8Length(CodePoint Value) {
  if (Value < 0x80)
    return 1;
  if (Value < 0x800)
    return 2;
  if (Value < 0x10000)
    return 3;
  return 4;
}

void AppendUtf8(CodePoint Value, std::string &Out) {
  if (Value < 0x80) {
    Out += static_cast<char>(Value);
  } else if (Value < 0x800) {
    Out += static_cast<char>(0xC0 | (Value >> 6));
    Out += static_cast<char>(0x80 | (Value & 0x3F));
  } else if (Value < 0x10000) {
    Out += static_cast<char>(0xE0 | (Value >> 12));
    Out += static_cast<char>(0x80 | ((Value >> 6) & 0x3F));
    Out += static_cast<char>(0x80 | (Value & 0x3F));
  } else {
    Out += static_cast<char>(0xF0 | (Value >> 18));
    Out += static_cast<char>(0x80 | ((Value >> 12) & 0x3F));
    Out += static_cast<char>(0x80 | ((Value >> 6) & 0x3F));
    Out += static_cast<char>(0x80 | (Value & 0x3F));
  }
}

} // namespace

bool DecodeUtf8(const char *&Pos, const char *End, CodePoint &Value) {
  if (Pos >= End)
    return false;
  const auto Lead = static_cast<unsigned char>(*Pos++);
  if (Lead < 0x80) {
    Value = Lead;
    return true;
  }
  if (Lead < 0xC0)
    return false;
  // Result holds the lead byte's remaining bits followed by the six bits of
  // each continuation byte taken; LeadBit marks, within Result, the lead bit
  // that decides whether one more continuation byte follows.
  CodePoint Result = Lead & 0x7F;
  CodePoint LeadBit = 0x40;
  int Taken = 0;
  while (Result & LeadBit) {
    if (Taken == 6 || Pos >= End)
      return false;
    const auto Next = static_cast<unsigned char>(*Pos);
    if (!IsContinuation(Next))
      return false;
    ++Pos;
    ++Taken;
    Result = ((Result & ~LeadBit) << 6) | (Next & 0x3F);
    LeadBit <<= 5;
  }
  Value = Result;
  return true;
}

unsigned EncodeUtf16(CodePoint Value, char16_t Units[2]) {
  if (Value < 0x10000) {
    Units[0] = static_cast<char16_t>(Value);
    return 1;
  }
  if (Value > MaxCodePoint)
    return 0;
  const CodePoint Offset = Value - 0x10000;
  Units[0] = static_cast<char16_t>(0xD800 | (Offset >> 10));
  Units[1] = static_cast<char16_t>(0xDC00 | (Offset & 0x3FF));
  return 2;
}

std::u16string Utf8ToUtf16(const std::string &Text) {
  std::u16string Out;
  Out.reserve(Text.size());
  const char *Pos = Text.data();
  const char *const End = Pos + Text.size();
  while (Pos < End) {
    const char *const Start = Pos;
    CodePoint Value = 0;
    char16_t Units[2];
    unsigned Count = 0;
    if (DecodeUtf8(Pos, End, Value) &&
        Pos - Start == ShortestUtf8Length(Value) &&
        (Value < 0xD800 || Value > 0xDFFF))
      Count = EncodeUtf16(Value, Units);
    if (Count == 0) {
      Out += static_cast<char16_t>(EscapeBase +
                                   static_cast<unsigned char>(*Start));
      Pos = Start + 1;
      continue;
    }
    Out.append(Units, Count);
  }
  return Out;
}

std::string Utf16ToUtf8(const std::u16string &Text) {
  std::string Out;
  Out.reserve(Text.size());
  for (std::size_t I = 0, N = Text.size(); I < N; ++I) {
    const char16_t Unit = Text[I];
    if (Unit >= 0xD800 && Unit <= 0xDBFF && I + 1 < N &&
        Text[I + 1] >= 0xDC00 && Text[I + 1] <= 0xDFFF) {
      AppendUtf8(0x10000 + ((CodePoint(Unit) - 0xD800) << 10) +
                     (CodePoint(Text[I + 1]) - 0xDC00),
                 Out);
      ++I;
    } else if (Unit >= EscapeBase + 0x80 && Unit <= EscapeBase + 0xFF) {
      Out += static_cast<char>(Unit - EscapeBase);
    } else {
      AppendUtf8(Unit, Out);
    }
  }
  return Out;
}

bool DecodeMarkedText(const std::string &Bytes, std::string &Text) {
  const auto Byte = [&Bytes](std::size_t I) {
    return static_cast<unsigned char>(Bytes[I]);
  };
  const bool Little = Bytes.size() >= 2 && Byte(0) == 0xFF && Byte(1) == 0xFE;
  const bool Big = Bytes.size() >= 2 && Byte(0) == 0xFE && Byte(1) == 0xFF;
  if (!Little && !Big) {
    const bool Utf8Mark = Bytes.size() >= 3 && Byte(0) == 0xEF &&
                          Byte(1) == 0xBB && Byte(2) == 0xBF;
    Text.assign(Bytes, Utf8Mark ? 3 : 0, std::string::npos);
    return true;
  }
  if (Bytes.size() % 2 != 0)
    return false;
  const auto Unit = [&](std::size_t I) {
    const char16_t First = Byte(I);
    const char16_t Second = Byte(I + 1);
    return static_cast<char16_t>(Little ? First | Second << 8
                                        : First << 8 | Second);
  };
  Text.clear();
  Text.reserve(Bytes.size());
  for (std::size_t I = 2, N = Bytes.size(); I < N; I += 2) {
    const char16_t High = Unit(I);
    if (High < 0xD800 || High > 0xDFFF) {
      AppendUtf8(High, Text);
      continue;
    }
    if (High > 0xDBFF || I + 2 >= N)
      return false;
    const char16_t Low = Unit(I + 2);
    if (Low < 0xDC00 || Low > 0xDFFF)
      return false;
    AppendUtf8(0x10000 + ((CodePoint(High) - 0xD800) << 10) +
                   (CodePoint(Low) - 0xDC00),
               Text);
    I += 2;
  }
  return true;
}

std::string WideToNarrow(const std::wstring &Text, const std::locale &Locale) {
  using Codecvt = std::codecvt<wchar_t, char, std::mbstate_t>;
  const Codecvt &Cvt = std::use_facet<Codecvt>(Locale);
  // Room for one character and the "a" that follows a tag character.
  std::string Bytes(
      2 * static_cast<std::size_t>(std::max(Cvt.max_length(), 1)), '\0');

  // One character at a time, so that each one that cannot be written gives
  // its own "?". glibc's converters to a narrow set without them pass over
  // the tag characters U+E0000-U+E007F without a word (and fail an assertion
  // when a piece holds nothing else), so a tag character is converted
  // together with an "a", whose byte is then taken off again.
  std::string Out;
  Out.reserve(Text.size());
  std::mbstate_t State{};
  for (const wchar_t &Ch : Text) {
    const bool Tag = (static_cast<std::uint32_t>(Ch) >> 7) == (0xE0000u >> 7);
    const wchar_t Piece[2] = {Ch, L'a'};
    const wchar_t *const PieceEnd = Piece + (Tag ? 2 : 1);
    const std::mbstate_t Before = State;
    const wchar_t *FromNext = Piece;
    char *ToNext = &Bytes[0];
    const std::codecvt_base::result Result =
        Cvt.out(State, Piece, PieceEnd, FromNext, &Bytes[0],
                &Bytes[0] + Bytes.size(), ToNext);
    std::size_t Length = static_cast<std::size_t>(ToNext - &Bytes[0]);
    if (Result == std::codecvt_base::noconv) {
      Out += static_cast<char>(Ch);
      continue;
    }
    bool Written = Result == std::codecvt_base::ok && FromNext == PieceEnd;
    if (Written && Tag) {
      Written = Length >= 2 && Bytes[Length - 1] == 'a';
      --Length;
    }
    if (Written && Length != 0) {
      Out.append(Bytes.data(), Length);
    } else {
      Out += '?';
      State = Before;
    }
  }
  return Out;
}

std::locale MakeLocale(const std::string &Name) {
  try {
    return std::locale(Name.c_str());
  } catch (const std::runtime_error &) {
    throw std::runtime_error("bad locale name");
  }
}

InFileStream::InFileStream(const std::u16string &Path) : std::istream(nullptr) {
  init(&Buffer);
  Open(Utf16ToUtf8(Path));
}

InFileStream::InFileStream(const std::string &Path) : std::istream(nullptr) {
  init(&Buffer);
  Open(Path);
}

InFileStream::~InFileStream() = default;

void InFileStream::Open(const std::string &Utf8Path) {
  if (!Buffer.open(Utf8Path, std::ios::in | std::ios::binary))
    setstate(std::ios::failbit);
}

void InFileStream::Close() {
  if (!Buffer.close())
    setstate(std::ios::failbit);
}

} // namespace GeUnicode
