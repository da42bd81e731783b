// The framework's dump options: the diagnostic message tables
// (diagnostics_tables) and one command line per source file (distribute_mfc),
// and the naming rule of the files they write.
#ifndef SETUP_SUDUMPS_H
#define SETUP_SUDUMPS_H

#include <ostream>
#include <string>
#include <vector>

class MsConsole;
struct ClWalkResult;

/// The file an output option names: Value itself, with DefaultExtension added
/// when it has no extension; or, when Value names an existing directory,
/// DefaultName and DefaultExtension inside it.
std::string SuOutputFileName(const std::string &Value,
                             const std::string &DefaultName,
                             const std::string &DefaultExtension);

/// Whether a word of a distribute_mfc line can be written bare.
bool SuIsBareWord(const std::string &Word);
/// Writes one distribute_mfc line: the common words, a blank and the source
/// file, then each extra word after a blank, and a line feed. Words that are
/// not bare are written in double quotes, with a double quote or backslash
/// inside preceded by a backslash.
void SuWriteCommandLine(std::ostream &Out,
                        const std::vector<std::string> &CommonWords,
                        const std::string &SourceFile,
                        const std::vector<std::string> &ExtraWords);

/// Dumps Console's diagnostic message tables into the file Value names ("-"
/// is standard output; default name "diagnostics_tables", extension ".txt").
/// Failures are reported to Console.
void SuDumpDiagnosticsTables(MsConsole &Console, const std::string &Value);

/// Writes one command line per source file of Walked (its positional
/// arguments) into the file Value names (default name "separate_commands",
/// extension ".txt"): the recorded option tokens, the source file, and on the
/// first line only the tokens of options with the second mark. Failures are
/// reported to Console.
void SuDistributeCommandLines(MsConsole &Console, const std::string &Value,
                              const ClWalkResult &Walked);

#endif
