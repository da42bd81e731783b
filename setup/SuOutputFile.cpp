// Writing one output file of the framework.
#include "setup/SuOutputFile.h"

#include "console/MsConsole.h"

#include <cstdio>
#include <fstream>

bool SuWriteOutputFile(MsConsole &Console, const std::string &Path,
                       const std::function<void(std::ostream &)> &Write) {
  std::ofstream Out(Path, std::ios::out | std::ios::trunc);
  if (!Out) {
    Console.Report(MsTag("Ms", 3), MsConsole::ErrorFixed, Path);
    return false;
  }
  Write(Out);
  if (!Out) {
    Console.Report(MsTag("Ms", 4), MsConsole::ErrorFixed, Path);
    Out.close();
    std::remove(Path.c_str());
    return false;
  }
  Out.close();
  if (!Out) {
    Console.Report(MsTag("Ms", 5), MsConsole::ErrorFixed, Path);
    std::remove(Path.c_str());
    return false;
  }
  Console.NotifyOutputFileWritten(Path);
  return true;
}
