// The parser tree: occurrence rules of option parsers and combination rules
// of groups.
#include "cmdline/ClParser.h"

#include "general/GeStreamAdaptors.h"

#include <sstream>

namespace {

/// Text with every line preceded by two spaces (empty lines stay empty).
std::string IndentTwo(const std::string &Text) {
  std::ostringstream Out;
  {
    GePrefixStreamAdaptor Indent(Out, "  ");
    Out << Text;
    Out.flush();
  }
  return Out.str();
}

bool OneLine(const std::string &Text) {
  return Text.find('\n') == std::string::npos;
}

} // namespace

// ClParser ------------------------------------------------------------------

ClParser::~ClParser() = default;

bool ClParser::IsOneLine() const { return OneLine(Describe()); }

void ClParser::Fail(ClMsg Tag, const std::string &Subject,
                    const std::string &Text, const ClPlace &Place) const {
  throw ParseError(Tag, Subject, Text, Place);
}

void ClParser::Store(const ClOccurrence &) {
  GeInternalFailure(ClText(ClMsg::StoreOnGroup));
}

ClParser::ParseError::ParseError(ClMsg Tag, std::string Subject,
                                 const std::string &Text, ClPlace Place)
    : std::runtime_error(Text), MessageTag(Tag), UserInput(std::move(Subject)),
      Where(std::move(Place)) {}

// ClArgParser ---------------------------------------------------------------

ClArgParser::ClArgParser(std::unique_ptr<ClArg> Option)
    : Owned(std::move(Option)), OptionPtr(Owned.get()) {
  if (!OptionPtr)
    GeInternalFailure("ClArgParser: no option");
}

ClArgParser::ClArgParser(ClArg &Option) : OptionPtr(&Option) {}

std::string ClArgParser::Describe() const {
  if ((OptionPtr->IsDebugOnly() || OptionPtr->IsRemoved()) && !IsGiven() &&
      !OptionPtr->IsGiven())
    return std::string();
  return OptionPtr->DisplayName();
}

void ClArgParser::Fail(ClMsg Tag, const std::string &Subject,
                       const std::string &Text, const ClPlace &Place) const {
  throw ParseError(Tag, Subject, Text, Place);
}

void ClArgParser::Check() {
  for (const ClOccurrence &Occ : Occs)
    Store(Occ);
}

void ClArgParser::CollectOptions(std::vector<const ClArg *> &Options) const {
  if (!OptionPtr->IsDebugOnly() && !OptionPtr->IsRemoved())
    Options.push_back(OptionPtr);
}

ClMatch ClArgParser::Match(const ClToken &Token, const ClToken *Next) {
  std::string Para;
  const ClArgPara Kind = OptionPtr->Match(Token.Text, Para);
  if (Kind == ClNoMatch)
    return ClMatch();
  if (Kind == ClParaSeparate && !Next)
    Fail(ClMsg::RequiresSeparateParameter, Token.Text,
         ClCompose(ClMsg::RequiresSeparateParameter, Token.Text), Token.Place);
  ClOccurrence Occ;
  Occ.Option = Token;
  Occ.InToken = std::move(Para);
  if (Kind == ClParaSeparate) {
    Occ.HasSeparate = true;
    // "---x" stands for "-x": the extra dashes only get it past the walk's
    // rule against parameters that look like options.
    if (Next->Text.compare(0, 3, "---") == 0)
      Occ.Separate.assign(Next->Text, 2, std::string::npos);
    else
      Occ.Separate = Next->Text;
  }
  Occs.push_back(std::move(Occ));
  if (OptionPtr->IsRemoved())
    Fail(ClMsg::NoLongerSupported, Token.Text,
         ClCompose(ClMsg::NoLongerSupported, Token.Text), Token.Place);
  ClMatch Result;
  Result.Kind = Kind;
  Result.Deprecated = OptionPtr->IsDeprecated();
  Result.SecondMark = OptionPtr->SecondMark();
  Result.Parser = this;
  return Result;
}

void ClArgParser::Store(const ClOccurrence &Occ) {
  try {
    OptionPtr->SetValue(Occ);
  } catch (const ClConversionError &E) {
    Fail(E.Tag(), E.Subject(), E.what(), Occ.Place());
  } catch (const std::invalid_argument &E) {
    Fail(ClMsg::None, std::string(), E.what(), Occ.Place());
  }
  OptionPtr->MarkGiven();
}

// ClOnce --------------------------------------------------------------------

ClOnce::ClOnce(std::unique_ptr<ClArg> Option, bool Mandatory)
    : ClArgParser(std::move(Option)), Required(Mandatory) {}

ClOnce::ClOnce(ClArg &Option, bool Mandatory)
    : ClArgParser(Option), Required(Mandatory) {}

void ClOnce::Check() {
  const std::vector<ClOccurrence> &All = Occurrences();
  const std::string Name = Arg().DisplayName();
  if (All.empty()) {
    if (Required)
      Fail(ClMsg::MissingOption, Name, ClCompose(ClMsg::MissingOption, Name),
           ClPlace());
    return;
  }
  Store(All.front());
  if (All.size() == 1 || Arg().MayBeRepeated())
    return;
  if (!Arg().Equals(All.front()))
    Fail(ClMsg::OnlyOnce, Name, ClCompose(ClMsg::OnlyOnce, Name),
         All.front().Place());
  for (std::size_t I = 1; I < All.size(); ++I)
    if (!Arg().Equals(All[I]))
      Fail(ClMsg::DoesNotMatch, Name, ClCompose(ClMsg::DoesNotMatch, Name),
           All[I].Place());
}

// ClGroupParser -------------------------------------------------------------

ClParser &ClGroupParser::Add(ClParser &Child) {
  Children.push_back(Member{&Child, nullptr, false});
  return Child;
}

bool ClGroupParser::IsGiven() const {
  for (const Member &M : Children)
    if (M.Node->IsGiven())
      return true;
  return false;
}

void ClAppendDescription(std::string &Text, const ClParser &Node) {
  std::string One = Node.Describe();
  if (One.empty())
    return;
  if (!Text.empty())
    Text += '\n';
  Text += One;
}

std::string ClGroupParser::Describe() const {
  std::string Text;
  for (const Member &M : Children)
    ClAppendDescription(Text, *M.Node);
  return Text;
}

std::string ClGroupParser::DescribeMembers(ClMsg Heading) const {
  std::string Text = ClText(Heading);
  for (const Member &M : Children) {
    std::string One = M.Node->Describe();
    if (One.empty())
      continue;
    Text += '\n';
    Text += IndentTwo(One);
  }
  return Text;
}

void ClGroupParser::Check() {
  for (Member &M : Children)
    M.Node->Check();
}

void ClGroupParser::CollectOptions(std::vector<const ClArg *> &Options) const {
  for (const Member &M : Children)
    M.Node->CollectOptions(Options);
}

ClMatch ClGroupParser::Match(const ClToken &Token, const ClToken *Next) {
  for (Member &M : Children) {
    ClMatch Result = M.Node->Match(Token, Next);
    if (Result.Kind != ClNoMatch) {
      M.Used = true;
      return Result;
    }
  }
  return ClMatch();
}

// ClAny, ClOnlyOne ----------------------------------------------------------

std::string ClAny::Describe() const {
  return DescribeMembers(ClMsg::AnyCombinationOf);
}

std::string ClOnlyOne::Describe() const {
  return DescribeMembers(ClMsg::AnyOneOf);
}

std::string ClOnlyOne::CombinationText(const std::string &First,
                                       const std::string &Second) {
  std::ostringstream Out;
  Out << ClText(ClMsg::IllegalCombination);
  {
    GePrefixStreamAdaptor Indent(Out, "  ");
    if (!OneLine(First))
      Out << ClText(ClMsg::CombinationFirstAnyOf);
    Out << First;
    Out.flush();
  }
  Out << ClText(ClMsg::CombinationAnd);
  Out << (OneLine(Second) ? "\n" : ClText(ClMsg::CombinationSecondAnyOf));
  {
    GePrefixStreamAdaptor Indent(Out, "  ");
    Out << Second;
    Out.flush();
  }
  return Out.str();
}

void ClOnlyOne::Check() {
  const ClParser *First = nullptr;
  for (std::size_t I = 0; I < ChildCount(); ++I) {
    const ClParser &Node = Child(I);
    if (!Node.IsGiven())
      continue;
    if (!First) {
      First = &Node;
      continue;
    }
    Fail(ClMsg::IllegalCombination, std::string(),
         CombinationText(First->Describe(), Node.Describe()), ClPlace());
  }
  ClGroupParser::Check();
}
