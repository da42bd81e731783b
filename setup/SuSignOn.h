// The sign-on banner: the title and copyright lines by which every tool of
// the framework identifies itself.
#ifndef SETUP_SUSIGNON_H
#define SETUP_SUSIGNON_H

#include <string>

class MsConsole;

/// The framework's build date; its last four characters are the default
/// copyright years.
extern const char SuBuildDate[];
/// The maker's short name, which starts every title line.
extern const char SuMakerShortName[];
/// The maker's company name, which ends a copyright line built from years.
extern const char SuCompanyName[];
/// The environment variable that turns on fake sign-on mode.
extern const char SuFakeSignOnVariable[];

/// The banner texts a tool supplies. Copyright is either a complete line
/// starting with "Copyright" or only the years; empty means the default years.
struct SuBannerInputs {
  std::string Name;
  std::string Prefix;
  std::string Target;
  std::string Version;
  std::string Copyright;
};

/// Whether fake sign-on mode is on: SuFakeSignOnVariable is present in the
/// environment, whatever its value. Read at the first call and remembered for
/// the rest of the process. Fake mode makes the banner the same from build to
/// build: the version reads "?.??" and the copyright "this year and every
/// year".
bool SuFakeSignOnMode();

/// "ZOR ", the prefix and a blank when there is a prefix, the name, " V", the
/// version ("?.??" when Fake), and " for " and the target when there is a
/// target.
std::string SuTitleLine(const SuBannerInputs &Inputs, bool Fake);

/// The copyright input (the default years when empty; "this year and every
/// year" when Fake) as it stands when it starts with "Copyright", else
/// "Copyright ", the text, a blank, the company name and a full stop.
std::string SuCopyrightLine(const SuBannerInputs &Inputs, bool Fake);

/// A tool's banner: the two lines built from its inputs in the process's
/// sign-on mode. Owns its copies of the texts.
class SuBanner {
public:
  explicit SuBanner(const SuBannerInputs &Inputs);
  SuBanner(const SuBannerInputs &Inputs, bool Fake);

  const std::string &TitleLine() const { return Title; }
  const std::string &CopyrightLine() const { return Copyright; }

  /// Hands both lines to Console, title first; the console prints them at
  /// the start of the run unless sign-on is suppressed.
  void HandToConsole(MsConsole &Console) const;

private:
  std::string Title;
  std::string Copyright;
};

#endif
