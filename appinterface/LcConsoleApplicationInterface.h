// The standard application interface of the console: message contents with
// fill-ins, source lines with a caret.
#ifndef APPINTERFACE_LCCONSOLEAPPLICATIONINTERFACE_H
#define APPINTERFACE_LCCONSOLEAPPLICATIONINTERFACE_H

#include "appinterface/LcMessageContent.h"
#include "console/MsConsole.h"

#include <memory>
#include <string>
#include <vector>

/// Serves one console: builds an LcMessageContent for every message, shows
/// source lines, suppresses nothing and ignores error notifications. Each
/// content is told, when it is made, whether the console it serves has an IDE
/// handler installed; if so it writes its positions in the tagged form.
///
/// Constructing one does not install it: the tool installs it with
/// MsConsole::SetApplicationInterface(). The console and the translator are
/// not owned and must outlive it.
class LcConsoleApplicationInterface : public MsConsole::ApplicationInterface {
public:
  /// ShowGivenName is the settings byte handed to every content: whether a
  /// translated file name ("%su") is followed by the name as given.
  explicit LcConsoleApplicationInterface(MsConsole &Console,
                                         bool ShowGivenName = false);

  /// A content for Format and FillIns. A preformatted message puts Format in
  /// front of the strings as s1 and lays out "%s1%s2".
  std::unique_ptr<MsMessageContentInterface>
  MakeContent(const std::string &Format, const MsFillIns &FillIns) override;
  /// A content holding Text as it stands ("%s" with Text as s1).
  std::unique_ptr<MsMessageContentInterface>
  MakeTextContent(const std::string &Text) override;
  /// When the line of Pos is available: two blanks, the line, a line feed,
  /// two blanks, then per column before Pos's column a tab where the line has
  /// one and a blank otherwise, "^" and a line feed.
  void WriteSourceLine(const DiSourcePosition &Pos, std::ostream &Out) override;
  /// Does nothing.
  void NotifyError() override;
  /// Suppresses nothing.
  bool IsSuppressed(const MsTag &Tag, const DiSourcePosition &Pos) override;

  MsConsole &Console() const { return Served; }
  bool ShowsGivenName() const { return Settings != 0; }
  /// Sets the translator handed to every later content (null for none).
  void SetFileNameTranslator(const LcFileNameTranslator *NameTranslator) {
    Translator = NameTranslator;
  }

private:
  std::unique_ptr<LcMessageContent>
  NewContent(std::string Format, std::vector<std::string> Strings,
             std::vector<DiSourceRange> Positions) const;

  MsConsole &Served;
  unsigned char Settings;
  const LcFileNameTranslator *Translator = nullptr;
};

#endif
