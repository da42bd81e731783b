// Copies the option table out of the option objects.
#include "docgen/DgOptionTable.h"

#include "cmdline/ClArg.h"
#include "cmdline/ClHelp.h"
#include "cmdline/ClParser.h"
#include "console/MsConsole.h"
#include "tool/LCmMain0.h"

#include <sstream>

namespace {

/// The words of parameter hints that tell what a value names.
struct HintWord {
  const char *Word;
  DgValueKind Kind;
};
constexpr HintWord HintWords[] = {{"chk", DgValueKind::CheckNames},
                                  {"grp", DgValueKind::Groups},
                                  {"pkg", DgValueKind::Packages},
                                  {"tag", DgValueKind::Tags},
                                  {"file", DgValueKind::File}};

/// The kind of value a hint such as "chk,chk,..." or "file|directory|+"
/// describes: that of its first known word; Text when it has none.
DgValueKind KindOfHint(const std::string &Hint) {
  std::string Word;
  for (std::size_t I = 0; I <= Hint.size(); ++I) {
    const char Ch = I < Hint.size() ? Hint[I] : ',';
    if (Ch != ',' && Ch != '|') {
      Word += Ch;
      continue;
    }
    for (const HintWord &Known : HintWords)
      if (Word == Known.Word)
        return Known.Kind;
    Word.clear();
  }
  return DgValueKind::Text;
}

/// The alternatives of a hint such as "file|directory|+" that are made of
/// punctuation only.
std::vector<std::string> LiteralsOfHint(const std::string &Hint) {
  std::vector<std::string> Literals;
  std::stringstream Alternatives(Hint);
  std::string Alternative;
  while (std::getline(Alternatives, Alternative, '|')) {
    bool Punctuation = !Alternative.empty();
    for (char Ch : Alternative)
      if ((Ch >= 'a' && Ch <= 'z') || (Ch >= 'A' && Ch <= 'Z') ||
          (Ch >= '0' && Ch <= '9') || Ch == ',' || Ch == '.' || Ch == ' ')
        Punctuation = false;
    if (Punctuation)
      Literals.push_back(Alternative);
  }
  return Literals;
}

/// The words a flag part such as "[i|m|n][s]" allows: at most one letter
/// group from each bracket, in bracket order, never none at all. A part that
/// is not made of brackets allows nothing that could be listed.
std::vector<std::string> FlagWords(const std::string &Part) {
  std::vector<std::vector<std::string>> Groups;
  std::size_t Pos = 0;
  while (Pos < Part.size()) {
    if (Part[Pos] != '[')
      return {};
    const std::size_t Close = Part.find(']', Pos);
    if (Close == std::string::npos)
      return {};
    std::vector<std::string> Choices;
    std::stringstream Inner(Part.substr(Pos + 1, Close - Pos - 1));
    std::string Choice;
    while (std::getline(Inner, Choice, '|'))
      Choices.push_back(Choice);
    Groups.push_back(Choices);
    Pos = Close + 1;
  }
  std::vector<std::string> Words{""};
  for (const auto &Choices : Groups) {
    const std::size_t Before = Words.size();
    for (std::size_t I = 0; I < Before; ++I)
      for (const std::string &Choice : Choices)
        Words.push_back(Words[I] + Choice);
  }
  Words.erase(Words.begin());
  return Words;
}

} // namespace

DgOption DgDescribeOption(const ClArg &Arg) {
  DgOption Option;
  Option.LongName = Arg.LongName();
  Option.ShortName = Arg.ShortName();
  Option.Hint = Arg.Hint();
  Option.HintSeparate = Arg.HintSeparate();
  Option.Description = Arg.Description();
  Option.DisplayName = Arg.DisplayName();
  Option.HelpEntry = Arg.HelpEntry();

  const auto *Base = dynamic_cast<const ClArgBase *>(&Arg);
  const bool TakesValue = Base ? Base->TakesParameter() : !Option.Hint.empty();
  if (!TakesValue)
    return Option;
  if (dynamic_cast<const ClArgTwoParas *>(&Arg)) {
    // The hint shows the first parameter, a blank, then the second.
    Option.TwoParameters = true;
    Option.ValueMayBeSeparate = true;
    const std::size_t Blank = Option.Hint.find(' ');
    const std::string First = Option.Hint.substr(0, Blank);
    const std::string Second =
        Blank == std::string::npos ? "" : Option.Hint.substr(Blank + 1);
    Option.FirstParameterWords = FlagWords(First);
    Option.Kind = KindOfHint(Second);
    Option.LiteralValues = LiteralsOfHint(Second);
    return Option;
  }
  Option.ValueMayBeSeparate = Base && Base->ParameterMayBeSeparate();
  if (const auto *CommandFile = dynamic_cast<const ClCommandFileArg *>(&Arg)) {
    Option.Kind = DgValueKind::CommandFile;
    // What the option adds to a bare name shows in the file it would read.
    const std::string Bare = "x";
    const std::string Named = CommandFile->FileName(Bare);
    if (Named.compare(0, Bare.size(), Bare) == 0)
      Option.DefaultExtension = Named.substr(Bare.size());
    return Option;
  }
  Option.Kind = KindOfHint(Option.Hint);
  Option.LiteralValues = LiteralsOfHint(Option.Hint);
  return Option;
}

std::vector<DgOption> DgDescribeOptions(const ClParser &Root) {
  std::vector<DgOption> Options;
  for (const ClArg *Arg : ClHelpOptions(Root))
    Options.push_back(DgDescribeOption(*Arg));
  return Options;
}

std::vector<std::string> DgTagsOfListing(const std::string &Listing) {
  std::vector<std::string> Tags;
  std::stringstream Lines(Listing);
  std::string Line;
  while (std::getline(Lines, Line)) {
    // "Xx001:  text"; a message text may run over several lines, and only
    // the first starts with a tag.
    auto IsLetter = [](char Ch) {
      return (Ch >= 'A' && Ch <= 'Z') || (Ch >= 'a' && Ch <= 'z');
    };
    auto IsDigit = [](char Ch) { return Ch >= '0' && Ch <= '9'; };
    if (Line.size() >= 6 && IsLetter(Line[0]) && IsLetter(Line[1]) &&
        IsDigit(Line[2]) && IsDigit(Line[3]) && IsDigit(Line[4]) &&
        Line[5] == ':')
      Tags.push_back(Line.substr(0, 5));
  }
  return Tags;
}

DgOptionTable DgChkselOptionTable() {
  DgOptionTable Table;
  LCmMain0::VisitOptionTable([&Table](const ClParser &Root) {
    Table.Options = DgDescribeOptions(Root);
  });
  // The run above registered every message table with the console.
  std::ostringstream Listing;
  MsGetConsole().ListTags(Listing);
  Table.Tags = DgTagsOfListing(Listing.str());
  return Table;
}
