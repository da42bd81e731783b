// The command-file tokenizer, the reader that decodes a file and enters it
// in the line sequence, and that sequence.
#include "cmdline/ClCommandFile.h"

#include "cmdline/ClLine.h"
#include "general/GeUnicode.h"
#include "sourcepos/DiSourcePosition.h"

#include <algorithm>
#include <sstream>

namespace {

/// The read buffer size when the size of the input is unknown, and the
/// largest one used for a known size.
constexpr std::size_t DefaultChunk = 4096;
constexpr std::size_t LargestChunk = 65536;

/// Room the token buffer starts with.
constexpr std::size_t InitialTokenRoom = 100;

/// The number of bytes from the current position of In to its end, or 0
/// when the stream cannot tell.
std::size_t RemainingSize(std::istream &In) {
  std::streambuf *Buf = In.rdbuf();
  if (!Buf)
    return 0;
  const std::streampos Failed(std::streamoff(-1));
  const std::streampos Here =
      Buf->pubseekoff(0, std::ios_base::cur, std::ios_base::in);
  if (Here == Failed)
    return 0;
  const std::streampos End =
      Buf->pubseekoff(0, std::ios_base::end, std::ios_base::in);
  Buf->pubseekpos(Here, std::ios_base::in);
  if (End == Failed || End < Here)
    return 0;
  return static_cast<std::size_t>(End - Here);
}

} // namespace

OgSourceLineSequence &ClCommandFileLines() {
  // Never destroyed: diagnostics queued until the end of the process may
  // still print positions of command-file tokens.
  static OgSourceLineSequence *Lines = new OgSourceLineSequence;
  return *Lines;
}

void ClResetCommandFileLines() { ClCommandFileLines().Clear(); }

ClCommandFileTokenizer::ClCommandFileTokenizer(
    std::istream &In, const DiSourceLineSequence *Lines,
    std::uint32_t BaseIndex, std::size_t SizeHint, std::string FileName)
    : Source(In.rdbuf()), Sequence(Lines), Base(BaseIndex),
      Name(std::move(FileName)) {
  const std::size_t ChunkSize =
      SizeHint == 0 ? DefaultChunk : std::min(SizeHint + 1, LargestChunk);
  Chunk.resize(ChunkSize);
  Buffer.reserve(InitialTokenRoom);
}

bool ClCommandFileTokenizer::Refill() {
  if (AtEnd || !Source)
    return false;
  const std::streamsize Got =
      Source->sgetn(Chunk.data(), static_cast<std::streamsize>(Chunk.size()));
  if (Got <= 0) {
    AtEnd = true;
    return false;
  }
  ChunkPos = 0;
  ChunkEnd = static_cast<std::size_t>(Got);
  return true;
}

int ClCommandFileTokenizer::Get() {
  if (ChunkPos == ChunkEnd && !Refill())
    return EndOfFile;
  return static_cast<unsigned char>(Chunk[ChunkPos++]);
}

int ClCommandFileTokenizer::Peek() {
  if (ChunkPos == ChunkEnd && !Refill())
    return EndOfFile;
  return static_cast<unsigned char>(Chunk[ChunkPos]);
}

void ClCommandFileTokenizer::MarkStart() {
  StartLine = CurLine;
  StartColumn = CurColumn;
}

void ClCommandFileTokenizer::Step(int Ch) {
  // A UTF-8 continuation byte belongs to the character before it.
  if ((Ch & 0xC0) != 0x80)
    ++CurColumn;
}

void ClCommandFileTokenizer::Ordinary(int Ch) {
  if (Buffer.empty())
    MarkStart();
  Buffer.push_back(static_cast<char>(Ch));
  Step(Ch);
}

ClPlace ClCommandFileTokenizer::PlaceAt(std::uint32_t Line,
                                        std::uint32_t Column) const {
  return ClPlace(DiSourcePosition(Base + Line - 1, Column, Sequence));
}

void ClCommandFileTokenizer::ReadQuoted() {
  const std::uint32_t QuoteLine = CurLine;
  const std::uint32_t QuoteColumn = CurColumn;
  ++CurColumn;
  for (;;) {
    int Ch = Get();
    if (Ch == EndOfFile)
      throw ClLine::UnmatchedQuoteError(Name, PlaceAt(QuoteLine, QuoteColumn));
    Step(Ch);
    if (Ch == '"') {
      if (Peek() != '"')
        return;
      Get();
      ++CurColumn;
      Buffer.push_back('"');
      continue;
    }
    if (Ch == '\\') {
      if (Peek() == '"') {
        Get();
        ++CurColumn;
        Buffer.push_back('"');
        continue;
      }
      Buffer.push_back('\\');
      Ch = Get();
      if (Ch == EndOfFile)
        throw ClLine::UnmatchedQuoteError(Name,
                                          PlaceAt(QuoteLine, QuoteColumn));
      Step(Ch);
    }
    Buffer.push_back(static_cast<char>(Ch));
  }
}

void ClCommandFileTokenizer::SkipBlockComment() {
  const std::uint32_t CommentLine = CurLine;
  const std::uint32_t CommentColumn = CurColumn;
  Get(); // the "*"
  CurColumn += 2;
  for (;;) {
    const int Ch = Get();
    if (Ch == EndOfFile)
      throw ClLine::UnmatchedSlashStarError(
          Name, PlaceAt(CommentLine, CommentColumn));
    if (Ch == '\n') {
      ++CurLine;
      CurColumn = 1;
      continue;
    }
    Step(Ch);
    if (Ch == '*' && Peek() == '/') {
      Get();
      ++CurColumn;
      return;
    }
  }
}

void ClCommandFileTokenizer::SkipLineComment() {
  ++CurColumn; // the first "/"
  for (int Ch = Peek(); Ch != EndOfFile && Ch != '\n'; Ch = Peek()) {
    Get();
    Step(Ch);
  }
}

bool ClCommandFileTokenizer::Finish(ClToken &Out) {
  Out.Text = Buffer;
  Out.Place = PlaceAt(StartLine, StartColumn);
  return true;
}

bool ClCommandFileTokenizer::NextToken(ClToken &Out) {
  Buffer.clear();
  for (;;) {
    const int Ch = Get();
    switch (Ch) {
    case EndOfFile:
      return !Buffer.empty() && Finish(Out);
    case ' ':
    case '\t':
    case '\r':
      ++CurColumn;
      if (!Buffer.empty())
        return Finish(Out);
      break;
    case '\n':
      ++CurLine;
      CurColumn = 1;
      if (!Buffer.empty())
        return Finish(Out);
      break;
    case '"':
      if (Buffer.empty())
        MarkStart();
      ReadQuoted();
      break;
    case '/': {
      const int Next = Peek();
      if (Next == '*') {
        SkipBlockComment();
        if (!Buffer.empty())
          return Finish(Out);
      } else if (Next == '/') {
        SkipLineComment();
        if (!Buffer.empty())
          return Finish(Out);
      } else {
        Ordinary(Ch);
      }
      break;
    }
    default:
      Ordinary(Ch);
      break;
    }
  }
}

std::vector<ClToken> ClCommandFileTokenizer::Tokenize(const std::string &Text) {
  std::istringstream In(Text);
  ClCommandFileTokenizer Tokenizer(In, nullptr, 0, Text.size());
  std::vector<ClToken> Tokens;
  ClToken Token;
  while (Tokenizer.NextToken(Token))
    Tokens.push_back(Token);
  return Tokens;
}

std::string ClLine::ReadCommandFileText(std::istream &In,
                                        const std::string &Name,
                                        const ClPlace &OptionPlace) {
  std::string Bytes;
  if (std::streambuf *Source = In.rdbuf()) {
    Bytes.resize(std::max(RemainingSize(In), DefaultChunk));
    std::size_t Filled = 0;
    for (;;) {
      if (Filled == Bytes.size())
        Bytes.resize(Bytes.size() * 2);
      const std::streamsize Got = Source->sgetn(
          &Bytes[Filled], static_cast<std::streamsize>(Bytes.size() - Filled));
      if (Got <= 0)
        break;
      Filled += static_cast<std::size_t>(Got);
    }
    Bytes.resize(Filled);
  }
  std::string Text;
  if (!GeUnicode::DecodeMarkedText(Bytes, Text))
    throw CommandFileNotFound(Name, OptionPlace);
  return Text;
}

std::vector<ClToken> ClLine::TokenizeCommandFile(const std::string &Text,
                                                 const std::string &Name) {
  OgSourceLineSequence &Lines = ClCommandFileLines();
  OgSourceLineSequence::Builder Build(Lines);
  const std::uint32_t Base = Build.BeginFile(GeRcPtr<DiFile>(new DiFile(Name)));
  std::istringstream In(Text);
  ClCommandFileTokenizer Tokenizer(In, &Lines, Base, Text.size(), Name);
  std::vector<ClToken> Tokens;
  try {
    ClToken Token;
    while (Tokenizer.NextToken(Token))
      Tokens.push_back(Token);
  } catch (...) {
    Build.EndFile(Tokenizer.Line());
    throw;
  }
  Build.EndFile(Tokenizer.Line());
  return Tokens;
}

std::vector<ClToken> ClLine::ReadCommandFile(std::istream &In,
                                             const std::string &Name) {
  return TokenizeCommandFile(ReadCommandFileText(In, Name, ClPlace()), Name);
}
