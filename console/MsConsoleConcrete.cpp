// The diagnostics console: subsystems and tags, levels, release and queue,
// error limit, summary and exit status.
#include "console/MsConsoleConcrete.h"

#include "console/MsDependHandler.h"
#include "console/MsMessageFormatter.h"
#include "console/MsMessageHandler.h"
#include "console/MsMessages.h"
#include "console/MsWorkingProgress.h"
#include "general/GeInternalFailure.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>

const char *MsConsoleException::what() const noexcept {
  return "MsConsoleException";
}

const char *MsConsole::BadAlloc::what() const noexcept {
  return "MsConsole::BadAlloc";
}

MsConsole::~MsConsole() = default;
MsConsole::ApplicationInterface::~ApplicationInterface() = default;
MsStopQuery::~MsStopQuery() = default;

namespace {

bool IdeModeFlag = false;

const char InternalMarker[] = "[internal]";
constexpr std::size_t InternalMarkerLength = sizeof InternalMarker - 1;

bool StartsWithInternalMarker(const char *Text) {
  return std::strncmp(Text, InternalMarker, InternalMarkerLength) == 0;
}

bool IsValidLevel(int Lvl) {
  return Lvl >= MsConsole::FatalError && Lvl <= MsConsole::Suppressed;
}

/// Clears a flag when the scope ends, also by exception.
class FlagScope {
public:
  explicit FlagScope(bool &Target) : Flag(Target) { Flag = true; }
  ~FlagScope() { Flag = false; }
  FlagScope(const FlagScope &) = delete;
  FlagScope &operator=(const FlagScope &) = delete;

private:
  bool &Flag;
};

} // namespace

bool MsIdeMode() { return IdeModeFlag; }
void MsSetIdeMode(bool On) { IdeModeFlag = On; }

// --- ConsoleStreamBuf ----------------------------------------------------

MsConsoleConcrete::ConsoleStreamBuf::int_type
MsConsoleConcrete::ConsoleStreamBuf::overflow(int_type Ch) {
  if (traits_type::eq_int_type(Ch, traits_type::eof()))
    return traits_type::not_eof(Ch);
  char C = traits_type::to_char_type(Ch);
  if (C == '\n') {
    std::string Finished;
    Finished.swap(Line);
    Owner.WriteLine(Finished);
  } else {
    Line += C;
  }
  return Ch;
}

std::streamsize
MsConsoleConcrete::ConsoleStreamBuf::xsputn(const char *Text,
                                            std::streamsize Count) {
  for (std::streamsize I = 0; I < Count; ++I)
    overflow(traits_type::to_int_type(Text[I]));
  return Count;
}

// --- Construction -----------------------------------------------------------

MsConsoleConcrete::MsConsoleConcrete()
    : MsConsoleConcrete(std::cerr, std::cout) {}

MsConsoleConcrete::MsConsoleConcrete(std::ostream &ErrorOut,
                                     std::ostream &StandardOut)
    : OwnFormatter(std::make_unique<MsMessageFormatter>(79)),
      OwnStandardHandler(std::make_unique<MsMessageHandlerStdout>(StandardOut)),
      Formatter(OwnFormatter.get()), StandardHandler(OwnStandardHandler.get()),
      ErrStream(&ErrorOut), OutBuf(*this), OutStream(&OutBuf) {
  Init();
}

MsConsoleConcrete::MsConsoleConcrete(MsMessageFormatter &TheFormatter,
                                     MsMessageHandler &TheStandardHandler)
    : Formatter(&TheFormatter), StandardHandler(&TheStandardHandler),
      ErrStream(&std::cerr), OutBuf(*this), OutStream(&OutBuf) {
  Init();
}

MsConsoleConcrete::~MsConsoleConcrete() = default;

void MsConsoleConcrete::Init() {
  RegisterOwnMessages();
  PrepareOutOfMemory();
}

// --- Subsystems and tags ----------------------------------------------------

void MsConsoleConcrete::AddSubSystem(const std::string &Prefix,
                                     const MessageDef *Table,
                                     const bool *InternalFlags,
                                     std::uint16_t First, std::uint16_t Count,
                                     TextCallback Callback) {
  if (Started)
    GeInternalFailure("SubSystem inserted into the console too late");
  if (SubSystems.count(Prefix))
    GeInternalFailure("Subsystem '" + Prefix + "' already installed");
  if (Prefix.size() != 2)
    GeInternalFailure("MsConsole: subsystem prefix '" + Prefix +
                      "' is not two characters long");
  SubSystems.emplace(
      Prefix, SubSystem{Prefix, Table, InternalFlags, First, Count, Callback});
  if (!Table)
    return;
  for (std::uint32_t N = First; N < std::uint32_t(First) + Count; ++N) {
    MsTag Tag(Prefix[0], Prefix[1], static_cast<std::uint16_t>(N));
    if (!RawText(Tag))
      continue;
    if (!IsValidLevel(Table[N].DefaultLevel))
      GeInternalFailure("Unknown message level");
    TagLevels[Tag] = Table[N].DefaultLevel;
  }
}

void MsConsoleConcrete::AddSubSystem(const std::string &Prefix,
                                     const MessageDef *Table,
                                     std::uint16_t First, std::uint16_t Count) {
  AddSubSystem(Prefix, Table, nullptr, First, Count, nullptr);
}

void MsConsoleConcrete::RegisterOwnMessages() {
  if (SubSystems.count(MsMessagePrefix))
    return;
  AddSubSystem(MsMessagePrefix, MsMessageTable, MsFirstMessage, MsMessageCount);
}

const MsConsoleConcrete::SubSystem *
MsConsoleConcrete::FindSubSystem(const MsTag &Tag) const {
  auto It = SubSystems.find(Tag.PrefixText());
  return It == SubSystems.end() ? nullptr : &It->second;
}

const char *MsConsoleConcrete::RawText(const MsTag &Tag) const {
  const SubSystem *S = FindSubSystem(Tag);
  if (!S || Tag.Number < S->First ||
      std::uint32_t(Tag.Number) >= std::uint32_t(S->First) + S->Count)
    return nullptr;
  if (S->Callback)
    if (const char *Text = S->Callback(Tag.Number, S->PrefixText))
      return Text;
  return S->Table ? S->Table[Tag.Number].Text : nullptr;
}

void MsConsoleConcrete::ListTags(std::ostream &Out) const {
  for (const auto &Entry : SubSystems) {
    const SubSystem &S = Entry.second;
    for (std::uint32_t N = S.First; N < std::uint32_t(S.First) + S.Count; ++N) {
      MsTag Tag(S.PrefixText[0], S.PrefixText[1],
                static_cast<std::uint16_t>(N));
      const char *Text = RawText(Tag);
      if (!Text)
        continue;
      bool Internal =
          S.InternalFlags ? S.InternalFlags[N] : StartsWithInternalMarker(Text);
      if (Internal)
        continue;
      Out << TagText(Tag) << ":  " << Text << '\n';
    }
  }
}

std::string MsConsoleConcrete::TagText(const MsTag &Tag, bool) const {
  char Number[8];
  std::snprintf(Number, sizeof Number, "%03d", static_cast<int>(Tag.Number));
  const SubSystem *S = FindSubSystem(Tag);
  return S ? S->PrefixText + Number : std::string(Number);
}

bool MsConsoleConcrete::TextToTag(const std::string &Text, MsTag &Tag) const {
  if (Text.size() < 3)
    return false;
  auto It = SubSystems.find(Text.substr(0, 2));
  if (It == SubSystems.end())
    return false;
  std::uint32_t Number = 0;
  for (std::size_t I = 2; I < Text.size(); ++I) {
    if (Text[I] < '0' || Text[I] > '9')
      return false;
    Number = Number * 10 + static_cast<std::uint32_t>(Text[I] - '0');
    if (Number > 0xFFFF)
      return false;
  }
  MsTag Candidate(Text[0], Text[1], static_cast<std::uint16_t>(Number));
  if (!RawText(Candidate))
    return false;
  Tag = Candidate;
  return true;
}

std::string MsConsoleConcrete::MessageText(const MsTag &Tag) const {
  const char *Text = RawText(Tag);
  if (!Text)
    return std::string();
  if (StartsWithInternalMarker(Text))
    Text += InternalMarkerLength;
  return Text;
}

// --- Levels
// -------------------------------------------------------------------

int MsConsoleConcrete::KindOfLevel(Level Lvl) {
  switch (Lvl) {
  case FatalError:
    return MsMessage::KindFatalError;
  case CommandLineError:
    return MsMessage::KindCommandLineError;
  case ErrorFixed:
    return MsMessage::KindErrorFixed;
  case Error:
    return MsMessage::KindError;
  case Warning:
    return MsMessage::KindWarning;
  case Remark:
    return MsMessage::KindRemark;
  default:
    GeInternalFailure("Unknown message level");
  }
}

bool MsConsoleConcrete::SetTagLevel(const MsTag &Tag, Level Lvl) {
  if (!IsValidLevel(Lvl))
    GeInternalFailure("Unknown message level");
  auto It = TagLevels.find(Tag);
  if (It == TagLevels.end() || It->second == FatalError ||
      It->second == ErrorFixed)
    return false;
  It->second = Lvl;
  return true;
}

bool MsConsoleConcrete::SetTagLevel(const MsTag &Tag,
                                    const DiSourceRange &Range, Level Lvl) {
  if (!IsValidLevel(Lvl))
    GeInternalFailure("Unknown message level");
  auto It = TagLevels.find(Tag);
  if (It == TagLevels.end() || It->second == FatalError ||
      It->second == ErrorFixed)
    return false;
  RangeLevels.push_back(RangeLevel{Tag, Range, Lvl});
  return true;
}

MsConsole::Level MsConsoleConcrete::TagLevel(const MsTag &Tag,
                                             Level Default) const {
  auto It = TagLevels.find(Tag);
  return It == TagLevels.end() ? Default : It->second;
}

MsConsole::Level MsConsoleConcrete::EffectiveLevel(const MsTag &Tag,
                                                   const DiSourcePosition &Pos,
                                                   Level Default) const {
  return ApplyLevelRules(&Tag, Pos, TagLevel(Tag, Default));
}

MsConsole::Level MsConsoleConcrete::ApplyLevelRules(const MsTag *Tag,
                                                    const DiSourcePosition &Pos,
                                                    Level Lvl) const {
  if (!IsValidLevel(Lvl))
    GeInternalFailure("Unknown message level");
  if (Lvl == FatalError || Lvl == ErrorFixed)
    return Lvl;
  if (Tag && App &&
      (Lvl == Warning || Lvl == Remark ||
       (Tag->Prefix[0] == 'P' && Tag->Prefix[1] == 'm')) &&
      App->IsSuppressed(*Tag, Pos))
    return Suppressed;
  if (Tag)
    for (auto It = RangeLevels.rbegin(); It != RangeLevels.rend(); ++It)
      if (It->Tag == *Tag && It->Range.Contains(Pos)) {
        Lvl = It->Lvl;
        break;
      }
  if (Lvl == Warning && WarningsAreErrors)
    Lvl = Error;
  if (!WarningsEnabled && (Lvl == Warning || Lvl == Remark))
    Lvl = Suppressed;
  if (!RemarksEnabled && Lvl == Remark)
    Lvl = Suppressed;
  return Lvl;
}

// --- Handlers and application interface ----------------------------------

void MsConsoleConcrete::AddHandler(MsMessageHandler &Handler) {
  Handlers.push_back(&Handler);
}

void MsConsoleConcrete::RemoveHandler(MsMessageHandler &Handler) {
  for (auto It = Handlers.begin(); It != Handlers.end(); ++It)
    if (*It == &Handler) {
      Handlers.erase(It);
      return;
    }
}

void MsConsoleConcrete::SetApplicationInterface(
    ApplicationInterface *Interface) {
  App = Interface;
  PrepareOutOfMemory();
}

void MsConsoleConcrete::PrepareOutOfMemory() {
  OutOfMemory = std::make_unique<MsMessage>(MsMessage::KindOutOfMemory, MsTag(),
                                            DiSourceRange(),
                                            MakeTextContent("Out of memory"));
}

void MsConsoleConcrete::WriteSourceLine(const DiSourcePosition &Pos,
                                        std::ostream &Out) const {
  if (App)
    App->WriteSourceLine(Pos, Out);
  else
    MsMessageFormatter::WriteSourceLineWithCaret(Pos, Out);
}

std::unique_ptr<MsMessageContentInterface>
MsConsoleConcrete::MakeContent(const std::string &Format,
                               const MsFillIns &FillIns) const {
  if (App)
    return App->MakeContent(Format, FillIns);
  return std::make_unique<MsPlainMessageContent>(Format, FillIns);
}

std::unique_ptr<MsMessageContentInterface>
MsConsoleConcrete::MakeTextContent(const std::string &Text) const {
  if (App)
    return App->MakeTextContent(Text);
  return std::make_unique<MsPlainMessageContent>("%s", MsFillIns{Text});
}

// --- Reporting
// ----------------------------------------------------------------

void MsConsoleConcrete::Report(const MsTag &Tag, Level Lvl,
                               const std::string &FillIn) {
  Report(Tag, Lvl, DiSourceRange(), MsFillIns{FillIn});
}

void MsConsoleConcrete::Report(const MsTag &Tag, Level Lvl,
                               const DiSourceRange &Where,
                               const MsFillIns &FillIns) {
  if (!RawText(Tag))
    GeInternalFailure("MsConsole: unknown message " + TagText(Tag));
  Level Effective = EffectiveLevel(Tag, Where.Start, Lvl);
  if (Effective == Suppressed)
    return;
  int Kind = KindOfLevel(Effective);
  std::unique_ptr<MsMessageContentInterface> Content =
      MakeContent(MessageText(Tag), FillIns);
  Log.push_back(Released{Tag, Effective, Content->Text()});
  Release(std::make_unique<MsMessage>(Kind, Tag, Where, std::move(Content)));
  if (Effective == FatalError) {
    Start();
    ReleaseAbortLine();
    throw MsConsoleException();
  }
}

void MsConsoleConcrete::ReportText(Level Lvl, const DiSourceRange &Where,
                                   const std::string &Text) {
  Level Effective = ApplyLevelRules(nullptr, Where.Start, Lvl);
  if (Effective == Suppressed)
    return;
  int Kind = KindOfLevel(Effective);
  Log.push_back(Released{MsTag(), Effective, Text});
  Release(
      std::make_unique<MsMessage>(Kind, MsTag(), Where, MakeTextContent(Text)));
  if (Effective == FatalError) {
    Start();
    ReleaseAbortLine();
    throw MsConsoleException();
  }
}

void MsConsoleConcrete::ReportInternalError(const DiSourceRange &Where,
                                            const std::string &Text) {
  Release(std::make_unique<MsMessage>(MsMessage::KindInternalError, MsTag(),
                                      Where, MakeTextContent(Text)));
}

void MsConsoleConcrete::ReportFatalText(const std::string &Prefix,
                                        const std::string &Message) {
  std::string Text = "[" + Prefix + "]: " + Message;
  if (InFatal) {
    // Showing the first fatal text failed in turn; the console cannot be
    // trusted any more.
    std::fprintf(stderr, "Fatal error: %s\n", Text.c_str());
    std::fflush(stderr);
    std::exit(1);
  }
  InFatal = true;
  try {
    if (Draining) {
      // Raised while a queued message was being handed out: that message is
      // lost; show this one directly.
      MsMessage Fatal(
          MsMessage::KindFatalError, MsMakeTag(MsMsgFatalText), DiSourceRange(),
          MakeContent(MessageText(MsMakeTag(MsMsgFatalText)), MsFillIns{Text}));
      MsMessage Abort(MsMessage::KindAbort, MsTag(), DiSourceRange(), nullptr);
      Classify(Fatal);
      Dispatch(Fatal);
      Classify(Abort);
      Dispatch(Abort);
    } else {
      ReleaseFatal(Text);
    }
  } catch (...) {
  }
  ErrStream->flush();
  std::cout.flush();
  std::exit(1);
}

void MsConsoleConcrete::ReportOutOfMemory() {
  try {
    Classify(*OutOfMemory);
    Dispatch(*OutOfMemory);
  } catch (...) {
  }
}

void MsConsoleConcrete::WriteLine(const std::string &Line) {
  Release(std::make_unique<MsMessage>(MsMessage::KindInformation, MsTag(),
                                      DiSourceRange(), MakeTextContent(Line)));
}

void MsConsoleConcrete::WriteTextLine(const std::string &Line) {
  Release(std::make_unique<MsMessage>(MsMessage::KindText, MsTag(),
                                      DiSourceRange(), MakeTextContent(Line)));
}

void MsConsoleConcrete::AnnounceFile(const std::string &Path, bool System) {
  if (!AnnouncedFiles.insert(Path).second)
    return;
  ReleaseFile(System ? MsMessage::KindSystemDependFile
                     : MsMessage::KindDependFile,
              Path);
}

void MsConsoleConcrete::AnnounceIncludeFile(const std::string &Path) {
  if (!AnnouncedIncludes.insert(Path).second)
    return;
  ReleaseFile(MsMessage::KindIncludeFile, Path);
}

void MsConsoleConcrete::NotifyOutputFileWritten(const std::string &Path) {
  ReleaseFile(MsMessage::KindOutputFile, Path);
}

void MsConsoleConcrete::AddDependencyList(
    std::unique_ptr<MsDependHandler> List) {
  if (!List)
    GeInternalFailure("MsConsole: no dependency list");
  DependLists.push_back(std::move(List));
}

void MsConsoleConcrete::FinishDependencyLists() {
  // Let go of the lists first: a list that is being finished sees no more
  // messages, and the rest are abandoned if finishing one stops the run.
  std::vector<std::unique_ptr<MsDependHandler>> Lists;
  Lists.swap(DependLists);
  for (auto &List : Lists)
    List->Finish();
}

void MsConsoleConcrete::DiscardDependencyLists() { DependLists.clear(); }

void MsConsoleConcrete::ReleaseFile(int Kind, const std::string &Path) {
  Release(std::make_unique<MsMessage>(Kind, MsTag(), DiSourceRange(),
                                      MakeTextContent(Path)));
}

void MsConsoleConcrete::SetSignOn(const std::string &TitleLine,
                                  const std::string &CopyrightLine) {
  Title = TitleLine;
  Copyright = CopyrightLine;
  SignOnSet = true;
}

// --- Release and queue ----------------------------------------------------

bool MsConsoleConcrete::Classify(const MsMessage &M) {
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

void MsConsoleConcrete::Release(std::unique_ptr<MsMessage> M, bool CheckLimit) {
  if (!Classify(*M))
    return;
  Queue.push_back(std::move(M));
  if (!Started || Draining)
    return;
  Drain();
  if (CheckLimit)
    CheckErrorLimit();
}

void MsConsoleConcrete::Drain() {
  if (Draining)
    return;
  FlagScope Busy(Draining);
  while (!Queue.empty()) {
    std::unique_ptr<MsMessage> M = std::move(Queue.front());
    Queue.pop_front();
    if (M->Kind() == MsMessage::KindInformation && Silent)
      continue;
    Dispatch(*M);
  }
}

void MsConsoleConcrete::Dispatch(const MsMessage &M) {
  if (!Ide) {
    Formatter->Format(*ErrStream, M, *this);
    ErrStream->flush();
  }
  bool StopAfter = false;
  auto Hand = [&](MsMessageHandler *Handler) {
    try {
      Handler->Handle(M, *this);
    } catch (const MsConsoleException &) {
      StopAfter = true;
    }
  };
  if (MsMessageHandler *First = Ide ? Ide : StandardHandler)
    Hand(First);
  for (std::size_t I = 0; I < Handlers.size(); ++I)
    Hand(Handlers[I]);
  for (std::size_t I = 0; I < DependLists.size(); ++I)
    Hand(DependLists[I].get());
  if (StopAfter)
    throw MsConsoleException();
}

void MsConsoleConcrete::CheckErrorLimit() {
  if (ErrLimit == 0 || Errors < ErrLimit)
    return;
  ErrLimit = 0;
  ReleaseFatal("Error limit reached\n");
  throw MsConsoleException();
}

void MsConsoleConcrete::ReleaseFatal(const std::string &Text) {
  MsTag Tag = MsMakeTag(MsMsgFatalText);
  std::unique_ptr<MsMessageContentInterface> Content =
      MakeContent(MessageText(Tag), MsFillIns{Text});
  Log.push_back(Released{Tag, FatalError, Content->Text()});
  MarkStarted();
  Release(std::make_unique<MsMessage>(MsMessage::KindFatalError, Tag,
                                      DiSourceRange(), std::move(Content)),
          false);
  ReleaseAbortLine();
}

void MsConsoleConcrete::ReleaseAbortLine() {
  Release(std::make_unique<MsMessage>(MsMessage::KindAbort, MsTag(),
                                      DiSourceRange(), nullptr),
          false);
}

void MsConsoleConcrete::MarkStarted() {
  if (Started)
    return;
  Started = true;
  // The sign-on lines go before everything that waited for the start.
  if (SignOnSet && !SignOnSuppressed && !Silent) {
    Queue.push_front(std::make_unique<MsMessage>(MsMessage::KindInformation,
                                                 MsTag(), DiSourceRange(),
                                                 MakeTextContent(Copyright)));
    Queue.push_front(std::make_unique<MsMessage>(MsMessage::KindInformation,
                                                 MsTag(), DiSourceRange(),
                                                 MakeTextContent(Title)));
  }
}

void MsConsoleConcrete::Start() {
  MarkStarted();
  if (Draining)
    return;
  Drain();
  CheckErrorLimit();
}

// --- Run control
// ----------------------------------------------------------------

int MsConsoleConcrete::Summary(std::ostream &Out) {
  if (Aborted || Errors)
    DiscardDependencyLists();
  try {
    FinishDependencyLists();
  } catch (const MsConsoleException &) {
    // Writing a list reached the error limit; the run is aborted now.
  }
  if (!Aborted) {
    Out << "\nErrors: ";
    if (Errors)
      Out << Errors;
    else
      Out << "none";
    Out << "\nWarnings: ";
    if (Warnings)
      Out << Warnings;
    else
      Out << "none";
    Out << '\n';
  }
  if (StoppedByRequest)
    return 4;
  if (Aborted)
    return 3;
  if (Errors)
    return 2;
  if (!Warnings)
    return 0;
  return WarningsAffectExitCode || MsIdeMode() ? 1 : 0;
}

MsWorkingProgress &MsConsoleConcrete::Progress() {
  if (!ProgressObject)
    ProgressObject = std::make_unique<MsWorkingProgressConcrete>();
  return *ProgressObject;
}

void MsConsoleConcrete::CheckStopRequest() {
  if (!Stop || !Stop->StopRequested())
    return;
  StoppedByRequest = true;
  Aborted = true;
  throw MsConsoleException();
}

namespace {
MsConsoleConcrete *ProcessConsole = nullptr;
MsMessageFormatter *ProcessFormatter = nullptr;
MsMessageHandlerStdout *ProcessStandard = nullptr;

/// At exit: abandons the lists that were never finished (the run stopped
/// before its summary), which removes their temporary files.
void DiscardProcessLists() {
  if (ProcessConsole)
    ProcessConsole->DiscardDependencyLists();
}
} // namespace

MsConsole &MsGetConsole() {
  // Never destroyed at exit, so that reports made while the process ends
  // still work.
  if (!ProcessConsole) {
    static const bool ExitHook = std::atexit(DiscardProcessLists) == 0;
    (void)ExitHook;
    ProcessFormatter = new MsMessageFormatter(79);
    ProcessStandard = new MsMessageHandlerStdout(std::cout);
    ProcessConsole = new MsConsoleConcrete(*ProcessFormatter, *ProcessStandard);
  }
  return *ProcessConsole;
}

void MsResetProcessConsole() {
  if (!ProcessConsole)
    return;
  ProcessConsole->DiscardDependencyLists();
  delete ProcessConsole;
  delete ProcessStandard;
  delete ProcessFormatter;
  ProcessConsole = nullptr;
  ProcessStandard = nullptr;
  ProcessFormatter = nullptr;
}
