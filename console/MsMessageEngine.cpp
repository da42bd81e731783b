// The console's message engine: counting, queue, dispatch, error limit,
// summary and exit status.
#include "console/MsMessageEngine.h"

#include "console/MsMessageHandler.h"
#include "console/MsMessages.h"

#include <ostream>

namespace {

/// Sets a flag for one scope and clears it when the scope ends, also by
/// exception.
class FlagScope {
public:
  explicit FlagScope(bool &Target) : Flag(Target) { Flag = true; }
  ~FlagScope() { Flag = false; }
  FlagScope(const FlagScope &) = delete;
  FlagScope &operator=(const FlagScope &) = delete;

private:
  bool &Flag;
};

void WriteCount(std::ostream &Out, const char *Label, unsigned Count) {
  Out << Label;
  if (Count)
    Out << Count;
  else
    Out << "none";
}

} // namespace

std::unique_ptr<MsMessageContentInterface>
MsMakeContent(MsConsole::ApplicationInterface *App, const std::string &Format,
              const MsFillIns &FillIns) {
  if (App)
    return App->MakeContent(Format, FillIns);
  return std::make_unique<MsPlainMessageContent>(Format, FillIns);
}

std::unique_ptr<MsMessageContentInterface>
MsMakeTextContent(MsConsole::ApplicationInterface *App,
                  const std::string &Text) {
  if (App)
    return App->MakeTextContent(Text);
  return std::make_unique<MsPlainMessageContent>("%s", MsFillIns{Text});
}

std::unique_ptr<MsMessage>
MsMessageEngine::TextMessage(int Kind, const std::string &Text) {
  return std::make_unique<MsMessage>(
      Kind, MsTag(), DiSourceRange(),
      MsMakeTextContent(Owner.GetApplicationInterface(), Text));
}

bool MsMessageEngine::Classify(const MsMessage &M) {
  MsConsole::ApplicationInterface *App = Owner.GetApplicationInterface();
  switch (M.Kind()) {
  case MsMessage::KindAbort:
  case MsMessage::KindOutOfMemory:
    Aborted = true;
    if (App)
      App->NotifyError();
    return true;
  case MsMessage::KindFatalError:
  case MsMessage::KindCommandLineError:
  case MsMessage::KindErrorFixed:
  case MsMessage::KindError:
    ++Errors;
    if (App)
      App->NotifyError();
    return true;
  case MsMessage::KindWarning:
    ++Warnings;
    return true;
  case MsMessage::KindInformation:
    return !Silent;
  default:
    return true;
  }
}

void MsMessageEngine::Release(std::unique_ptr<MsMessage> M, bool CheckLimit) {
  if (!Classify(*M))
    return;
  Queue.push_back(std::move(M));
  if (!Started || Draining)
    return;
  Drain();
  if (CheckLimit)
    CheckErrorLimit();
}

void MsMessageEngine::Drain() {
  if (Draining)
    return;
  FlagScope Busy(Draining);
  while (!Queue.empty()) {
    std::unique_ptr<MsMessage> M = std::move(Queue.front());
    Queue.pop_front();
    // Silent may have been set after the line was queued.
    if (M->Kind() == MsMessage::KindInformation && Silent)
      continue;
    Dispatch(*M);
  }
}

void MsMessageEngine::Dispatch(const MsMessage &M) {
  bool StopAfter = false;
  // By index: a handler may change the chain while it handles M.
  for (std::size_t I = 0; I < Handlers.size(); ++I) {
    try {
      Handlers[I]->Handle(M, Owner);
    } catch (const MsConsoleException &) {
      StopAfter = true;
    }
  }
  if (StopAfter)
    throw MsConsoleException();
}

void MsMessageEngine::CheckErrorLimit() {
  if (ErrLimit == 0 || Errors < ErrLimit)
    return;
  // Cleared first, so that the limit fires once.
  ErrLimit = 0;
  ReleaseFatal("Error limit reached\n");
  throw MsConsoleException();
}

void MsMessageEngine::ReleaseFatal(const std::string &Text) {
  MsTag Tag = MsMakeTag(MsMsgFatalText);
  std::unique_ptr<MsMessageContentInterface> Content = MsMakeContent(
      Owner.GetApplicationInterface(), Owner.MessageText(Tag), MsFillIns{Text});
  Log(Tag, MsConsole::FatalError, Content->Text());
  MarkStarted();
  Release(std::make_unique<MsMessage>(MsMessage::KindFatalError, Tag,
                                      DiSourceRange(), std::move(Content)),
          false);
  ReleaseAbortLine();
}

void MsMessageEngine::ReleaseAbortLine() {
  Release(std::make_unique<MsMessage>(MsMessage::KindAbort, MsTag(),
                                      DiSourceRange(), nullptr),
          false);
}

void MsMessageEngine::MarkStarted() {
  if (Started)
    return;
  Started = true;
  if (SignOnSet && !SignOnSuppressed && !Silent) {
    Queue.push_front(TextMessage(MsMessage::KindInformation, Copyright));
    Queue.push_front(TextMessage(MsMessage::KindInformation, Title));
  }
}

void MsMessageEngine::Start() {
  MarkStarted();
  if (Draining)
    return;
  Drain();
  CheckErrorLimit();
}

void MsMessageEngine::SetSignOn(const std::string &TitleLine,
                                const std::string &CopyrightLine) {
  Title = TitleLine;
  Copyright = CopyrightLine;
  SignOnSet = true;
}

void MsMessageEngine::WriteSummary(std::ostream &Out) const {
  if (Aborted)
    return;
  WriteCount(Out, "\nErrors: ", Errors);
  WriteCount(Out, "\nWarnings: ", Warnings);
  Out << '\n';
}

int MsMessageEngine::ExitStatus(bool IdeLinked) const {
  if (StoppedByRequest)
    return 4;
  if (Aborted)
    return 3;
  if (Errors)
    return 2;
  if (!Warnings)
    return 0;
  return WarningsAffectExitCode || IdeLinked ? 1 : 0;
}
