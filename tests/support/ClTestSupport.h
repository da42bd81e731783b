// Test support for the command line: a command-file option whose files are
// held in memory.
#ifndef TESTS_SUPPORT_CLTESTSUPPORT_H
#define TESTS_SUPPORT_CLTESTSUPPORT_H

#include "cmdline/ClArg.h"

#include <istream>
#include <map>
#include <memory>
#include <sstream>
#include <string>

namespace cltest {

/// The command-file option -f over the files of Files (name to contents);
/// a name not in Files cannot be opened. Files are told apart as the base
/// option does (by name, for names the file system does not find).
class MemoryFileArg : public ClCommandFileArg {
public:
  MemoryFileArg()
      : ClCommandFileArg('f', "", "file",
                         "Read command line options from file") {}
  std::unique_ptr<std::istream> Open(const std::string &Name) const override {
    auto It = Files.find(Name);
    if (It == Files.end())
      return nullptr;
    return std::make_unique<std::istringstream>(It->second);
  }
  std::map<std::string, std::string> Files;
};

} // namespace cltest

#endif
