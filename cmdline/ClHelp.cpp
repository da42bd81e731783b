// Help entries and the sorted option list.
#include "cmdline/ClHelp.h"

#include "cmdline/ClArg.h"
#include "cmdline/ClMessages.h"
#include "cmdline/ClParser.h"
#include "general/GeStreamAdaptors.h"

#include <algorithm>
#include <ostream>
#include <vector>

namespace {

/// The column at which descriptions start.
constexpr int DescriptionColumn = 16;

char UpperAscii(char Ch) {
  return (Ch >= 'a' && Ch <= 'z') ? static_cast<char>(Ch - 'a' + 'A') : Ch;
}

} // namespace

std::string ClFormatHelpEntry(const ClArg &Arg) {
  GeFresh_ostrstream Entry;
  std::ostream &Out = Entry;
  const std::string &Hint = Arg.Hint();
  const bool Separate = Arg.HintSeparate();
  if (!Arg.LongName().empty()) {
    GeMoveToColumn(Out, 0);
    Out << "--" << Arg.LongName();
    if (!Hint.empty())
      Out << (Separate ? ' ' : '=') << Hint;
  }
  if (Arg.ShortName() != 0) {
    GeMoveToColumn(Out, 0);
    Out << '-' << Arg.ShortName();
    if (!Hint.empty()) {
      if (Separate)
        Out << ' ';
      Out << Hint;
    }
  }
  std::string Description = Arg.Description();
  if (Arg.IsDebugOnly() || Arg.IsRemoved())
    Description.insert(0, ClText(ClMsg::HelpDebugMarker));
  if (Arg.IsDeprecated())
    Description.insert(0, ClText(ClMsg::HelpDeprecatedMarker));
  if (Arg.IsRemoved())
    Description.insert(0, ClText(ClMsg::HelpRemovedMarker));
  Out << ' ';
  GeWriteIndented(Out, DescriptionColumn, Description);
  Out.flush();
  return Entry.str();
}

bool ClHelpNameLess(const std::string &A, const std::string &B) {
  const std::size_t Common = std::min(A.size(), B.size());
  for (std::size_t I = 0; I < Common; ++I) {
    const auto CA = static_cast<unsigned char>(UpperAscii(A[I]));
    const auto CB = static_cast<unsigned char>(UpperAscii(B[I]));
    if (CA != CB)
      return CA < CB;
  }
  return A.size() < B.size();
}

std::vector<const ClArg *> ClHelpOptions(const ClParser &Root) {
  std::vector<const ClArg *> Options;
  Root.CollectOptions(Options);
  std::vector<std::pair<std::string, const ClArg *>> Sorted;
  Sorted.reserve(Options.size());
  for (const ClArg *Arg : Options)
    Sorted.emplace_back(Arg->DisplayName(), Arg);
  std::stable_sort(Sorted.begin(), Sorted.end(),
                   [](const auto &L, const auto &R) {
                     return ClHelpNameLess(L.first, R.first);
                   });
  Options.clear();
  for (const auto &Item : Sorted)
    Options.push_back(Item.second);
  return Options;
}

void ClPrintHelp(std::ostream &Out, const ClParser &Root) {
  Out << ClText(ClMsg::HelpHeading);
  for (const ClArg *Arg : ClHelpOptions(Root))
    Out << Arg->HelpEntry() << '\n';
}
