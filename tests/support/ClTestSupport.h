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
#include <vector>

namespace cltest {

/// The command-file option -f over the files of Files (name to contents);
/// a name not in Files cannot be opened. Files are told apart by name, never
/// by the disk, unless Aliases maps a name to another (two spellings of one
/// file). Opened counts the attempts to open, Announced lists the names the
/// walk announced, in order.
class MemoryFileArg : public ClCommandFileArg {
public:
  MemoryFileArg()
      : ClCommandFileArg('f', "", "file",
                         "Read command line options from file") {}
  ClFileId Identify(const std::string &Name) const override {
    auto It = Aliases.find(Name);
    ClFileId Id;
    Id.Name = It == Aliases.end() ? Name : It->second;
    return Id;
  }
  std::unique_ptr<std::istream> Open(const std::string &Name) const override {
    ++Opened;
    auto It = Files.find(Name);
    if (It == Files.end())
      return nullptr;
    return std::make_unique<std::istringstream>(It->second);
  }
  void Announce(const std::string &Name) const override {
    Announced.push_back(Name);
  }

  std::map<std::string, std::string> Files;
  std::map<std::string, std::string> Aliases;
  mutable int Opened = 0;
  mutable std::vector<std::string> Announced;
};

} // namespace cltest

#endif
