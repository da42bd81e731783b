// The bash completion of chksel: the option data it completes from, written
// from the option table, and the script assembled from its template.
#ifndef DOCGEN_DGCOMPLETION_H
#define DOCGEN_DGCOMPLETION_H

#include "docgen/DgOptionTable.h"

#include <string>

/// Word as one bash word that stands for itself: in single quotes unless it
/// is made of characters the shell takes literally.
std::string DgShellWord(const std::string &Word);

/// The word the completion script uses for a value kind: "none", "text",
/// "file", "cmdfile", "checkname", "group", "package" or "tag". The three
/// manifest kinds are named after the manifest key they read.
const char *DgCompletionKind(DgValueKind Kind);

/// The data part of the completion script: bash assignments of the global
/// arrays the script's functions read (all named "_chksel_..."):
///  _chksel_options      the option words in the order of the option list
///                       ("--all", "-f");
///  _chksel_kind         option word -> the kind of its value;
///  _chksel_separate     option word -> 1 when the value may be the next
///                       argument;
///  _chksel_first_words  option word -> the words the first parameter of a
///                       two-parameter option may be, blank-separated;
///  _chksel_literals     option word -> the literal values its (last)
///                       parameter may be, blank-separated ("+");
///  _chksel_extension    option word -> the extension a command file name
///                       gets when it has none;
///  _chksel_tags         the diagnostic tags.
std::string DgCompletionData(const DgOptionTable &Table);

/// The completion script: Template with @OPTION_DATA@ filled. Raises
/// DgTemplateError when the template does not fit.
std::string DgCompletionScript(const std::string &Template,
                               const DgOptionTable &Table);

#endif
