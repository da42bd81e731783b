// The option that asks for a dependency list.
#include "console/MsDependFileArg.h"

namespace {

constexpr char OptionName[] = "dependencies";
constexpr char DependHint[] = "[i|m|n][s] file|directory|+";
constexpr char DependDescription[] =
    "List file dependencies\n"
    "   i     Include filename only (default)\n"
    "   m     Makefile style (multiple rules)\n"
    "   n     Makefile style (one rule)\n"
    "   s     Suppress system files\n"
    "(+: output same as -o, only with .d extension)";
constexpr char IllegalFlag[] = "illegal flag: ";

} // namespace

MsDependFileArg::MsDependFileArg()
    : ClArgTwoParas(0, OptionName, DependHint),
      ClSimpleHelp(DependDescription) {}

void MsDependFileArg::ConvertAndStore(const std::string &Flags,
                                      const std::string &Destination) {
  MsDependFlags Parsed = ParseFlags(Flags);
  ClArgTwoParas::ConvertAndStore(Flags, Destination);
  Stored = Parsed;
}

MsDependFlags MsDependFileArg::ParseFlags(const std::string &Letters) {
  MsDependFlags Result;
  for (char Letter : Letters) {
    switch (Letter) {
    case 'i':
      Result.Style = MsDependStyle::FileNames;
      break;
    case 'm':
      Result.Style = MsDependStyle::MakeRules;
      break;
    case 'n':
      Result.Style = MsDependStyle::MakeOneRule;
      break;
    case 's':
      Result.IncludeSystemFiles = false;
      break;
    default:
      throw ClConversionError(ClMsg::None, IllegalFlag + std::string(1, Letter),
                              std::string(1, Letter));
    }
  }
  return Result;
}
