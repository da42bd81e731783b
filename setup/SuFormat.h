// Filling in the framework's own report and banner texts.
#ifndef SETUP_SUFORMAT_H
#define SETUP_SUFORMAT_H

#include <string>
#include <vector>

/// Format with its string fill-ins put in, for texts that are not console
/// diagnostics (the banner lines, the internal-failure reports). The format
/// language is the diagnostics' one, restricted to plain strings: "%%" is
/// "%", "%s" with an optional number selects a fill-in counted from 1 (no
/// number and 0 both select the first). Anything else after "%", a modifier
/// or a position reference, and a reference to a missing fill-in are
/// internal failures: the formats are the framework's own constants.
std::string SuFormat(const std::string &Format,
                     const std::vector<std::string> &FillIns);

#endif
