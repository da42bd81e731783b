// Saving a UTF-8 text in the encodings a text file written by another program
// may have: plain UTF-8, UTF-8 with a byte-order mark, UTF-16 in either byte
// order with its mark. Self-contained, so that unit tests, end-to-end tests
// and fuzz harnesses can all write such files.
#ifndef TESTS_SUPPORT_GETEXTENCODINGSUPPORT_H
#define TESTS_SUPPORT_GETEXTENCODINGSUPPORT_H

#include <cstdint>
#include <string>

namespace GeTextEncoding {

enum class Encoding { Utf8, Utf8Mark, Utf16Le, Utf16Be };

constexpr Encoding AllEncodings[] = {Encoding::Utf8, Encoding::Utf8Mark,
                                     Encoding::Utf16Le, Encoding::Utf16Be};

inline const char *Name(Encoding E) {
  switch (E) {
  case Encoding::Utf8:
    return "UTF-8";
  case Encoding::Utf8Mark:
    return "UTF-8 with mark";
  case Encoding::Utf16Le:
    return "UTF-16LE";
  case Encoding::Utf16Be:
    return "UTF-16BE";
  }
  return "?";
}

/// Text saved in the encoding E, its mark first. For the UTF-16 forms a byte
/// that starts no well-formed UTF-8 sequence (cut short, overlong, a
/// surrogate, above U+10FFFF) is written as the lone unit 0xDC00 + byte,
/// which no UTF-16 reader accepts.
inline std::string Encode(const std::string &Text, Encoding E) {
  if (E == Encoding::Utf8)
    return Text;
  if (E == Encoding::Utf8Mark)
    return "\xEF\xBB\xBF" + Text;
  const bool Little = E == Encoding::Utf16Le;
  std::string Bytes = Little ? "\xFF\xFE" : "\xFE\xFF";
  const auto Put = [&](std::uint32_t Unit) {
    const char Low = static_cast<char>(Unit & 0xFF);
    const char High = static_cast<char>(Unit >> 8);
    Bytes += Little ? Low : High;
    Bytes += Little ? High : Low;
  };
  for (std::size_t I = 0; I < Text.size();) {
    const auto Lead = static_cast<unsigned char>(Text[I]);
    const std::size_t Length = Lead < 0x80           ? 1
                               : (Lead >> 5) == 0x6  ? 2
                               : (Lead >> 4) == 0xE  ? 3
                               : (Lead >> 3) == 0x1E ? 4
                                                     : 0;
    bool WellFormed = Length != 0 && I + Length <= Text.size();
    std::uint32_t Value =
        Length <= 1 ? Lead : Lead & (0x7Fu >> static_cast<unsigned>(Length));
    for (std::size_t K = 1; WellFormed && K < Length; ++K) {
      const auto Next = static_cast<unsigned char>(Text[I + K]);
      WellFormed = (Next & 0xC0) == 0x80;
      Value = Value << 6 | (Next & 0x3Fu);
    }
    static const std::uint32_t Least[] = {0, 0, 0x80, 0x800, 0x10000};
    WellFormed = WellFormed && Value >= Least[Length] && Value <= 0x10FFFF &&
                 (Value < 0xD800 || Value > 0xDFFF);
    if (!WellFormed) {
      Put(0xDC00 + Lead);
      ++I;
      continue;
    }
    if (Value >= 0x10000) {
      Put(0xD800 + ((Value - 0x10000) >> 10));
      Put(0xDC00 + ((Value - 0x10000) & 0x3FF));
    } else {
      Put(Value);
    }
    I += Length;
  }
  return Bytes;
}

} // namespace GeTextEncoding

#endif
