// Fuzz harness of the message content: the format language and the word
// layout, over random formats, fill-ins, widths and start columns.
//
// Input: four setting bytes (width, start column, indentation, the count of
// position fill-ins), then pieces separated by NUL bytes: the format, then
// the string fill-ins.
//
// The internal-failure path, made to throw, is the only way out, and only
// for a format that does not match its fill-ins (the console's own plain
// content must fail on the same input). Otherwise:
//   - the unwrapped text equals the plain content's text;
//   - no line of the wrapped text passes the width;
//   - wrapping only moves blanks and line feeds around.
#include "appinterface/LcMessageContent.h"
#include "console/MsMessageContent.h"
#include "fuzz/FuzzSupport.h"
#include "general/GeInternalFailure.h"
#include "sourcepos/DiSourcePosition.h"
#include "tests/support/FailureScope.h"

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

namespace {

using fuzz::Require;
using FormatDefect = testsupport::InternalFailure;

/// Three lines of "in.c", then the end of the source.
struct Source {
  Source() {
    OgSourceLineSequence::Builder Build(Seq);
    Base = Build.BeginFile(GeRcPtr<DiFile>(new DiFile("dir name/in.c")));
    Build.EndFile(3);
  }
  DiSourceRange Pick(unsigned Which) const {
    switch (Which % 4) {
    case 0:
      return DiSourceRange();
    case 1:
      return DiSourceRange(DiSourcePosition::sEnd);
    default:
      return DiSourceRange(DiSourcePosition(Base + Which % 3, Which, &Seq),
                           DiSourcePosition(Base + 2, Which + 1, &Seq));
    }
  }
  OgSourceLineSequence Seq;
  std::uint32_t Base = 0;
};

std::string Squeezed(const std::string &Text) {
  std::string Result;
  for (char C : Text)
    if (C != ' ' && C != '\n')
      Result += C;
  return Result;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *Data,
                                      std::size_t Size) {
  static Source *Lines = new Source;
  GeSetInternalFailureHandler(&testsupport::ThrowingHandler);
  if (Size < 4)
    return 0;
  std::uint16_t Width = static_cast<std::uint16_t>(Data[0] % 120);
  std::uint32_t Start = Data[1] % 100;
  std::uint32_t Indent = Data[2] % 40;
  unsigned PositionCount = Data[3] % 4;

  std::vector<std::string> Pieces = fuzz::Pieces(Data, Size, 4);
  std::string Format = Pieces[0];
  std::vector<std::string> Strings(Pieces.begin() + 1, Pieces.end());
  std::vector<DiSourceRange> Positions;
  for (unsigned I = 0; I < PositionCount; ++I)
    Positions.push_back(Lines->Pick(Data[3] / 4 + I));

  MsFillIns FillIns;
  FillIns.Strings = Strings;
  FillIns.Positions = Positions;
  bool PlainFailed = false;
  std::string PlainText;
  try {
    PlainText = MsPlainMessageContent(Format, FillIns).Text();
  } catch (const FormatDefect &) {
    PlainFailed = true;
  }

  LcMessageContent Content(Format, Strings, Positions);
  std::string Text;
  try {
    Text = Content.Text();
  } catch (const FormatDefect &) {
    Require(PlainFailed);
    return 0;
  }
  Require(!PlainFailed);
  Require(Text == PlainText);

  std::ostringstream Out;
  Content.Write(Out, Start, Width, Indent);
  std::string Wrapped = Out.str();
  Require(Squeezed(Wrapped) == Squeezed(Text));
  if (Width > Indent + 10 && Start <= Width) {
    std::size_t Column = Start;
    for (char C : Wrapped) {
      if (C == '\n') {
        Column = 0;
        continue;
      }
      ++Column;
      Require(Column <= Width);
    }
  }
  return 0;
}
