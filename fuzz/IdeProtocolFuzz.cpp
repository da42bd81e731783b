// Fuzz harness of the IDE protocol line writer: every line written is read
// back by the strict protocol reader of the tests, and must give back
// exactly the fields it was written from, on one line.
//
// Input: a settings byte (the line kind), six 32-bit numbers (level, type,
// four positions), then pieces separated by NUL bytes: text, tag, path.
#include "fuzz/FuzzSupport.h"
#include "ideagent/WtProtocol.h"
#include "tests/support/WtProtocolParser.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {

using fuzz::Require;

std::uint32_t Number(const std::uint8_t *Data, std::size_t Size,
                     std::size_t At) {
  std::uint32_t Value = 0;
  for (std::size_t I = 0; I < 4; ++I)
    Value = Value << 8 | (At + I < Size ? Data[At + I] : 0u);
  return Value;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *Data,
                                      std::size_t Size) {
  if (Size == 0)
    return 0;
  const unsigned Kind = Data[0] % 5;
  std::uint32_t N[6];
  for (std::size_t I = 0; I < 6; ++I)
    N[I] = Number(Data, Size, 1 + 4 * I);
  std::vector<std::string> Fields = fuzz::Pieces(Data, Size, Size < 25 ? Size : 25);
  Fields.resize(3);
  const std::string &Text = Fields[0];
  const std::string &Tag = Fields[1];
  const std::string &Path = Fields[2];

  // A quoted string alone reads back to its bytes.
  std::string Quoted;
  WtAppendQuoted(Quoted, Text);
  Require(wttest::Unquote(Quoted + " ") == Text);

  std::string Line = "kept";
  wttest::IdeLine Expected;
  Expected.Version = N[0];
  switch (Kind) {
  case 0:
    WtAppendMessageLine(Line, N[0], N[1], Text, Tag, Path, N[2], N[3], N[4],
                        N[5]);
    Expected.Kind = wttest::IdeLine::Message;
    Expected.Positions = {N[2], N[3], N[4], N[5]};
    break;
  case 1:
    WtAppendCommentLine(Line, N[0], N[1], Text, Tag, Path, N[2], N[3]);
    Expected.Kind = wttest::IdeLine::Comment;
    Expected.Positions = {N[2], N[3]};
    break;
  default: {
    const WtFileEvent Events[] = {WtFileEvent::Dependency, WtFileEvent::Output,
                                  WtFileEvent::Include};
    const wttest::IdeLine::Kinds Kinds[] = {wttest::IdeLine::Dependency,
                                            wttest::IdeLine::Output,
                                            wttest::IdeLine::Include};
    WtAppendFileEventLine(Line, N[0], Events[Kind - 2], Path);
    Expected.Kind = Kinds[Kind - 2];
    break;
  }
  }
  const bool Message = Kind < 2;
  if (Message) {
    Expected.Type = N[1];
    Expected.HasTag = !Tag.empty();
    Expected.Tag = Tag;
    Expected.HasText = !Text.empty();
    Expected.Text = Text;
  }
  Expected.HasPath = !Path.empty();
  Expected.FilePath = Path;

  // Appended to what was there; one line, ending in a blank and a line feed.
  Require(Line.compare(0, 4, "kept") == 0);
  Line.erase(0, 4);
  Require(Line.size() > 2 && Line.compare(Line.size() - 2, 2, " \n") == 0);
  Require(Line.find('\n') == Line.size() - 1);

  const wttest::IdeOutput Output = wttest::ParseIdeOutput(Line);
  Require(Output.Lines.size() == 1 && Output.Lines[0].IsProtocol &&
          !Output.ExitMarker);
  const wttest::IdeLine &Got = Output.Lines[0].Protocol;
  Require(Got.Kind == Expected.Kind);
  Require(Got.Version == Expected.Version);
  Require(Got.Positions == Expected.Positions);
  Require(Got.Type == Expected.Type);
  Require(Got.HasTag == Expected.HasTag && Got.Tag == Expected.Tag);
  Require(Got.HasPath == Expected.HasPath && Got.FilePath == Expected.FilePath);
  Require(Got.HasText == Expected.HasText && Got.Text == Expected.Text);
  return 0;
}
