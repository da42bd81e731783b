// The option list printed on request, and the help entry of one option.
#ifndef CMDLINE_CLHELP_H
#define CMDLINE_CLHELP_H

#include <iosfwd>
#include <string>
#include <vector>

class ClArg;
class ClParser;

/// The help entry of Arg, without a final line feed: "--long" with its hint
/// (after "=", or after a space when the hint is separate), then on a new line
/// "-x" with its hint (attached, or after a space when separate), then one
/// space and the description at column 16, continuation lines indented by 16
/// spaces. The description is preceded by the removed, deprecated and debug
/// markers that apply (a removed option also carries the debug marker).
std::string ClFormatHelpEntry(const ClArg &Arg);

/// Whether display name A sorts before B: character by character with ASCII
/// letters upper-cased; a name that is a prefix of another sorts first.
bool ClHelpNameLess(const std::string &A, const std::string &B);

/// The options the option list shows, in its order: those of the tree under
/// Root (debug-only and removed options left out), sorted by display name.
/// The options stay owned by the tree.
std::vector<const ClArg *> ClHelpOptions(const ClParser &Root);

/// Writes "Available command line options:" and the help entries of
/// ClHelpOptions(Root), each followed by a line feed.
void ClPrintHelp(std::ostream &Out, const ClParser &Root);

#endif
