// The walk's errors mapped onto the "Su" messages.
#include "setup/SuWalkReports.h"

#include "cmdline/ClParser.h"
#include "console/MsConsole.h"

#include <cstdint>
#include <string>

namespace {

constexpr bool SameNumber(SuMessageNumber Su, ClLineMessage Cl) {
  return static_cast<std::uint16_t>(Su) == static_cast<std::uint16_t>(Cl);
}

// The command-line reader numbers its messages as the "Su" table does.
static_assert(SameNumber(SuMsgUnexpectedArguments,
                         ClLineMessage::UnexpectedArguments));
static_assert(SameNumber(SuMsgParaBeginsWithMinus,
                         ClLineMessage::ParaBeginsWithMinus));
static_assert(SameNumber(SuMsgCommandFileNotFound,
                         ClLineMessage::CommandFileNotFound));
static_assert(SameNumber(SuMsgCommandFileRecursion,
                         ClLineMessage::CommandFileRecursion));
static_assert(SameNumber(SuMsgUnmatchedQuote, ClLineMessage::UnmatchedQuote));
static_assert(SameNumber(SuMsgUnmatchedSlashStar,
                         ClLineMessage::UnmatchedSlashStar));

} // namespace

SuMessageNumber SuMessageOf(ClLineMessage Message) {
  return static_cast<SuMessageNumber>(Message);
}

void SuReportAt(MsConsole &Console, SuMessageNumber Number,
                const ClPlace &Place, const MsFillIns &FillIns) {
  Console.Report(SuTag(Number), MsConsole::CommandLineError,
                 DiSourceRange(Place.Position), FillIns);
}

void SuReportTokens(MsConsole &Console, SuMessageNumber Number,
                    const std::vector<ClToken> &Tokens) {
  std::string Joined;
  for (const ClToken &Token : Tokens) {
    Joined += ' ';
    Joined += Token.Text;
  }
  MsFillIns FillIns;
  FillIns.Preformatted = true;
  FillIns.Add(Joined);
  SuReportAt(Console, Number, Tokens.empty() ? ClPlace() : Tokens.front().Place,
             FillIns);
}

ClWalkResult SuWalkCommandLine(MsConsole &Console, const ClLine &Line,
                               ClParser &Root, const ClWalkSettings &Settings) {
  try {
    return Line.Walk(Root, Settings);
  } catch (const ClArgParser::ParseError &Error) {
    SuReportAt(Console, SuMsgInternalText2, Error.Place(), {Error.Text()});
  } catch (const ClParser::ParseError &Error) {
    SuReportAt(Console, SuMsgInternalText, Error.Place(), {Error.Text()});
  } catch (const ClLine::UnmatchedError &Error) {
    SuReportTokens(Console, SuMsgUnexpectedArguments, Error.Arguments());
  } catch (const ClLine::ErrorBase &Error) {
    MsFillIns FillIns;
    for (const std::string &Text : Error.FillIns())
      FillIns.Add(Text);
    SuReportAt(Console, SuMessageOf(Error.Message()), Error.Place(), FillIns);
  }
  throw MsConsoleException();
}
