// The table of command-line texts.
#include "cmdline/ClMessages.h"

#include "general/GeInternalFailure.h"

namespace {

struct Entry {
  ClMsg Tag;
  const char *Before;
  const char *After;
};

// Indexed by the tag's value; the order must follow the enumeration.
const Entry Table[] = {
    {ClMsg::None, "", ""},
    {ClMsg::IllegalCharacters, "Illegal characters", ""},
    {ClMsg::IntegerExpected, "Expected ", ""},
    {ClMsg::IntegerBaseDecimal, "a decimal ", ""},
    {ClMsg::IntegerBaseOctal, "an octal ", ""},
    {ClMsg::IntegerBaseHexadecimal, "a hexadecimal ", ""},
    {ClMsg::IntegerBaseAny, "an ", ""},
    {ClMsg::IntegerWord, "integer", ""},
    {ClMsg::IntegerAtMost, " less than or equal to ", ""},
    {ClMsg::IntegerAtLeast, " greater than or equal to ", ""},
    {ClMsg::IntegerBetween, " between ", ""},
    {ClMsg::IntegerBetweenAnd, " and ", ""},
    {ClMsg::IntegerQuoted, ": '", "'"},
    {ClMsg::RequiresSeparateParameter,
     "Option requires a separate parameter: ", ""},
    {ClMsg::NoLongerSupported, "Option is no longer supported: ", ""},
    {ClMsg::OnlyOnce, "Option can only occur once: ", ""},
    {ClMsg::DoesNotMatch, "Option ", " does not match previous occurrence"},
    {ClMsg::MissingOption, "Missing option: ", ""},
    {ClMsg::IllegalCombination, "Illegal combination\n", ""},
    {ClMsg::CombinationAnd, "\nand", ""},
    {ClMsg::CombinationFirstAnyOf, "Any of\n", ""},
    {ClMsg::CombinationSecondAnyOf, " any of\n", ""},
    {ClMsg::AnyCombinationOf, "Any combination of", ""},
    {ClMsg::AnyOneOf, "Any one of", ""},
    {ClMsg::HelpHeading, "Available command line options:\n", ""},
    {ClMsg::HelpDebugMarker, "*** ONLY VISIBLE IN DEBUG VERSION ***\n", ""},
    {ClMsg::HelpDeprecatedMarker, "--- Deprecated ---\n", ""},
    {ClMsg::HelpRemovedMarker, "--- Removed ---\n", ""},
    {ClMsg::UnknownArgPara, "Unknown ClArgPara", ""},
    {ClMsg::StoreOnGroup,
     "ClParser::Store called on a parser node that holds no option", ""},
    {ClMsg::MissingSeparateToken,
     "ClLine: a match asked for a separate parameter that is not there", ""},
};

const Entry &Lookup(ClMsg Tag) {
  auto Index = static_cast<std::size_t>(Tag);
  if (Index >= sizeof(Table) / sizeof(Table[0]) || Table[Index].Tag != Tag)
    GeInternalFailure("ClText: command-line message table out of order");
  return Table[Index];
}

} // namespace

const char *ClText(ClMsg Tag) { return Lookup(Tag).Before; }

const char *ClTextAfter(ClMsg Tag) { return Lookup(Tag).After; }

std::string ClCompose(ClMsg Tag, const std::string &Subject) {
  const Entry &E = Lookup(Tag);
  std::string Result = E.Before;
  Result += Subject;
  Result += E.After;
  return Result;
}
