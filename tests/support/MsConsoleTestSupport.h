// Shared helpers of the console, message-content and IDE tests: a one-file
// source line sequence, a recording message handler and a test message
// table, and the failure scope and file helpers under the names these tests
// use.
#ifndef TESTS_SUPPORT_MSCONSOLETESTSUPPORT_H
#define TESTS_SUPPORT_MSCONSOLETESTSUPPORT_H

#include "console/MsConsole.h"
#include "console/MsMessage.h"
#include "console/MsMessageContent.h"
#include "console/MsMessageHandler.h"
#include "sourcepos/DiSourcePosition.h"
#include "tests/support/FailureScope.h"
#include "tests/support/TestFiles.h"

#include <cstdint>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

namespace mstest {

using testsupport::InternalFailure;
using testsupport::ThrowingFailureScope;
using testsupport::ThrowingHandler;

// The file helpers under the names the console's tests use.
using testsupport::IsCharacterDevice;
using testsupport::IsTempName;
using testsupport::NamesIn;
using testsupport::TempFilesIn;
inline void Spit(const std::string &Path, const std::string &Bytes) {
  testsupport::WriteFile(Path, Bytes);
}

/// A temporary folder whose root is a string, as the output-file tests
/// compare and concatenate it.
class ScratchDir : public testsupport::TempDir {
public:
  std::string Root() const { return TempDir::Root().string(); }
};

/// The bytes of Path, or "<missing>" when there is no such file.
inline std::string Slurp(const std::string &Path) {
  return testsupport::ReadFileOr(Path, "<missing>");
}

/// A line sequence holding one file, Name, whose lines are Lines (their texts
/// kept), followed by the end of the source.
class OneFile {
public:
  explicit OneFile(const std::string &Name = "x.c",
                   const std::vector<std::string> &Lines = {"first line"}) {
    OgSourceLineSequence::Builder Build(Seq);
    Base = Build.BeginFile(GeRcPtr<DiFile>(new DiFile(Name)));
    for (std::size_t I = 0; I < Lines.size(); ++I)
      Build.SetLineText(Base + static_cast<std::uint32_t>(I), Lines[I]);
    Build.EndFile(static_cast<std::uint32_t>(Lines.size()));
    Count = static_cast<std::uint32_t>(Lines.size());
  }
  OneFile(const OneFile &) = delete;
  OneFile &operator=(const OneFile &) = delete;

  /// The position of Column on line Line (both from 1).
  DiSourcePosition At(std::uint32_t Line, std::uint32_t Column) const {
    return DiSourcePosition(Base + Line - 1, Column, &Seq);
  }
  /// A position past the last line: at the end of the source.
  DiSourcePosition AtEnd() const {
    return DiSourcePosition(Base + Count + 3, 1, &Seq);
  }

  OgSourceLineSequence Seq;
  std::uint32_t Base = 0;
  std::uint32_t Count = 0;
};

/// Records the kind, tag and text of every message it is handed; can be
/// told to throw MsConsoleException.
class RecordingHandler : public MsMessageHandler {
public:
  struct Seen {
    int Kind;
    MsTag Tag;
    std::string Text;
  };

  void Handle(const MsMessage &M, MsConsole &) override {
    Messages.push_back(Seen{M.Kind(), M.Tag(), M.Text()});
    if (ThrowOnKind == M.Kind())
      throw MsConsoleException();
  }

  std::vector<int> Kinds() const {
    std::vector<int> Result;
    for (const Seen &S : Messages)
      Result.push_back(S.Kind);
    return Result;
  }

  std::vector<Seen> Messages;
  int ThrowOnKind = -1;
};

/// An application interface with plain contents that suppresses every tag
/// it is asked about while Suppress is set, and records the tags asked and
/// the error notifications.
class SuppressingInterface : public MsConsole::ApplicationInterface {
public:
  std::unique_ptr<MsMessageContentInterface>
  MakeContent(const std::string &Format, const MsFillIns &FillIns) override {
    return std::make_unique<MsPlainMessageContent>(Format, FillIns);
  }
  std::unique_ptr<MsMessageContentInterface>
  MakeTextContent(const std::string &Text) override {
    return std::make_unique<MsPlainMessageContent>("%s", MsFillIns{Text});
  }
  void WriteSourceLine(const DiSourcePosition &, std::ostream &) override {}
  void NotifyError() override { ++Notifications; }
  bool IsSuppressed(const MsTag &Tag, const DiSourcePosition &) override {
    Asked.push_back(Tag);
    return Suppress;
  }

  bool Suppress = true;
  int Notifications = 0;
  std::vector<MsTag> Asked;
};

/// A test subsystem "Tt": 1 fatal, 2 error (fixed), 3 error, 4 warning,
/// 5 remark, 6 command-line error, 7 internal, 8 two fill-ins, 9 a position.
inline const MsConsole::MessageDef TtTable[] = {
    {MsConsole::Suppressed, nullptr},
    {MsConsole::FatalError, "fatal %s"},
    {MsConsole::ErrorFixed, "fixed error %sq"},
    {MsConsole::Error, "changeable error %sq"},
    {MsConsole::Warning, "a warning %sq"},
    {MsConsole::Remark, "a remark %sq"},
    {MsConsole::CommandLineError, "bad command line %sq"},
    {MsConsole::Warning, "[internal]hidden %s"},
    {MsConsole::Error, "%sq1 and %sq2"},
    {MsConsole::Warning, "here: %p"},
};

inline MsTag Tt(std::uint16_t Number) { return MsTag("Tt", Number); }

inline void RegisterTt(MsConsole &Console) {
  Console.AddSubSystem("Tt", TtTable, 1, 9);
}

} // namespace mstest

#endif
