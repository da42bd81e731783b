// The standard application interface of the console.
#include "appinterface/LcConsoleApplicationInterface.h"

#include "console/MsMessageFormatter.h"

LcConsoleApplicationInterface::LcConsoleApplicationInterface(MsConsole &Console,
                                                             bool ShowGivenName)
    : Served(Console), Settings(ShowGivenName ? 1 : 0) {}

std::unique_ptr<MsMessageContentInterface>
LcConsoleApplicationInterface::MakeContent(const std::string &Format,
                                           const MsFillIns &FillIns) {
  if (FillIns.Preformatted) {
    std::vector<std::string> Strings;
    Strings.reserve(FillIns.Strings.size() + 1);
    Strings.push_back(Format);
    Strings.insert(Strings.end(), FillIns.Strings.begin(),
                   FillIns.Strings.end());
    return std::make_unique<LcMessageContent>("%s1%s2", std::move(Strings),
                                              FillIns.Positions, Settings != 0,
                                              Translator);
  }
  return std::make_unique<LcMessageContent>(
      Format, FillIns.Strings, FillIns.Positions, Settings != 0, Translator);
}

std::unique_ptr<MsMessageContentInterface>
LcConsoleApplicationInterface::MakeTextContent(const std::string &Text) {
  return std::make_unique<LcMessageContent>(
      "%s", std::vector<std::string>{Text}, std::vector<DiSourceRange>(),
      Settings != 0, Translator);
}

void LcConsoleApplicationInterface::WriteSourceLine(const DiSourcePosition &Pos,
                                                    std::ostream &Out) {
  MsMessageFormatter::WriteSourceLineWithCaret(Pos, Out);
}

void LcConsoleApplicationInterface::NotifyError() {}

bool LcConsoleApplicationInterface::IsSuppressed(const MsTag &,
                                                 const DiSourcePosition &) {
  return false;
}
