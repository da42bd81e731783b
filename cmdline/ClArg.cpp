// Option objects: name matching, conversion and storage per kind.
#include "cmdline/ClArg.h"

#include "cmdline/ClHelp.h"

#include <fstream>

#include <sys/stat.h>

ClConversionError::ClConversionError(ClMsg Tag, const std::string &Text,
                                     std::string Subject)
    : std::invalid_argument(Text), MessageTag(Tag),
      UserInput(std::move(Subject)) {}

ClArg::~ClArg() = default;

// ClArgBase -----------------------------------------------------------------

ClArgBase::ClArgBase(char Short, std::string Long, std::string ParameterHint,
                     bool TakesParameter, bool ParameterMayBeSeparate)
    : ShortChar(Short), LongText(std::move(Long)),
      HintText(std::move(ParameterHint)), ParameterTaken(TakesParameter),
      SeparateAllowed(ParameterMayBeSeparate) {}

std::string ClArgBase::DisplayName() const {
  if (!LongText.empty())
    return "--" + LongText;
  if (ShortChar != 0)
    return std::string{'-', ShortChar};
  return std::string();
}

bool ClArgBase::MatchName(const std::string &Token, std::string &Para,
                          bool &InToken) const {
  const std::size_t Size = Token.size();
  if (ShortChar != 0 && Size >= 2 && Token[0] == '-' && Token[1] == ShortChar) {
    Para.assign(Token, 2, std::string::npos);
    InToken = !Para.empty();
    return true;
  }
  const std::size_t NameEnd = 2 + LongText.size();
  if (!LongText.empty() && Size >= NameEnd && Token[0] == '-' &&
      Token[1] == '-' && Token.compare(2, LongText.size(), LongText) == 0) {
    if (Size == NameEnd) {
      Para.clear();
      InToken = false;
      return true;
    }
    const char Next = Token[NameEnd];
    if (Next == '=' || Next == '#') {
      Para.assign(Token, NameEnd + 1, std::string::npos);
      InToken = true;
      return true;
    }
  }
  return false;
}

// ClArgSinglePara -----------------------------------------------------------

ClArgPara ClArgSinglePara::Match(const std::string &Token,
                                 std::string &Para) const {
  bool InToken = false;
  if (!MatchName(Token, Para, InToken))
    return ClNoMatch;
  if (!TakesParameter() || !ParameterMayBeSeparate() || InToken)
    return ClParaInToken;
  return ClParaSeparate;
}

void ClArgSinglePara::SetValue(const ClOccurrence &Occ) {
  ConvertAndStore(Occ.Parameter());
}

bool ClArgSinglePara::Equals(const ClOccurrence &Occ) const {
  return EqualsParameter(Occ.Parameter());
}

bool ClArgSinglePara::EqualsParameter(const std::string &) const {
  return false;
}

// ClArgTwoParas -------------------------------------------------------------

ClArgTwoParas::ClArgTwoParas(char Short, std::string Long,
                             std::string ParameterHint)
    : ClArgBase(Short, std::move(Long), std::move(ParameterHint),
                /*TakesParameter=*/true, /*ParameterMayBeSeparate=*/true) {}

ClArgPara ClArgTwoParas::Match(const std::string &Token,
                               std::string &Para) const {
  bool InToken = false;
  return MatchName(Token, Para, InToken) ? ClParaSeparate : ClNoMatch;
}

void ClArgTwoParas::SetValue(const ClOccurrence &Occ) {
  ConvertAndStore(Occ.InToken, Occ.Separate);
}

bool ClArgTwoParas::Equals(const ClOccurrence &Occ) const {
  return Occ.InToken == FirstText && Occ.Separate == SecondText;
}

void ClArgTwoParas::ConvertAndStore(const std::string &FirstPara,
                                    const std::string &SecondPara) {
  FirstText = FirstPara;
  SecondText = SecondPara;
}

void ClArgTwoParas::AppendMultiValues(std::vector<ClTwoParaValue> &Values,
                                      const ClOccurrence &Occ) const {
  Values.push_back(ClTwoParaValue{FirstText, SecondText, Occ.Place()});
}

// ClSimpleHelp --------------------------------------------------------------

ClSimpleHelp::ClSimpleHelp(std::string Description)
    : Text(std::move(Description)) {}

std::string ClSimpleHelp::HelpEntry() const { return ClFormatHelpEntry(*this); }

// ClFlagArg -----------------------------------------------------------------

ClFlagArg::ClFlagArg(char Short, std::string Long, std::string Description)
    : ClArgSinglePara(Short, std::move(Long), std::string(),
                      /*TakesParameter=*/false,
                      /*ParameterMayBeSeparate=*/false),
      ClSimpleHelp(std::move(Description)) {}

void ClFlagArg::ConvertAndStore(const std::string &Parameter) {
  if (!Parameter.empty())
    throw ClConversionError(ClMsg::IllegalCharacters,
                            ClText(ClMsg::IllegalCharacters), std::string());
  Flag = !Flag;
}

bool ClFlagArg::EqualsParameter(const std::string &Parameter) const {
  return Parameter.empty();
}

// ClIntegerArg --------------------------------------------------------------

ClIntegerArg::ClIntegerArg(char Short, std::string Long,
                           std::string ParameterHint, std::string Description,
                           Base Radix, std::int32_t Lower, std::int32_t Upper,
                           std::int32_t Initial, bool MayBeSeparate)
    : ClArgSinglePara(Short, std::move(Long), std::move(ParameterHint),
                      /*TakesParameter=*/true, MayBeSeparate),
      ClSimpleHelp(std::move(Description)), Choice(Radix), Low(Lower),
      High(Upper), Number(Initial) {}

namespace {

bool IsSpace(char Ch) {
  return Ch == ' ' || Ch == '\t' || Ch == '\n' || Ch == '\v' || Ch == '\f' ||
         Ch == '\r';
}

/// The value of Ch as a digit of base Radix, or -1.
int DigitValue(char Ch, int Radix) {
  int Value;
  if (Ch >= '0' && Ch <= '9')
    Value = Ch - '0';
  else if (Ch >= 'a' && Ch <= 'f')
    Value = Ch - 'a' + 10;
  else if (Ch >= 'A' && Ch <= 'F')
    Value = Ch - 'A' + 10;
  else
    return -1;
  return Value < Radix ? Value : -1;
}

/// Reads Text by the rules of ClIntegerArg::Convert without the bounds;
/// false when it is not a 32-bit integer of the base.
bool ReadInteger(const std::string &Text, ClIntegerArg::Base Choice,
                 std::int32_t &Result) {
  std::size_t I = 0;
  const std::size_t Size = Text.size();
  while (I < Size && IsSpace(Text[I]))
    ++I;
  bool Negative = false;
  if (I < Size && (Text[I] == '+' || Text[I] == '-')) {
    Negative = Text[I] == '-';
    ++I;
  }
  int Radix = 10;
  switch (Choice) {
  case ClIntegerArg::Base::Decimal:
    Radix = 10;
    break;
  case ClIntegerArg::Base::Octal:
    Radix = 8;
    break;
  case ClIntegerArg::Base::Hexadecimal:
    Radix = 16;
    break;
  case ClIntegerArg::Base::Any:
    if (I + 1 < Size && Text[I] == '0' &&
        (Text[I + 1] == 'x' || Text[I + 1] == 'X')) {
      Radix = 16;
      I += 2;
    } else if (I < Size && Text[I] == '0') {
      Radix = 8;
    }
    break;
  }
  if (I == Size)
    return false;
  // The magnitude of the smallest 32-bit value is the largest one accepted.
  const std::int64_t Limit =
      Negative
          ? -static_cast<std::int64_t>(std::numeric_limits<std::int32_t>::min())
          : std::numeric_limits<std::int32_t>::max();
  std::int64_t Magnitude = 0;
  for (; I < Size; ++I) {
    const int Digit = DigitValue(Text[I], Radix);
    if (Digit < 0)
      return false;
    Magnitude = Magnitude * Radix + Digit;
    if (Magnitude > Limit)
      return false;
  }
  Result = static_cast<std::int32_t>(Negative ? -Magnitude : Magnitude);
  return true;
}

} // namespace

std::string ClIntegerArg::ExpectedMessage(const std::string &Text, Base Radix,
                                          std::int32_t Lower,
                                          std::int32_t Upper) {
  const bool LowerDefault = Lower == std::numeric_limits<std::int32_t>::min();
  const bool UpperDefault = Upper == std::numeric_limits<std::int32_t>::max();
  // Indexed by Base.
  static const ClMsg BaseWords[] = {
      ClMsg::IntegerBaseDecimal, ClMsg::IntegerBaseOctal,
      ClMsg::IntegerBaseHexadecimal, ClMsg::IntegerBaseAny};
  std::string Message = ClText(ClMsg::IntegerExpected);
  Message += ClText(BaseWords[static_cast<std::size_t>(Radix)]);
  Message += ClText(ClMsg::IntegerWord);
  if (LowerDefault && UpperDefault) {
    // No bound clause.
  } else if (LowerDefault) {
    Message += ClText(ClMsg::IntegerAtMost);
    Message += std::to_string(Upper);
  } else if (UpperDefault) {
    Message += ClText(ClMsg::IntegerAtLeast);
    Message += std::to_string(Lower);
  } else {
    Message += ClText(ClMsg::IntegerBetween);
    Message += std::to_string(Lower);
    Message += ClText(ClMsg::IntegerBetweenAnd);
    Message += std::to_string(Upper);
  }
  Message += ClCompose(ClMsg::IntegerQuoted, Text);
  return Message;
}

std::int32_t ClIntegerArg::Convert(const std::string &Text, Base Radix,
                                   std::int32_t Lower, std::int32_t Upper) {
  std::int32_t Result = 0;
  if (!ReadInteger(Text, Radix, Result) || Result < Lower || Result > Upper)
    throw ClConversionError(ClMsg::IntegerExpected,
                            ExpectedMessage(Text, Radix, Lower, Upper), Text);
  return Result;
}

void ClIntegerArg::ConvertAndStore(const std::string &Parameter) {
  Number = Convert(Parameter, Choice, Low, High);
}

bool ClIntegerArg::EqualsParameter(const std::string &Parameter) const {
  std::int32_t Other = 0;
  return ReadInteger(Parameter, Choice, Other) && Other == Number;
}

// ClStringArg ---------------------------------------------------------------

ClStringArg::ClStringArg(char Short, std::string Long,
                         std::string ParameterHint, std::string Description,
                         bool MayBeSeparate, std::string Initial)
    : ClArgSinglePara(Short, std::move(Long), std::move(ParameterHint),
                      /*TakesParameter=*/true, MayBeSeparate),
      ClSimpleHelp(std::move(Description)), Text(std::move(Initial)) {}

void ClStringArg::ConvertAndStore(const std::string &Parameter) {
  Text = Parameter;
}

bool ClStringArg::EqualsParameter(const std::string &Parameter) const {
  return Parameter == Text;
}

void ClStringArg::AppendMultiValues(std::vector<ClValue> &Values,
                                    const ClOccurrence &Occ) const {
  Values.push_back(ClValue{Text, Occ.Place()});
}

// ClStringSetArg ------------------------------------------------------------

ClStringSetArg::ClStringSetArg(char Short, std::string Long,
                               std::string ParameterHint,
                               std::string Description, char Separator,
                               bool MayBeSeparate)
    : ClStringArg(Short, std::move(Long), std::move(ParameterHint),
                  std::move(Description), MayBeSeparate),
      Sep(Separator) {}

std::vector<std::string> ClStringSetArg::Split(const std::string &Text,
                                               char Separator) {
  std::vector<std::string> Members;
  std::size_t Start = 0;
  const std::size_t Size = Text.size();
  while (Start <= Size) {
    std::size_t End = Text.find(Separator, Start);
    if (End == std::string::npos)
      End = Size;
    if (End > Start)
      Members.emplace_back(Text, Start, End - Start);
    Start = End + 1;
  }
  return Members;
}

std::vector<std::string> ClStringSetArg::Members() const {
  return Split(Value(), Sep);
}

void ClStringSetArg::AppendMultiValues(std::vector<ClValue> &Values,
                                       const ClOccurrence &Occ) const {
  for (std::string &Member : Members())
    Values.push_back(ClValue{std::move(Member), Occ.Place()});
}

// ClCommandFileArg ----------------------------------------------------------

ClCommandFileArg::ClCommandFileArg(char Short, std::string Long,
                                   std::string ParameterHint,
                                   std::string Description, bool MayBeSeparate)
    : ClStringArg(Short, std::move(Long), std::move(ParameterHint),
                  std::move(Description), MayBeSeparate) {}

std::string ClCommandFileArg::FileName(const std::string &Parameter) const {
  return Parameter;
}

ClFileId ClCommandFileArg::Identify(const std::string &Name) const {
  ClFileId Id;
  struct stat Status;
  if (::stat(Name.c_str(), &Status) == 0) {
    Id.HasInode = true;
    Id.Device = static_cast<std::uint64_t>(Status.st_dev);
    Id.Inode = static_cast<std::uint64_t>(Status.st_ino);
  } else {
    Id.Name = Name;
  }
  return Id;
}

void ClCommandFileArg::Announce(const std::string &) const {}

std::unique_ptr<std::istream>
ClCommandFileArg::Open(const std::string &Name) const {
  auto Stream = std::make_unique<std::ifstream>(
      Name, std::ios_base::in | std::ios_base::binary);
  if (!*Stream)
    return nullptr;
  return Stream;
}
