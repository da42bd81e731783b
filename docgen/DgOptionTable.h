// The option table as the generated documents see it: what each option is
// called, what its parameter looks like and what kind of value it names,
// copied out of the option objects the program declares.
#ifndef DOCGEN_DGOPTIONTABLE_H
#define DOCGEN_DGOPTIONTABLE_H

#include <string>
#include <vector>

class ClArg;
class ClParser;

/// What the value of an option names, which decides how a shell completes
/// it.
enum class DgValueKind {
  /// The option takes no value.
  None,
  /// A value with nothing to offer (a number, a free text).
  Text,
  /// A file (or folder) name.
  File,
  /// A command file; a name without an extension gets one added.
  CommandFile,
  /// Check names, comma-separated, from the manifest.
  CheckNames,
  /// Group names, comma-separated, from the manifest.
  Groups,
  /// Package names, comma-separated, from the manifest.
  Packages,
  /// Diagnostic tags, comma-separated.
  Tags
};

/// One option as the documents show it. A plain copy: it does not refer to
/// the option object it was made from.
struct DgOption {
  /// The long name without "--", empty for none.
  std::string LongName;
  /// The short letter, 0 for none.
  char ShortName = 0;
  /// The parameter hint shown in help, empty for an option without one.
  std::string Hint;
  /// Whether help writes the hint after a space rather than attached.
  bool HintSeparate = false;
  /// The description shown in help; lines are separated by line feeds.
  std::string Description;
  /// The name shown in help and used to sort the list ("--all", "-f").
  std::string DisplayName;
  /// The help entry exactly as the option list prints it.
  std::string HelpEntry;
  /// Whether the value may be given as the next argument.
  bool ValueMayBeSeparate = false;
  /// An option of two parameters: the first follows "=" or "#" in the
  /// option's token (possibly nothing), the second is always the next
  /// argument.
  bool TwoParameters = false;
  /// For a two-parameter option: the words its first parameter may be.
  std::vector<std::string> FirstParameterWords;
  /// What the (last) parameter names.
  DgValueKind Kind = DgValueKind::None;
  /// Values the (last) parameter may be besides names of its kind: the
  /// alternatives of its hint made of punctuation only ("+" in
  /// "file|directory|+").
  std::vector<std::string> LiteralValues;
  /// For a command file: the extension added to a name without one (".xcl").
  std::string DefaultExtension;
};

/// The options in the order the option list prints them, and the diagnostic
/// tags the program knows (for the options that take tags).
struct DgOptionTable {
  std::vector<DgOption> Options;
  std::vector<std::string> Tags;
};

/// Describes one option object.
DgOption DgDescribeOption(const ClArg &Arg);

/// Describes the options the option list of the tree under Root shows, in
/// its order.
std::vector<DgOption> DgDescribeOptions(const ClParser &Root);

/// The tags of a diagnostic-table listing (lines "Xx001:  text"), in order;
/// lines that do not start with a tag are passed over.
std::vector<std::string> DgTagsOfListing(const std::string &Listing);

/// The option table of chksel: its whole command line as a run declares it,
/// and the tags of its diagnostic tables.
DgOptionTable DgChkselOptionTable();

#endif
