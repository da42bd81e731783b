// A prototype of the all-checks pass built on a block-scanning manifest
// reader, to measure what line-by-line reading costs the tool:
//
//   chksel_scanproto MANIFEST OUTPUT
//
// writes the same bytes as chksel --manifest=MANIFEST --all --output=OUTPUT.
// The manifest is read through the same Boost.Iostreams stream on a
// file_descriptor_source, but in blocks: line ends are found with memchr
// inside the block, a record is a list of offsets into the block (nothing is
// copied into strings), and the selected names are gathered into one buffer
// that is written out in large pieces. Only the all-checks rules are here.
#include <boost/iostreams/device/file_descriptor.hpp>
#include <boost/iostreams/stream.hpp>

#include <array>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <exception>
#include <istream>
#include <string>
#include <string_view>
#include <vector>

namespace {

namespace io = boost::iostreams;

/// Reads records of key=value lines from a stream in blocks. A record's
/// lines are offsets into the block buffer; the buffer keeps the current
/// record from its first line on, moving it to the front when it refills and
/// growing when one record does not fit. Reading rules: "\n" or "\r\n" line
/// ends; lines without "=", with an empty key or an empty value dropped;
/// empty lines end a record and are skipped before one.
class BlockReader {
public:
  struct Pair {
    std::size_t Key;
    std::size_t Eq;
    std::size_t End;
  };

  explicit BlockReader(std::istream &Stream) : In(Stream), Buffer(BlockSize) {}

  /// Reads the next record. Answers false when the record was ended by the
  /// end of the input rather than by an empty line.
  bool ReadRecord() {
    Pairs.clear();
    RecordStart = Begin;
    std::size_t LineStart, LineEnd;
    for (;;) {
      if (!ReadLine(LineStart, LineEnd))
        return false;
      if (LineEnd > LineStart && Buffer[LineEnd - 1] == '\r')
        --LineEnd;
      if (LineEnd == LineStart) {
        if (!Pairs.empty())
          return true;
        RecordStart = Begin;
        continue;
      }
      const char *Line = Buffer.data() + LineStart;
      const void *Eq = std::memchr(Line, '=', LineEnd - LineStart);
      if (!Eq)
        continue;
      std::size_t EqAt = static_cast<std::size_t>(
          static_cast<const char *>(Eq) - Buffer.data());
      if (EqAt == LineStart || EqAt + 1 == LineEnd)
        continue;
      Pairs.push_back({LineStart, EqAt, LineEnd});
    }
  }

  std::size_t size() const { return Pairs.size(); }
  std::string_view Key(std::size_t I) const {
    return {Buffer.data() + Pairs[I].Key, Pairs[I].Eq - Pairs[I].Key};
  }
  std::string_view Value(std::size_t I) const {
    return {Buffer.data() + Pairs[I].Eq + 1, Pairs[I].End - Pairs[I].Eq - 1};
  }

private:
  static constexpr std::size_t BlockSize = 256 * 1024;

  /// The next line as [LineStart, LineEnd) without its "\n"; false when the
  /// input is exhausted.
  bool ReadLine(std::size_t &LineStart, std::size_t &LineEnd) {
    for (;;) {
      const void *Newline =
          std::memchr(Buffer.data() + Begin, '\n', Filled - Begin);
      if (Newline) {
        LineStart = Begin;
        LineEnd = static_cast<std::size_t>(static_cast<const char *>(Newline) -
                                           Buffer.data());
        Begin = LineEnd + 1;
        return true;
      }
      if (AtEof || !Refill()) {
        if (Begin == Filled)
          return false;
        LineStart = Begin;
        LineEnd = Filled;
        Begin = Filled;
        return true;
      }
    }
  }

  /// Moves the current record to the front (or grows the buffer) and reads
  /// more; false at the end of the input.
  bool Refill() {
    std::size_t Shift = RecordStart;
    if (Shift != 0) {
      std::memmove(Buffer.data(), Buffer.data() + Shift, Filled - Shift);
      for (Pair &P : Pairs) {
        P.Key -= Shift;
        P.Eq -= Shift;
        P.End -= Shift;
      }
      RecordStart = 0;
      Begin -= Shift;
      Filled -= Shift;
    }
    if (Filled == Buffer.size())
      Buffer.resize(Buffer.size() * 2);
    std::streamsize Got =
        In.rdbuf()->sgetn(Buffer.data() + Filled,
                          static_cast<std::streamsize>(Buffer.size() - Filled));
    if (Got <= 0) {
      AtEof = true;
      return false;
    }
    Filled += static_cast<std::size_t>(Got);
    return true;
  }

  std::istream &In;
  std::vector<char> Buffer;
  std::size_t RecordStart = 0;
  std::size_t Begin = 0;
  std::size_t Filled = 0;
  bool AtEof = false;
  std::vector<Pair> Pairs;
};

/// Whole-string comparison without regard to case, by the classic locale.
class Caseless {
public:
  Caseless() {
    for (std::size_t I = 0; I < Upper.size(); ++I)
      Upper[I] = static_cast<char>(std::toupper(static_cast<int>(I)));
  }
  bool Equal(std::string_view A, std::string_view B) const {
    if (A.size() != B.size())
      return false;
    for (std::size_t I = 0; I < A.size(); ++I)
      if (Upper[static_cast<unsigned char>(A[I])] !=
          Upper[static_cast<unsigned char>(B[I])])
        return false;
    return true;
  }

private:
  std::array<char, 256> Upper;
};

/// The all-checks rules over the reader's current record: appends the
/// selected name and "\n" to Out.
void SelectAll(const BlockReader &Reader, const Caseless &Compare,
               std::string &Out) {
  std::string_view Pending;
  bool Selected = false;
  for (std::size_t I = 0; I < Reader.size(); ++I) {
    std::string_view Key = Reader.Key(I);
    if (Compare.Equal(Key, "checkname")) {
      Pending = Reader.Value(I);
      Selected = true;
    } else if (Compare.Equal(Key, "visible") &&
               Compare.Equal(Reader.Value(I), "no")) {
      Selected = false;
    }
  }
  if (Selected && !Pending.empty()) {
    Out.append(Pending);
    Out.push_back('\n');
  }
}

} // namespace

int main(int Argc, char **Argv) {
  if (Argc != 3) {
    std::fprintf(stderr, "usage: chksel_scanproto MANIFEST OUTPUT\n");
    return 2;
  }
  try {
    io::stream<io::file_descriptor_sink> Output(
        io::file_descriptor_sink(Argv[2], std::ios_base::out |
                                              std::ios_base::binary |
                                              std::ios_base::trunc),
        64 * 1024);
    io::stream<io::file_descriptor_source> Manifest(
        io::file_descriptor_source(Argv[1],
                                   std::ios_base::in | std::ios_base::binary),
        64 * 1024);
    BlockReader Reader(Manifest);
    Caseless Compare;
    std::string Out;
    constexpr std::size_t FlushAt = 64 * 1024;
    Out.reserve(FlushAt + 4096);
    auto Flush = [&] {
      Output.write(Out.data(), static_cast<std::streamsize>(Out.size()));
      Out.clear();
    };
    // The first record counts even when the input ends right after it; a
    // later one only when an empty line ends it.
    Reader.ReadRecord();
    do {
      SelectAll(Reader, Compare, Out);
      if (Out.size() >= FlushAt)
        Flush();
    } while (Reader.ReadRecord());
    Flush();
    Output.close();
  } catch (const std::exception &E) {
    std::fprintf(stderr, "chksel_scanproto: %s\n", E.what());
    return 1;
  }
  return 0;
}
