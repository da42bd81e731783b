// Building the sign-on banner lines.
#include "setup/SuSignOn.h"

#include "console/MsConsole.h"

#include <cstdlib>
#include <cstring>

const char SuBuildDate[] = "Feb 17 2015";
const char SuMakerShortName[] = "ZOR";
const char SuCompanyName[] = "Zoraxis Software AB";
const char SuFakeSignOnVariable[] = "ZOR_INTERNAL__USE_FAKE_SIGNON";

namespace {

/// The fixed pieces of the banner lines.
enum BannerTextTag {
  Blank,
  VersionMark,
  FakeVersion,
  ForWord,
  FakeYears,
  CopyrightWord,
  FullStop
};

const char *const BannerTexts[] = {
    " ", " V", "?.??", " for ", "this year and every year", "Copyright", ".",
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
  std::string Line = SuMakerShortName;
  Line += BannerText(Blank);
  if (!Inputs.Prefix.empty()) {
    Line += Inputs.Prefix;
    Line += BannerText(Blank);
  }
  Line += Inputs.Name;
  Line += BannerText(VersionMark);
  Line += Fake ? std::string(BannerText(FakeVersion)) : Inputs.Version;
  if (!Inputs.Target.empty()) {
    Line += BannerText(ForWord);
    Line += Inputs.Target;
  }
  return Line;
}

std::string SuCopyrightLine(const SuBannerInputs &Inputs, bool Fake) {
  std::string Text =
      Inputs.Copyright.empty() ? DefaultYears() : Inputs.Copyright;
  if (Fake)
    Text = BannerText(FakeYears);
  const char *Word = BannerText(CopyrightWord);
  if (Text.compare(0, std::strlen(Word), Word) == 0)
    return Text;
  std::string Line = Word;
  Line += BannerText(Blank);
  Line += Text;
  Line += BannerText(Blank);
  Line += SuCompanyName;
  Line += BannerText(FullStop);
  return Line;
}

SuBanner::SuBanner(const SuBannerInputs &Inputs)
    : SuBanner(Inputs, SuFakeSignOnMode()) {}

SuBanner::SuBanner(const SuBannerInputs &Inputs, bool Fake)
    : Title(SuTitleLine(Inputs, Fake)),
      Copyright(SuCopyrightLine(Inputs, Fake)) {}

void SuBanner::HandToConsole(MsConsole &Console) const {
  Console.SetSignOn(Title, Copyright);
}
