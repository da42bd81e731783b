// Reading files named by Unicode paths, and the small conversions between
// UTF-8, UTF-16 and the narrow character set of the current locale that go
// with it.
//
// Paths are held as UTF-16 (std::u16string) where they come from a wide
// source; on this platform a file is opened by the UTF-8 form of its path.
// Conversions between UTF-8 and UTF-16 are lossless for any byte string: a
// byte that is not part of a well-formed UTF-8 sequence becomes the lone
// surrogate U+DC00 + byte in UTF-16 and turns back into that byte, so a file
// name taken from the command line survives the trip to a wide path and back.
#ifndef GENERAL_GEUNICODE_H
#define GENERAL_GEUNICODE_H

#include <cstdint>
#include <fstream>
#include <istream>
#include <locale>
#include <string>

namespace GeUnicode {

/// A decoded value. Sequences with six continuation bytes carry up to 36
/// bits, so the type is wider than a Unicode code point needs.
using CodePoint = std::uint64_t;

/// The largest code point that UTF-16 can encode.
constexpr CodePoint MaxCodePoint = 0x10FFFF;

/// Decodes one UTF-8 sequence starting at Pos, not reading at or past End.
/// Answers whether the sequence is valid; when it is, Value holds the decoded
/// value. A byte below 0x80 is itself; 0x80-0xBF is invalid; a lead byte
/// takes one continuation byte (10xxxxxx) per further leading one bit, at most
/// six. Overlong forms and surrogate values are not checked.
///
/// Pos is advanced past the bytes taken: the whole sequence when it is valid;
/// otherwise past the lead byte and the continuation bytes accepted before
/// the failure (the offending byte is not taken). An empty range leaves Pos
/// unchanged.
bool DecodeUtf8(const char *&Pos, const char *End, CodePoint &Value);

/// Encodes Value as UTF-16 into Units and answers the number of units
/// written: 1 below 0x10000, 2 (a surrogate pair) up to 0x10FFFF, and 0 for
/// larger values, which cannot be encoded. Values of the surrogate range are
/// written as one unit as they stand.
unsigned EncodeUtf16(CodePoint Value, char16_t Units[2]);

/// Converts UTF-8 to UTF-16. A byte that does not start a well-formed
/// sequence (invalid, overlong, a surrogate, above 0x10FFFF) becomes the unit
/// 0xDC00 + byte, and decoding resumes at the next byte.
std::u16string Utf8ToUtf16(const std::string &Text);

/// Converts UTF-16 to UTF-8. Surrogate pairs are combined; a lone unit
/// 0xDC80-0xDCFF becomes the byte it stands for (see Utf8ToUtf16); any other
/// lone surrogate is written as the three-byte form of its value.
std::string Utf16ToUtf8(const std::u16string &Text);

/// The text of a file's bytes as UTF-8, chosen by the byte-order mark the
/// bytes start with: after a UTF-8 mark (EF BB BF) the rest as it stands;
/// after a UTF-16 mark (FF FE little-endian, FE FF big-endian) the rest
/// decoded from UTF-16; without a mark every byte as it stands. Answers false
/// for malformed UTF-16 (an odd number of bytes, a surrogate that is not part
/// of a pair); Text is unspecified then. Only a mark at the very start
/// counts: a U+FEFF further on is an ordinary character.
bool DecodeMarkedText(const std::string &Bytes, std::string &Text);

/// Converts wide text to the narrow character set of Locale (the global
/// locale by default; UTF-8 for a UTF-8 locale). Each wide character that the
/// locale cannot represent becomes one "?". Never fails.
std::string WideToNarrow(const std::wstring &Text,
                         const std::locale &Locale = std::locale());

/// The locale named Name. Throws std::runtime_error with the text
/// "bad locale name" when there is no such locale.
std::locale MakeLocale(const std::string &Name);

/// A narrow input stream over a file, owning its file buffer and nothing
/// else. The file is opened for reading in binary mode, so bytes arrive as
/// they are stored: no line-end translation, and a byte-order mark is not
/// skipped. If the file cannot be opened the stream is constructed all the
/// same with its fail state set; no message is produced.
class InFileStream : public std::istream {
public:
  /// Opens the file named by a UTF-16 path.
  explicit InFileStream(const std::u16string &Path);
  /// Opens the file named by a UTF-8 path.
  explicit InFileStream(const std::string &Path);
  ~InFileStream() override;

  InFileStream(const InFileStream &) = delete;
  InFileStream &operator=(const InFileStream &) = delete;

  bool IsOpen() const { return Buffer.is_open(); }
  /// Closes the file; sets the fail state if closing fails.
  void Close();
  std::filebuf *FileBuf() { return &Buffer; }

private:
  void Open(const std::string &Utf8Path);

  std::filebuf Buffer;
};

} // namespace GeUnicode

#endif
