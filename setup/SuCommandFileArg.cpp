// The framework's command-file option.
#include "setup/SuCommandFileArg.h"

#include "console/MsConsole.h"
#include "general/GeUnicode.h"

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

SuCommandFileArg::SuCommandFileArg(MsConsole &Console)
    : ClCommandFileArg('f', "", "file", "Read command line options from file"),
      Served(Console) {}

std::string SuCommandFileArg::FileName(const std::string &Parameter) const {
  if (boost::filesystem::path(Parameter).extension().empty())
    return Parameter + ".xcl";
  return Parameter;
}

std::unique_ptr<std::istream>
SuCommandFileArg::Open(const std::string &Name) const {
  boost::system::error_code Error;
  if (boost::filesystem::is_directory(Name, Error))
    return nullptr;
  auto Stream =
      std::make_unique<GeUnicode::InFileStream>(GeUnicode::Utf8ToUtf16(Name));
  if (!Stream->IsOpen())
    return nullptr;
  return Stream;
}

void SuCommandFileArg::Announce(const std::string &Name) const {
  Served.AnnounceFile(Name);
}
