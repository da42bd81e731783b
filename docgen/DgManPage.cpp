// The manual page of chksel.
#include "docgen/DgManPage.h"

#include "docgen/DgTemplate.h"

#include <sstream>

std::string DgRoffText(const std::string &Text) {
  std::string Result;
  if (!Text.empty() && (Text[0] == '.' || Text[0] == '\''))
    Result = "\\&";
  for (char Ch : Text) {
    if (Ch == '\\')
      Result += "\\e";
    else if (Ch == '-')
      Result += "\\-";
    else
      Result += Ch;
  }
  return Result;
}

namespace {

/// A name in bold followed by its hint in italics, joined by Joiner.
std::string NameWithHint(const std::string &Name, const std::string &Joiner,
                         const std::string &Hint) {
  std::string Text = "\\fB" + DgRoffText(Name) + "\\fR";
  if (!Hint.empty())
    Text += Joiner + "\\fI" + DgRoffText(Hint) + "\\fR";
  return Text;
}

} // namespace

std::string DgManOptionTag(const DgOption &Option) {
  std::string Tag;
  if (!Option.LongName.empty())
    Tag = NameWithHint("--" + Option.LongName, Option.HintSeparate ? " " : "=",
                       Option.Hint);
  if (Option.ShortName != 0) {
    if (!Tag.empty())
      Tag += ", ";
    Tag += NameWithHint(std::string("-") + Option.ShortName,
                        Option.HintSeparate ? " " : "", Option.Hint);
  }
  return Tag;
}

std::string DgManOptions(const std::vector<DgOption> &Options) {
  std::ostringstream Out;
  for (const DgOption &Option : Options) {
    Out << ".TP\n" << DgManOptionTag(Option) << '\n';
    std::vector<std::string> Lines;
    std::stringstream Description(Option.Description);
    std::string Line;
    while (std::getline(Description, Line))
      Lines.push_back(Line);
    const bool Several = Lines.size() > 1;
    if (Several)
      Out << ".nf\n";
    for (const std::string &Text : Lines)
      Out << DgRoffText(Text) << '\n';
    if (Several)
      Out << ".fi\n";
  }
  return Out.str();
}

std::string DgManPage(const std::string &Template, const DgOptionTable &Table,
                      const std::string &Version, const std::string &Date) {
  // The placeholder stands on a line of its own.
  std::string Options = DgManOptions(Table.Options);
  if (!Options.empty() && Options.back() == '\n')
    Options.pop_back();
  return DgFillTemplate(Template, {{"OPTIONS", Options},
                                   {"VERSION", DgRoffText(Version)},
                                   {"DATE", DgRoffText(Date)}});
}
