// The program-wide exit for states that must never occur.
#ifndef TOOL_LCINTERNALFAILURE_H
#define TOOL_LCINTERNALFAILURE_H

#include <string>

/// Reports Message as an internal failure of chksel through the console's
/// fatal text report ("[chksel ]: " and the message, at the fatal level) and
/// ends the process with status 1. A failure met while reporting one ends
/// the process at once with a plain line on standard error.
[[noreturn]] void LcReportInternalFailure(const char *Message);

/// Routes every internal failure of the program (GeInternalFailure) to
/// LcReportInternalFailure.
void LcInstallInternalFailureHandler();

#endif
