// The framework's command-file option, "-f file".
#ifndef SETUP_SUCOMMANDFILEARG_H
#define SETUP_SUCOMMANDFILEARG_H

#include "cmdline/ClArg.h"

#include <istream>
#include <memory>
#include <string>

class MsConsole;

/// The option -f that names a command file. A name without an extension gets
/// ".xcl" appended; the file is opened through GeUnicode::InFileStream, in
/// binary mode. A directory cannot be opened as a command file. Every file
/// read is announced to Console once as a file read (for dependency lists
/// and the IDE), under the name it was first requested by. The console is
/// not owned and must outlive the option.
class SuCommandFileArg : public ClCommandFileArg {
public:
  explicit SuCommandFileArg(MsConsole &Console);

  std::string FileName(const std::string &Parameter) const override;
  std::unique_ptr<std::istream> Open(const std::string &Name) const override;
  void Announce(const std::string &Name) const override;

private:
  MsConsole &Served;
};

#endif
