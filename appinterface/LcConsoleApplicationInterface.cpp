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
    return NewContent("%s1%s2", std::move(Strings), FillIns.Positions);
  }
  return NewContent(Format, FillIns.Strings, FillIns.Positions);
}

std::unique_ptr<MsMessageContentInterface>
LcConsoleApplicationInterface::MakeTextContent(const std::string &Text) {
  return NewContent("%s", std::vector<std::string>{Text},
                    std::vector<DiSourceRange>());
}

std::unique_ptr<LcMessageContent> LcConsoleApplicationInterface::NewContent(
    std::string Format, std::vector<std::string> Strings,
    std::vector<DiSourceRange> Positions) const {
  // The console knows whether the IDE link is installed; positions are then
  // written in the tagged form its protocol reads.
  return std::make_unique<LcMessageContent>(
      std::move(Format), std::move(Strings), std::move(Positions),
      Settings != 0, Translator, Served.HasIdeHandler());
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
