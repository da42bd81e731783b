// The walk of the command line as the setup run does it: every error of the
// walk and of command files becomes a command-line error of the "Su" table.
#ifndef SETUP_SUWALKREPORTS_H
#define SETUP_SUWALKREPORTS_H

#include "appinterface/SuMessages.h"
#include "cmdline/ClLine.h"

#include <vector>

class ClParser;
class MsConsole;
struct MsFillIns;

/// The "Su" message that holds the text of a walk or command-file error.
SuMessageNumber SuMessageOf(ClLineMessage Message);

/// Reports message Number of the "Su" table as a command-line error at Place.
void SuReportAt(MsConsole &Console, SuMessageNumber Number,
                const ClPlace &Place, const MsFillIns &FillIns);

/// Reports Tokens after the text of message Number, a heading such as
/// "Unexpected command line arguments:", each token after a blank; placed at
/// the first token.
void SuReportTokens(MsConsole &Console, SuMessageNumber Number,
                    const std::vector<ClToken> &Tokens);

/// Walks Line over Root with Settings and answers what the walk gave. An
/// error of the walk (a parse error of an option or of the tree, an unknown
/// option, the initial-dash rule, a command file that cannot be read or is
/// malformed) is reported to Console as a command-line error, and the run
/// ends with MsConsoleException.
ClWalkResult SuWalkCommandLine(MsConsole &Console, const ClLine &Line,
                               ClParser &Root, const ClWalkSettings &Settings);

#endif
