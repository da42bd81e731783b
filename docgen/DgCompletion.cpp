// The bash completion of chksel.
#include "docgen/DgCompletion.h"

#include "docgen/DgTemplate.h"

#include <sstream>

std::string DgShellWord(const std::string &Word) {
  static const std::string Literal = "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                     "abcdefghijklmnopqrstuvwxyz"
                                     "0123456789-_./,+:%";
  if (!Word.empty() && Word.find_first_not_of(Literal) == std::string::npos)
    return Word;
  std::string Quoted = "'";
  for (char Ch : Word) {
    if (Ch == '\'')
      Quoted += "'\\''";
    else
      Quoted += Ch;
  }
  return Quoted + "'";
}

const char *DgCompletionKind(DgValueKind Kind) {
  switch (Kind) {
  case DgValueKind::None:
    return "none";
  case DgValueKind::Text:
    return "text";
  case DgValueKind::File:
    return "file";
  case DgValueKind::CommandFile:
    return "cmdfile";
  case DgValueKind::CheckNames:
    return "checkname";
  case DgValueKind::Groups:
    return "group";
  case DgValueKind::Packages:
    return "package";
  case DgValueKind::Tags:
    return "tag";
  }
  return "text";
}

namespace {

/// The words by which an option is given on the command line.
std::vector<std::string> OptionWords(const DgOption &Option) {
  std::vector<std::string> Words;
  if (!Option.LongName.empty())
    Words.push_back("--" + Option.LongName);
  if (Option.ShortName != 0)
    Words.push_back(std::string("-") + Option.ShortName);
  return Words;
}

/// Words separated by blanks.
std::string Joined(const std::vector<std::string> &Words) {
  std::string Text;
  for (const std::string &Word : Words)
    Text += (Text.empty() ? "" : " ") + Word;
  return Text;
}

/// One "[key]=value" member of an associative array.
std::string Member(const std::string &Key, const std::string &Value) {
  return "  [" + DgShellWord(Key) + "]=" + DgShellWord(Value) + "\n";
}

} // namespace

std::string DgCompletionData(const DgOptionTable &Table) {
  std::ostringstream Options, Kind, Separate, FirstWords, Literals, Extension;
  for (const DgOption &Option : Table.Options) {
    for (const std::string &Word : OptionWords(Option)) {
      Options << "  " << DgShellWord(Word) << '\n';
      Kind << Member(Word, DgCompletionKind(Option.Kind));
      if (Option.ValueMayBeSeparate)
        Separate << Member(Word, "1");
      if (Option.TwoParameters)
        FirstWords << Member(Word, Joined(Option.FirstParameterWords));
      if (!Option.LiteralValues.empty())
        Literals << Member(Word, Joined(Option.LiteralValues));
      if (!Option.DefaultExtension.empty())
        Extension << Member(Word, Option.DefaultExtension);
    }
  }
  std::ostringstream Tags;
  for (const std::string &Tag : Table.Tags)
    Tags << "  " << DgShellWord(Tag) << '\n';

  // "declare -g": bash-completion sources completion files from inside a
  // function, where a plain declare would make the arrays local.
  std::ostringstream Out;
  Out << "declare -ga _chksel_options=(\n"
      << Options.str() << ")\n"
      << "declare -gA _chksel_kind=(\n"
      << Kind.str() << ")\n"
      << "declare -gA _chksel_separate=(\n"
      << Separate.str() << ")\n"
      << "declare -gA _chksel_first_words=(\n"
      << FirstWords.str() << ")\n"
      << "declare -gA _chksel_literals=(\n"
      << Literals.str() << ")\n"
      << "declare -gA _chksel_extension=(\n"
      << Extension.str() << ")\n"
      << "declare -ga _chksel_tags=(\n"
      << Tags.str() << ")\n";
  return Out.str();
}

std::string DgCompletionScript(const std::string &Template,
                               const DgOptionTable &Table) {
  return DgFillTemplate(Template, {{"OPTION_DATA", DgCompletionData(Table)}});
}
