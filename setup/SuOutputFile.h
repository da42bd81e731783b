// Writing one output file of the framework (a dump of its tables, a list of
// command lines) with its failures reported to the console.
#ifndef SETUP_SUOUTPUTFILE_H
#define SETUP_SUOUTPUTFILE_H

#include <functional>
#include <ostream>
#include <string>

class MsConsole;

/// Opens Path for writing, lets Write fill it and closes it. A file that
/// cannot be opened is reported as Ms003, a failed write as Ms004 and a
/// failed close as Ms005; the file is then removed. Answers whether the file
/// was written.
bool SuWriteOutputFile(MsConsole &Console, const std::string &Path,
                       const std::function<void(std::ostream &)> &Write);

#endif
