// The last-resort exit for program states that must never occur.
//
// Every layer reports its own defects through GeInternalFailure. The layers
// below the tool do not know the program's name or its console, so the tool
// installs the handler that formats and prints the report; until then a plain
// default handler writes the text to standard error.
#ifndef GENERAL_GEINTERNALFAILURE_H
#define GENERAL_GEINTERNALFAILURE_H

#include <string>

using GeInternalFailureHandler = void (*)(const std::string &Text);

/// Installs Handler as the process-wide internal-failure handler and returns
/// the previous one. A null Handler restores the default.
GeInternalFailureHandler
GeSetInternalFailureHandler(GeInternalFailureHandler Handler);

/// Reports Text through the installed handler and ends the process with exit
/// status 1 should the handler return. A handler may throw instead (tests do);
/// the exception then leaves this function.
[[noreturn]] void GeInternalFailure(const std::string &Text);

#endif
