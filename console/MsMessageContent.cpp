// The message content interface and the console's own plain content.
#include "console/MsMessageContent.h"

#include "console/MsFormatScanner.h"
#include "console/MsMessageFormatter.h"

#include <ostream>
#include <sstream>

MsMessageContentInterface::~MsMessageContentInterface() = default;

MsPlainMessageContent::MsPlainMessageContent(std::string FormatText,
                                             const MsFillIns &FillIns)
    : Format(std::move(FormatText)), Strings(FillIns.Strings),
      Positions(FillIns.Positions) {
  if (FillIns.Preformatted) {
    Strings.insert(Strings.begin(), std::move(Format));
    Format = "%s1%s2";
  }
}

void MsPlainMessageContent::Write(std::ostream &Out, std::uint32_t,
                                  std::uint16_t, std::uint32_t) const {
  WriteUnwrapped(Out);
}

void MsPlainMessageContent::WriteUnwrapped(std::ostream &Out) const {
  Out << Text();
}

namespace {

/// Writes a plain content's pieces one after the other into a string.
class PlainText : public MsFormatVisitor {
public:
  void Text(const char *Begin, std::size_t Length) override {
    Result.append(Begin, Length);
  }
  void String(const std::string &Value, char Modifier) override {
    if (Modifier)
      Result += '"' + Value + '"';
    else
      Result += Value;
  }
  void Position(const DiSourceRange &Range, char Modifier) override {
    Result += Modifier ? MsMessageFormatter::VerbosePositionText(Range)
                       : MsMessageFormatter::PlainPositionText(Range);
  }

  std::string Result;
};

const MsFillInFailureTexts PlainFailures = {
    "MsConsole: missing string substitution",
    "MsConsole: missing source position substitution",
    "MsConsole: unused string substitution s"};

} // namespace

std::string MsPlainMessageContent::Text() const {
  PlainText Out;
  MsWalkFormat(Format, Strings, Positions, PlainFailures, Out);
  return std::move(Out.Result);
}
