// The table of command-line texts.
#include "cmdline/ClMessages.h"

#include "general/GeInternalFailure.h"

namespace {

struct Entry {
  const char *Before;
  const char *After;
};

/// Indexed by the tag's value.
const Entry Table[] = {
#define CL_MESSAGE(Tag, Before, After) {Before, After},
#include "cmdline/ClMessages.def"
#undef CL_MESSAGE
};

const Entry &Lookup(ClMsg Tag) {
  auto Index = static_cast<std::size_t>(Tag);
  if (Index >= sizeof(Table) / sizeof(Table[0]))
    GeInternalFailure("ClText: no command-line message with this tag");
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
