// The diagnostics console: turns reports into messages for its engine, keeps
// the handler chain in order, owns the dependency lists; the process-wide
// console.
#include "console/MsConsoleConcrete.h"

#include "console/MsDependHandler.h"
#include "console/MsMessageFormatter.h"
#include "console/MsMessages.h"
#include "console/MsWorkingProgress.h"
#include "general/GeInternalFailure.h"

#include <cstdio>
#include <cstdlib>
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
    : Engine(*this), OwnFormatter(std::make_unique<MsMessageFormatter>(79)),
      OwnStandardHandler(std::make_unique<MsMessageHandlerStdout>(StandardOut)),
      Formatter(OwnFormatter.get()), StandardHandler(OwnStandardHandler.get()),
      ErrStream(&ErrorOut), OutBuf(*this), OutStream(&OutBuf) {
  RegisterOwnMessages();
  PrepareOutOfMemory();
  RebuildChain();
}

MsConsoleConcrete::MsConsoleConcrete(MsMessageFormatter &TheFormatter,
                                     MsMessageHandler &TheStandardHandler)
    : Engine(*this), Formatter(&TheFormatter),
      StandardHandler(&TheStandardHandler), ErrStream(&std::cerr),
      OutBuf(*this), OutStream(&OutBuf) {
  RegisterOwnMessages();
  PrepareOutOfMemory();
  RebuildChain();
}

MsConsoleConcrete::~MsConsoleConcrete() {
  // The lists go first, while the chain and everything a list may report
  // through are still whole.
  DiscardDependencyLists();
}

// --- Subsystems and tags ----------------------------------------------------

void MsConsoleConcrete::AddSubSystem(const std::string &Prefix,
                                     const MessageDef *Table,
                                     const bool *InternalFlags,
                                     std::uint16_t First, std::uint16_t Count,
                                     TextCallback Callback) {
  if (Engine.IsStarted())
    GeInternalFailure("SubSystem inserted into the console too late");
  Tags.Add(Prefix, Table, InternalFlags, First, Count, Callback);
}

void MsConsoleConcrete::AddSubSystem(const std::string &Prefix,
                                     const MessageDef *Table,
                                     std::uint16_t First, std::uint16_t Count) {
  AddSubSystem(Prefix, Table, nullptr, First, Count, nullptr);
}

void MsConsoleConcrete::RegisterOwnMessages() {
  if (!Tags.HasPrefix(MsMessagePrefix))
    AddSubSystem(MsMessagePrefix, MsMessageTable, MsFirstMessage,
                 MsMessageCount);
}

void MsConsoleConcrete::ListTags(std::ostream &Out) const { Tags.List(Out); }

std::string MsConsoleConcrete::TagText(const MsTag &Tag, bool) const {
  return Tags.TagText(Tag);
}

bool MsConsoleConcrete::TextToTag(const std::string &Text, MsTag &Tag) const {
  return Tags.TextToTag(Text, Tag);
}

std::string MsConsoleConcrete::MessageText(const MsTag &Tag) const {
  return Tags.MessageText(Tag);
}

bool MsConsoleConcrete::SetTagLevel(const MsTag &Tag, Level Lvl) {
  return Tags.SetLevel(Tag, Lvl);
}

bool MsConsoleConcrete::SetTagLevel(const MsTag &Tag,
                                    const DiSourceRange &Range, Level Lvl) {
  return Tags.SetLevel(Tag, Range, Lvl);
}

MsConsole::Level MsConsoleConcrete::TagLevel(const MsTag &Tag,
                                             Level Default) const {
  return Tags.LevelOf(Tag, Default);
}

MsConsole::Level MsConsoleConcrete::EffectiveLevel(const MsTag &Tag,
                                                   const DiSourcePosition &Pos,
                                                   Level Default) const {
  return Tags.Map(&Tag, Pos, Tags.LevelOf(Tag, Default), App);
}

// --- Handlers and application interface ----------------------------------

void MsConsoleConcrete::RebuildChain() {
  std::vector<MsMessageHandler *> Chain;
  if (Ide) {
    Chain.push_back(Ide);
  } else {
    Chain.push_back(&Human);
    if (StandardHandler)
      Chain.push_back(StandardHandler);
  }
  Chain.insert(Chain.end(), Handlers.begin(), Handlers.end());
  for (const auto &List : DependLists)
    Chain.push_back(List.get());
  Engine.SetHandlers(std::move(Chain));
}

void MsConsoleConcrete::AddHandler(MsMessageHandler &Handler) {
  Handlers.push_back(&Handler);
  RebuildChain();
}

void MsConsoleConcrete::RemoveHandler(MsMessageHandler &Handler) {
  for (auto It = Handlers.begin(); It != Handlers.end(); ++It)
    if (*It == &Handler) {
      Handlers.erase(It);
      RebuildChain();
      return;
    }
}

void MsConsoleConcrete::SetIdeHandler(MsMessageHandler *Handler) {
  Ide = Handler;
  RebuildChain();
}

void MsConsoleConcrete::SetApplicationInterface(
    ApplicationInterface *Interface) {
  App = Interface;
  PrepareOutOfMemory();
}

void MsConsoleConcrete::PrepareOutOfMemory() {
  OutOfMemory = std::make_unique<MsMessage>(
      MsMessage::KindOutOfMemory, MsTag(), DiSourceRange(),
      MsMakeTextContent(App, "Out of memory"));
}

void MsConsoleConcrete::WriteSourceLine(const DiSourcePosition &Pos,
                                        std::ostream &Out) const {
  if (App)
    App->WriteSourceLine(Pos, Out);
  else
    MsMessageFormatter::WriteSourceLineWithCaret(Pos, Out);
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
  if (!Tags.RawText(Tag))
    GeInternalFailure("MsConsole: unknown message " + TagText(Tag));
  Level Effective = EffectiveLevel(Tag, Where.Start, Lvl);
  if (Effective == Suppressed)
    return;
  int Kind = MsTagTable::KindOfLevel(Effective);
  std::unique_ptr<MsMessageContentInterface> Content =
      MsMakeContent(App, MessageText(Tag), FillIns);
  Engine.Log(Tag, Effective, Content->Text());
  Engine.Release(
      std::make_unique<MsMessage>(Kind, Tag, Where, std::move(Content)));
  if (Effective == FatalError)
    StopAfterFatal();
}

void MsConsoleConcrete::ReportText(Level Lvl, const DiSourceRange &Where,
                                   const std::string &Text) {
  Level Effective = Tags.Map(nullptr, Where.Start, Lvl, App);
  if (Effective == Suppressed)
    return;
  int Kind = MsTagTable::KindOfLevel(Effective);
  Engine.Log(MsTag(), Effective, Text);
  Engine.Release(std::make_unique<MsMessage>(Kind, MsTag(), Where,
                                             MsMakeTextContent(App, Text)));
  if (Effective == FatalError)
    StopAfterFatal();
}

void MsConsoleConcrete::StopAfterFatal() {
  Start();
  Engine.ReleaseAbortLine();
  throw MsConsoleException();
}

void MsConsoleConcrete::ReportInternalError(const DiSourceRange &Where,
                                            const std::string &Text) {
  Engine.Release(std::make_unique<MsMessage>(MsMessage::KindInternalError,
                                             MsTag(), Where,
                                             MsMakeTextContent(App, Text)));
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
    if (Engine.IsDraining()) {
      // Raised while a queued message was being handed out: that message is
      // lost; show this one directly.
      MsTag Tag = MsMakeTag(MsMsgFatalText);
      MsMessage Fatal(MsMessage::KindFatalError, Tag, DiSourceRange(),
                      MsMakeContent(App, MessageText(Tag), MsFillIns{Text}));
      MsMessage Abort(MsMessage::KindAbort, MsTag(), DiSourceRange(), nullptr);
      Engine.Classify(Fatal);
      Engine.Dispatch(Fatal);
      Engine.Classify(Abort);
      Engine.Dispatch(Abort);
    } else {
      Engine.ReleaseFatal(Text);
    }
  } catch (...) {
  }
  ErrStream->flush();
  std::cout.flush();
  std::exit(1);
}

void MsConsoleConcrete::ReportOutOfMemory() {
  try {
    Engine.Classify(*OutOfMemory);
    Engine.Dispatch(*OutOfMemory);
  } catch (...) {
  }
}

void MsConsoleConcrete::ReleaseText(int Kind, const std::string &Text) {
  Engine.Release(std::make_unique<MsMessage>(Kind, MsTag(), DiSourceRange(),
                                             MsMakeTextContent(App, Text)));
}

void MsConsoleConcrete::WriteLine(const std::string &Line) {
  ReleaseText(MsMessage::KindInformation, Line);
}

void MsConsoleConcrete::WriteTextLine(const std::string &Line) {
  ReleaseText(MsMessage::KindText, Line);
}

void MsConsoleConcrete::AnnounceFile(const std::string &Path, bool System) {
  if (AnnouncedFiles.insert(Path).second)
    ReleaseText(System ? MsMessage::KindSystemDependFile
                       : MsMessage::KindDependFile,
                Path);
}

void MsConsoleConcrete::AnnounceIncludeFile(const std::string &Path) {
  if (AnnouncedIncludes.insert(Path).second)
    ReleaseText(MsMessage::KindIncludeFile, Path);
}

void MsConsoleConcrete::NotifyOutputFileWritten(const std::string &Path) {
  ReleaseText(MsMessage::KindOutputFile, Path);
}

// --- Dependency lists -------------------------------------------------------

void MsConsoleConcrete::AddDependencyList(
    std::unique_ptr<MsDependHandler> List) {
  if (!List)
    GeInternalFailure("MsConsole: no dependency list");
  DependLists.push_back(std::move(List));
  RebuildChain();
}

void MsConsoleConcrete::FinishDependencyLists() {
  // Let go of the lists first: a list that is being finished sees no more
  // messages, and the rest are abandoned if finishing one stops the run.
  std::vector<std::unique_ptr<MsDependHandler>> Lists;
  Lists.swap(DependLists);
  RebuildChain();
  for (auto &List : Lists)
    List->Finish();
}

void MsConsoleConcrete::DiscardDependencyLists() {
  DependLists.clear();
  RebuildChain();
}

void MsConsoleConcrete::SetSignOn(const std::string &TitleLine,
                                  const std::string &CopyrightLine) {
  Engine.SetSignOn(TitleLine, CopyrightLine);
}

// --- Run control
// ----------------------------------------------------------------

void MsConsoleConcrete::Start() { Engine.Start(); }

int MsConsoleConcrete::Summary(std::ostream &Out) {
  if (Engine.IsAborted() || Engine.ErrorCount())
    DiscardDependencyLists();
  try {
    FinishDependencyLists();
  } catch (const MsConsoleException &) {
    // Writing a list reached the error limit; the run is aborted now.
  }
  Engine.WriteSummary(Out);
  return Engine.ExitStatus(HasIdeHandler());
}

MsWorkingProgress &MsConsoleConcrete::Progress() {
  if (!ProgressObject)
    ProgressObject = std::make_unique<MsWorkingProgressConcrete>();
  return *ProgressObject;
}

void MsConsoleConcrete::CheckStopRequest() {
  if (!Stop || !Stop->StopRequested())
    return;
  Engine.MarkStoppedByRequest();
  throw MsConsoleException();
}

// --- The process-wide console -----------------------------------------------

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
