// A stream buffer that hands out its text a few bytes at a time, and can be
// told to fail part-way: for testing readers and stream adaptors against
// short reads and read errors.
#ifndef TESTS_SUPPORT_PIECEBUF_H
#define TESTS_SUPPORT_PIECEBUF_H

#include <algorithm>
#include <ios>
#include <new>
#include <streambuf>
#include <string>
#include <vector>

namespace testsupport {

/// The read error of a stream device.
struct ReadError : std::ios_base::failure {
  ReadError() : std::ios_base::failure("read error") {}
};

/// Hands out Text in pieces, one piece per underflow, the piece sizes taken
/// in turn from PieceSizes (a size 0 counts as 1; none at all means the
/// whole text at once). From byte FailAt on, instead of handing out more
/// bytes or reporting the end of the input, underflow throws: ReadError, or
/// std::bad_alloc when OutOfMemory is set. The buffer owns its copy of the
/// text.
class PieceBuf : public std::streambuf {
public:
  static constexpr std::size_t NoFailure = std::string::npos;

  PieceBuf(std::string Bytes, std::vector<std::size_t> PieceSizes,
           std::size_t FailurePosition = NoFailure,
           bool FailOutOfMemory = false)
      : Text(std::move(Bytes)), Pieces(std::move(PieceSizes)),
        FailAt(FailurePosition), OutOfMemory(FailOutOfMemory) {
    if (Pieces.empty())
      Pieces.push_back(Text.size());
  }

protected:
  int_type underflow() override {
    if (gptr() != egptr())
      return traits_type::to_int_type(*gptr());
    if (Handed >= FailAt) {
      if (OutOfMemory)
        throw std::bad_alloc();
      throw ReadError();
    }
    if (Handed == Text.size())
      return traits_type::eof();
    std::size_t Size = std::max<std::size_t>(Pieces[Turn++ % Pieces.size()], 1);
    Size = std::min({Size, Text.size() - Handed, FailAt - Handed});
    char *Begin = &Text[Handed];
    setg(Begin, Begin, Begin + Size);
    Handed += Size;
    return traits_type::to_int_type(*Begin);
  }

private:
  std::string Text;
  std::vector<std::size_t> Pieces;
  std::size_t FailAt;
  bool OutOfMemory;
  std::size_t Handed = 0;
  std::size_t Turn = 0;
};

} // namespace testsupport

#endif
