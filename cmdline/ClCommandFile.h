// The command-file tokenizer and the line sequence of command files.
//
// A command file holds further arguments as plain text: tokens separated by
// blanks, tabs, carriage returns and line feeds; double-quoted stretches that
// may hold separators; block comments "/* */" and line comments "//".
#ifndef CMDLINE_CLCOMMANDFILE_H
#define CMDLINE_CLCOMMANDFILE_H

#include "cmdline/ClToken.h"

#include <cstddef>
#include <cstdint>
#include <istream>
#include <string>
#include <vector>

class OgSourceLineSequence;

/// The process-wide line sequence that every command file read is entered
/// in; positions of command-file tokens point into it. Created on first use
/// and never destroyed, so positions stay printable until the process ends.
OgSourceLineSequence &ClCommandFileLines();

/// Empties the process-wide line sequence. The tool keeps it for its one run;
/// a process that walks many command lines in turn (a test driver, a fuzzer)
/// calls this between walks, once no token of the earlier walks is in use.
void ClResetCommandFileLines();

/// Cuts a command file into tokens, byte by byte with one character of
/// look-ahead.
///
/// Lines start at 1 and count line feeds; columns start at 1 and count
/// characters on the line: every byte except a UTF-8 continuation byte
/// (10xxxxxx) is one column. Tokens stay bytes as they stand. Inside a quoted
/// stretch only the column advances, line feeds included. A token's position is
/// that of its first byte, or of its opening quote when the token begins with a
/// quoted stretch; it is made as line index BaseIndex + line - 1 and the column
/// in the sequence Lines (which may be null for a bare tokenizer).
///
/// The tokenizer reads from the stream's buffer and does not own it.
class ClCommandFileTokenizer {
public:
  /// SizeHint (the file size, 0 when unknown) sizes the read buffer.
  /// FileName is carried in the errors.
  explicit ClCommandFileTokenizer(std::istream &In,
                                  const DiSourceLineSequence *Lines = nullptr,
                                  std::uint32_t BaseIndex = 0,
                                  std::size_t SizeHint = 0,
                                  std::string FileName = std::string());

  /// Skips separators and comments and collects one token into Out. Answers
  /// false at the end of the input with no token in progress. Raises
  /// ClLine::UnmatchedQuoteError and ClLine::UnmatchedSlashStarError.
  bool NextToken(ClToken &Out);

  /// The counters at the current read position.
  std::uint32_t Line() const { return CurLine; }
  std::uint32_t Column() const { return CurColumn; }
  /// Line and column of the token NextToken returned last.
  std::uint32_t TokenLine() const { return StartLine; }
  std::uint32_t TokenColumn() const { return StartColumn; }

  /// All tokens of Text (a convenience for tests and small inputs).
  static std::vector<ClToken> Tokenize(const std::string &Text);

private:
  static constexpr int EndOfFile = -1;

  int Get();
  int Peek();
  bool Refill();
  void MarkStart();
  /// Advances the column past the byte Ch.
  void Step(int Ch);
  void Ordinary(int Ch);
  void ReadQuoted();
  void SkipBlockComment();
  void SkipLineComment();
  ClPlace PlaceAt(std::uint32_t Line, std::uint32_t Column) const;
  bool Finish(ClToken &Out);

  std::streambuf *Source;
  std::vector<char> Chunk;
  std::size_t ChunkPos = 0;
  std::size_t ChunkEnd = 0;
  bool AtEnd = false;

  const DiSourceLineSequence *Sequence;
  std::uint32_t Base;
  std::string Name;

  std::string Buffer;
  std::uint32_t CurLine = 1;
  std::uint32_t CurColumn = 1;
  std::uint32_t StartLine = 1;
  std::uint32_t StartColumn = 1;
};

#endif
