// The texts of the command-line subsystem: one table, addressed by tag.
//
// A text that names user input (a token, a file name, an option) is held as
// the fixed words before and after that input; the input itself stays a
// separate fill-in and is never spliced into a format. The messages of the
// walk and of command files are not here: their errors carry a message
// number of the framework's diagnostic table (ClLineMessage), which holds
// their texts.
#ifndef CMDLINE_CLMESSAGES_H
#define CMDLINE_CLMESSAGES_H

#include <string>

/// Tags of the command-line texts, listed with their texts in
/// ClMessages.def.
enum class ClMsg {
#define CL_MESSAGE(Tag, Before, After) Tag,
#include "cmdline/ClMessages.def"
#undef CL_MESSAGE
};

/// The text of Tag: the words that stand before its fill-in (if it has one).
const char *ClText(ClMsg Tag);

/// The words that follow the fill-in of Tag; empty for texts that end with it.
const char *ClTextAfter(ClMsg Tag);

/// ClText(Tag) + Subject + ClTextAfter(Tag).
std::string ClCompose(ClMsg Tag, const std::string &Subject);

#endif
