// A strict reader of the IDE line protocol for the tests: it takes a tool's
// standard output apart into protocol lines, other lines and the exit marker,
// and refuses anything that does not follow the protocol byte for byte.
#ifndef TESTS_SUPPORT_WTPROTOCOLPARSER_H
#define TESTS_SUPPORT_WTPROTOCOLPARSER_H

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

namespace wttest {

/// Raised for output that breaks the protocol; says what and where.
struct ProtocolError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// One protocol line, read back.
struct IdeLine {
  enum Kinds { Message, Comment, Dependency, Output, Include };
  Kinds Kind = Message;
  std::uint32_t Version = 0;
  /// Four numbers for a message, two for a comment, none for a file event.
  std::vector<std::uint32_t> Positions;
  /// Messages and comments only.
  std::uint32_t Type = 0;
  bool HasTag = false;
  bool HasPath = false;
  bool HasText = false;
  std::string Tag;
  std::string FilePath;
  std::string Text;
};

/// One line of standard output: a protocol line or any other text.
struct OutputLine {
  bool IsProtocol = false;
  IdeLine Protocol;
  /// The line's text without its line feed, for other lines.
  std::string Plain;
};

/// A whole standard output.
struct IdeOutput {
  std::vector<OutputLine> Lines;
  /// Whether the output ended with " $$TOOL_EXIT" (and nothing after it).
  bool ExitMarker = false;

  /// The protocol lines alone, in order.
  std::vector<IdeLine> ProtocolLines() const {
    std::vector<IdeLine> Result;
    for (const OutputLine &L : Lines)
      if (L.IsProtocol)
        Result.push_back(L.Protocol);
    return Result;
  }
  /// The other lines alone, in order.
  std::vector<std::string> PlainLines() const {
    std::vector<std::string> Result;
    for (const OutputLine &L : Lines)
      if (!L.IsProtocol)
        Result.push_back(L.Plain);
    return Result;
  }
};

/// Reads the items of one protocol line (its line feed removed).
class LineReader {
public:
  explicit LineReader(const std::string &Line) : Text(Line) {}

  IdeLine Read() {
    IdeLine Result;
    Expect("$$TOOL_BEGIN");
    Expect("$$VERSION");
    Result.Version = Number();
    if (Accept("$$MSG_BEGIN")) {
      Result.Kind = IdeLine::Message;
      Expect("$$MSG_POS");
      for (int I = 0; I < 4; ++I)
        Result.Positions.push_back(Number());
      ReadTail(Result);
    } else if (Accept("$$COM_BEGIN")) {
      Result.Kind = IdeLine::Comment;
      Expect("$$COM_POS");
      for (int I = 0; I < 2; ++I)
        Result.Positions.push_back(Number());
      ReadTail(Result);
    } else {
      if (Accept("$$DEP_BEGIN"))
        Result.Kind = IdeLine::Dependency;
      else if (Accept("$$OUT_BEGIN"))
        Result.Kind = IdeLine::Output;
      else if (Accept("$$INC_BEGIN"))
        Result.Kind = IdeLine::Include;
      else
        Fail("unknown line marker");
      if (Accept("$$FILEPATH")) {
        Result.HasPath = true;
        Result.FilePath = Quoted();
      }
      Expect("$$TOOL_END");
    }
    if (At != Text.size())
      Fail("text after $$TOOL_END");
    return Result;
  }

  /// The bytes of one quoted string; the reader must be at its opening
  /// quote. Exposed for the quoting tests.
  std::string Quoted() {
    if (At >= Text.size() || Text[At] != '"')
      Fail("expected an opening quote");
    ++At;
    std::string Result;
    for (;;) {
      if (At >= Text.size())
        Fail("unclosed string");
      char C = Text[At++];
      if (C == '"')
        break;
      if (C == '\b' || C == '\f' || C == '\r' || C == '\n')
        Fail("control character that must be escaped");
      if (C != '\\') {
        Result += C;
        continue;
      }
      if (At >= Text.size())
        Fail("backslash at the end");
      switch (Text[At++]) {
      case 'b':
        Result += '\b';
        break;
      case 'n':
        Result += '\n';
        break;
      case 'f':
        Result += '\f';
        break;
      case 'r':
        Result += '\r';
        break;
      case '"':
        Result += '"';
        break;
      case '\\':
        Result += '\\';
        break;
      default:
        Fail("unknown escape");
      }
    }
    Blank();
    return Result;
  }

  bool AtEnd() const { return At == Text.size(); }

private:
  void ReadTail(IdeLine &Result) {
    Expect("$$TYPE");
    Result.Type = Number();
    if (Accept("$$TAG")) {
      Result.HasTag = true;
      Result.Tag = Quoted();
    }
    if (Accept("$$FILEPATH")) {
      Result.HasPath = true;
      Result.FilePath = Quoted();
    }
    if (Accept("$$TXT_BEGIN")) {
      Result.HasText = true;
      Result.Text = Quoted();
    }
    Expect("$$TOOL_END");
  }

  [[noreturn]] void Fail(const std::string &What) const {
    throw ProtocolError(What + " at byte " + std::to_string(At) + " of \"" +
                        Text + "\"");
  }

  /// Takes Marker and its blank when they come next.
  bool Accept(const std::string &Marker) {
    if (Text.compare(At, Marker.size(), Marker) != 0)
      return false;
    At += Marker.size();
    Blank();
    return true;
  }

  void Expect(const std::string &Marker) {
    if (!Accept(Marker))
      Fail("expected " + Marker);
  }

  void Blank() {
    if (At >= Text.size() || Text[At] != ' ')
      Fail("expected the blank after an item");
    ++At;
  }

  /// A number fill: decimal digits between double quotes, no sign, no
  /// leading zero, within 32 bits.
  std::uint32_t Number() {
    if (At >= Text.size() || Text[At] != '"')
      Fail("expected a number fill");
    ++At;
    std::size_t First = At;
    std::uint64_t Value = 0;
    while (At < Text.size() && Text[At] >= '0' && Text[At] <= '9') {
      Value = Value * 10 + static_cast<std::uint64_t>(Text[At] - '0');
      if (Value > 0xFFFFFFFFu)
        Fail("number out of range");
      ++At;
    }
    if (At == First || At >= Text.size() || Text[At] != '"')
      Fail("malformed number fill");
    if (At - First > 1 && Text[First] == '0')
      Fail("leading zero in a number fill");
    ++At;
    Blank();
    return static_cast<std::uint32_t>(Value);
  }

  const std::string &Text;
  std::size_t At = 0;
};

/// Reads a whole standard output. Lines that start with "$$TOOL_BEGIN" must
/// be protocol lines; other lines are kept as they are. Whatever follows the
/// last line feed must be the exit marker or nothing.
inline IdeOutput ParseIdeOutput(const std::string &Out) {
  IdeOutput Result;
  std::size_t Start = 0;
  for (;;) {
    std::size_t Feed = Out.find('\n', Start);
    if (Feed == std::string::npos)
      break;
    std::string Line = Out.substr(Start, Feed - Start);
    OutputLine Entry;
    if (Line.compare(0, 2, "$$") == 0) {
      Entry.IsProtocol = true;
      Entry.Protocol = LineReader(Line).Read();
    } else {
      if (Line.find("$$") != std::string::npos)
        throw ProtocolError("protocol marker inside other text: \"" + Line +
                            "\"");
      Entry.Plain = Line;
    }
    Result.Lines.push_back(std::move(Entry));
    Start = Feed + 1;
  }
  std::string Rest = Out.substr(Start);
  if (Rest == " $$TOOL_EXIT")
    Result.ExitMarker = true;
  else if (!Rest.empty())
    throw ProtocolError("unexpected text at the end: \"" + Rest + "\"");
  return Result;
}

/// The unquoted text of Quoted (a whole quoted string and its blank).
inline std::string Unquote(const std::string &QuotedAndBlank) {
  LineReader Reader(QuotedAndBlank);
  std::string Result = Reader.Quoted();
  if (!Reader.AtEnd())
    throw ProtocolError("text after the quoted string");
  return Result;
}

} // namespace wttest

#endif
