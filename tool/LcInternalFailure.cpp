// The program-wide internal-failure exit of chksel.
#include "tool/LcInternalFailure.h"

#include "console/MsConsole.h"
#include "general/GeInternalFailure.h"

#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace {

constexpr char ProgramPrefix[] = "chksel ";

void WritePlain(const char *Text) {
  ssize_t Ignored = ::write(2, Text, std::strlen(Text));
  (void)Ignored;
}

void Handler(const std::string &Text) { LcReportInternalFailure(Text.c_str()); }

} // namespace

void LcReportInternalFailure(const char *Message) {
  static bool Reporting = false;
  if (Reporting) {
    WritePlain("[");
    WritePlain(ProgramPrefix);
    WritePlain("]: ");
    WritePlain(Message);
    WritePlain("\n");
    ::_exit(1);
  }
  Reporting = true;
  std::string Prefix = ProgramPrefix;
  std::string Text = Message;
  // A defect may be found anywhere, by code that holds no console, so this
  // routine takes the process-wide one from its accessor.
  MsGetConsole().ReportFatalText(Prefix, Text);
  std::exit(1);
}

void LcInstallInternalFailureHandler() {
  GeSetInternalFailureHandler(&Handler);
}
