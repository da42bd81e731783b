// Building the sign-on banner lines.
#include "setup/SuSignOn.h"

#include "console/MsConsole.h"
#include "console/MsMessageContent.h"

#include <cstdlib>
#include <cstring>

const char SuBuildDate[] = "Feb 17 2015";
const char SuMakerShortName[] = "ZOR";
const char SuCompanyName[] = "Zoraxis Software AB";
const char SuFakeSignOnVariable[] = "ZOR_INTERNAL__USE_FAKE_SIGNON";

namespace {

/// The banner texts, whole lines where they are formats (the format language
/// of messages). The title formats take the maker's short name, the prefix
/// when there is one, the name, the version and the target when there is
/// one, in that order; the copyright format takes the years and the company
/// name.
enum BannerTextTag {
  TitleFormat,
  TitleWithPrefixFormat,
  TitleWithTargetFormat,
  TitleWithPrefixAndTargetFormat,
  CopyrightFormat,
  CopyrightWord,
  FakeVersion,
  FakeYears
};

const char *const BannerTexts[] = {
    "%s1 %s2 V%s3",
    "%s1 %s2 %s3 V%s4",
    "%s1 %s2 V%s3 for %s4",
    "%s1 %s2 %s3 V%s4 for %s5",
    "Copyright %s1 %s2.",
    "Copyright",
    "?.??",
    "this year and every year",
};

const char *BannerText(BannerTextTag Tag) { return BannerTexts[Tag]; }

std::string DefaultYears() {
  const std::size_t Length = std::strlen(SuBuildDate);
  return std::string(SuBuildDate + (Length - 4), 4);
}

} // namespace

bool SuFakeSignOnMode() {
  static const bool Fake = std::getenv(SuFakeSignOnVariable) != nullptr;
  return Fake;
}

std::string SuTitleLine(const SuBannerInputs &Inputs, bool Fake) {
  const bool Prefix = !Inputs.Prefix.empty();
  const bool Target = !Inputs.Target.empty();
  const BannerTextTag Format =
      Prefix ? (Target ? TitleWithPrefixAndTargetFormat : TitleWithPrefixFormat)
             : (Target ? TitleWithTargetFormat : TitleFormat);
  MsFillIns FillIns{SuMakerShortName};
  if (Prefix)
    FillIns.Add(Inputs.Prefix);
  FillIns.Add(Inputs.Name);
  FillIns.Add(Fake ? std::string(BannerText(FakeVersion)) : Inputs.Version);
  if (Target)
    FillIns.Add(Inputs.Target);
  return MsPlainMessageContent(BannerText(Format), FillIns).Text();
}

std::string SuCopyrightLine(const SuBannerInputs &Inputs, bool Fake) {
  std::string Text =
      Inputs.Copyright.empty() ? DefaultYears() : Inputs.Copyright;
  if (Fake)
    Text = BannerText(FakeYears);
  const char *Word = BannerText(CopyrightWord);
  if (Text.compare(0, std::strlen(Word), Word) == 0)
    return Text;
  return MsPlainMessageContent(BannerText(CopyrightFormat),
                               {Text, SuCompanyName})
      .Text();
}

SuBanner::SuBanner(const SuBannerInputs &Inputs)
    : SuBanner(Inputs, SuFakeSignOnMode()) {}

SuBanner::SuBanner(const SuBannerInputs &Inputs, bool Fake)
    : Title(SuTitleLine(Inputs, Fake)),
      Copyright(SuCopyrightLine(Inputs, Fake)) {}

void SuBanner::HandToConsole(MsConsole &Console) const {
  Console.SetSignOn(Title, Copyright);
}
