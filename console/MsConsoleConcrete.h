// The one implementation of the diagnostics console.
#ifndef CONSOLE_MSCONSOLECONCRETE_H
#define CONSOLE_MSCONSOLECONCRETE_H

#include "console/MsConsole.h"
#include "console/MsMessage.h"
#include "console/MsMessageEngine.h"
#include "console/MsMessageHandler.h"
#include "console/MsTagTable.h"

#include <memory>
#include <ostream>
#include <set>
#include <streambuf>
#include <string>
#include <vector>

class MsMessageHandlerStdout;

/// The console, composed of three parts: the tag table (subsystems, tag
/// texts and levels, the level rule: MsTagTable), the message engine
/// (counting, queue, error limit, exit status: MsMessageEngine) and the
/// handler chain the engine feeds. The console itself turns reports into
/// messages, owns the dependency lists and keeps the chain in order.
///
/// Handler chain. Every released message goes, in this order, to the human
/// handler (MsMessageHandlerHuman: the formatter's human form of
/// diagnostics, abort, out-of-memory and internal-error messages on the
/// error stream, which is standard error or whatever SetErrorStream() names),
/// the standard handler (only the informational and text lines, to standard
/// output), the handlers added with AddHandler(), and last the dependency
/// lists. So each message's human form appears exactly once. When an IDE
/// handler is stored it takes the place of the human and the standard
/// handler: its protocol replaces the human form. None of the streams,
/// handlers, the formatter, the application interface or the stop query is
/// owned, except the formatter and standard handler that the stream-taking
/// constructors make, and the dependency lists. The lists of the
/// process-wide console are discarded when the process exits, so that an
/// unfinished list never leaves a temporary file behind.
///
/// Fatal errors. A fatal message (a report of level 0, the error limit, the
/// fatal text report) starts the console, is released, and is followed by
/// the abort line "Fatal error detected, aborting." (kind 0); then the run
/// stops: by MsConsoleException, or for the fatal text report by ending the
/// process with status 1.
///
/// Before anything is printed a report is rendered once to check its
/// fill-ins, so a format that does not match its fill-ins fails at the
/// issuer's call; that rendering is kept in Messages().
///
/// Without an application interface the console still reports: it builds
/// MsPlainMessageContent (the same format language, not wrapped) and shows
/// source lines with its own routine.
///
/// Start. The framework starts the console after setup; the sign-on lines,
/// when set and neither suppressed nor silent, come out first. Messages that
/// are still queued are not shown by Summary(), which only counts.
class MsConsoleConcrete : public MsConsole {
public:
  /// Collects characters into a line and hands every finished line to the
  /// console's WriteLine() at each line feed.
  class ConsoleStreamBuf : public std::streambuf {
  public:
    explicit ConsoleStreamBuf(MsConsole &Console) : Owner(Console) {}

  protected:
    int_type overflow(int_type Ch) override;
    std::streamsize xsputn(const char *Text, std::streamsize Count) override;

  private:
    MsConsole &Owner;
    std::string Line;
  };

  /// A console with its own formatter (width 79), writing diagnostics to
  /// standard error and its standard handler's lines to standard output.
  MsConsoleConcrete();
  /// The same with the two streams given (not owned).
  MsConsoleConcrete(std::ostream &ErrorOut, std::ostream &StandardOut);
  /// A console using Formatter and StandardHandler (not owned), writing
  /// diagnostics to standard error.
  MsConsoleConcrete(MsMessageFormatter &Formatter,
                    MsMessageHandler &StandardHandler);
  ~MsConsoleConcrete() override;

  MsConsoleConcrete(const MsConsoleConcrete &) = delete;
  MsConsoleConcrete &operator=(const MsConsoleConcrete &) = delete;

  void AddSubSystem(const std::string &Prefix, const MessageDef *Table,
                    const bool *InternalFlags, std::uint16_t First,
                    std::uint16_t Count, TextCallback Callback) override;
  void AddSubSystem(const std::string &Prefix, const MessageDef *Table,
                    std::uint16_t First, std::uint16_t Count) override;
  void RegisterOwnMessages() override;
  void ListTags(std::ostream &Out) const override;
  std::string TagText(const MsTag &Tag, bool Changeable = false) const override;
  bool TextToTag(const std::string &Text, MsTag &Tag) const override;
  std::string MessageText(const MsTag &Tag) const override;
  bool SetTagLevel(const MsTag &Tag, Level Lvl) override;
  bool SetTagLevel(const MsTag &Tag, const DiSourceRange &Range,
                   Level Lvl) override;
  Level TagLevel(const MsTag &Tag, Level Default) const override;
  Level EffectiveLevel(const MsTag &Tag, const DiSourcePosition &Pos,
                       Level Default) const override;

  void SetErrorStream(std::ostream &Stream) override { ErrStream = &Stream; }
  std::ostream &ErrorStream() const override { return *ErrStream; }
  MsMessageFormatter &GetFormatter() const override { return *Formatter; }
  void AddHandler(MsMessageHandler &Handler) override;
  void RemoveHandler(MsMessageHandler &Handler) override;
  void SetIdeHandler(MsMessageHandler *Handler) override;
  bool HasIdeHandler() const override { return Ide != nullptr; }
  void SetStopQuery(MsStopQuery *Query) override { Stop = Query; }
  void SetApplicationInterface(ApplicationInterface *Interface) override;
  ApplicationInterface *GetApplicationInterface() const override { return App; }
  void WriteSourceLine(const DiSourcePosition &Pos,
                       std::ostream &Out) const override;

  void Report(const MsTag &Tag, Level Lvl, const std::string &FillIn) override;
  void Report(const MsTag &Tag, Level Lvl, const DiSourceRange &Where,
              const MsFillIns &FillIns) override;
  void ReportText(Level Lvl, const DiSourceRange &Where,
                  const std::string &Text) override;
  void ReportInternalError(const DiSourceRange &Where,
                           const std::string &Text) override;
  [[noreturn]] void ReportFatalText(const std::string &Prefix,
                                    const std::string &Message) override;
  void ReportOutOfMemory() override;
  void WriteLine(const std::string &Line) override;
  void WriteTextLine(const std::string &Line) override;
  std::ostream &OutputStream() override { return OutStream; }
  void AnnounceFile(const std::string &Path, bool System = false) override;
  void AnnounceIncludeFile(const std::string &Path) override;
  void NotifyOutputFileWritten(const std::string &Path) override;
  void SetMainOutputName(const std::string &Name) override {
    MainOutput = Name;
  }
  const std::string &MainOutputName() const override { return MainOutput; }
  void SetMainInputName(const std::string &Name) override { MainInput = Name; }
  const std::string &MainInputName() const override { return MainInput; }
  void AddDependencyList(std::unique_ptr<MsDependHandler> List) override;
  void FinishDependencyLists() override;
  void DiscardDependencyLists() override;
  void SetSignOn(const std::string &Title,
                 const std::string &Copyright) override;
  void SetSignOnSuppressed(bool On) override { Engine.SetSignOnSuppressed(On); }
  const std::string &SignOnTitle() const override {
    return Engine.SignOnTitle();
  }
  const std::string &SignOnCopyright() const override {
    return Engine.SignOnCopyright();
  }

  int Summary(std::ostream &Out) override;
  MsWorkingProgress &Progress() override;
  void CheckStopRequest() override;
  void Start() override;
  bool IsStarted() const override { return Engine.IsStarted(); }

  void SetSilent(bool On) override { Engine.SetSilent(On); }
  void SetWarningsEnabled(bool On) override { Tags.SetWarningsEnabled(On); }
  void SetRemarksEnabled(bool On) override { Tags.SetRemarksEnabled(On); }
  void SetWarningsAreErrors(bool On) override { Tags.SetWarningsAreErrors(On); }
  void SetWarningsAffectExitCode(bool On) override {
    Engine.SetWarningsAffectExitCode(On);
  }
  void SetErrorLimit(std::uint32_t Limit) override {
    Engine.SetErrorLimit(Limit);
  }
  std::uint32_t ErrorLimit() const override { return Engine.ErrorLimit(); }
  unsigned ErrorCount() const override { return Engine.ErrorCount(); }
  unsigned WarningCount() const override { return Engine.WarningCount(); }
  bool IsAborted() const override { return Engine.IsAborted(); }
  bool IsStoppedByRequest() const { return Engine.IsStoppedByRequest(); }

  using Released = MsMessageEngine::Released;
  /// Every diagnostic reported so far (levels 0 to 5), in arrival order.
  const std::vector<Released> &Messages() const { return Engine.Messages(); }

private:
  /// Hands the chain, in its order, to the engine.
  void RebuildChain();
  void ReleaseText(int Kind, const std::string &Text);
  /// After a fatal report: starts, releases the abort line and throws.
  [[noreturn]] void StopAfterFatal();
  void PrepareOutOfMemory();

  MsTagTable Tags;
  MsMessageEngine Engine;

  std::unique_ptr<MsMessageFormatter> OwnFormatter;
  std::unique_ptr<MsMessageHandlerStdout> OwnStandardHandler;
  MsMessageFormatter *Formatter = nullptr;
  MsMessageHandlerHuman Human;
  MsMessageHandler *StandardHandler = nullptr;
  MsMessageHandler *Ide = nullptr;
  std::vector<MsMessageHandler *> Handlers;
  std::vector<std::unique_ptr<MsDependHandler>> DependLists;
  std::string MainOutput;
  std::string MainInput;
  ApplicationInterface *App = nullptr;
  MsStopQuery *Stop = nullptr;
  std::ostream *ErrStream;
  bool InFatal = false;

  ConsoleStreamBuf OutBuf;
  std::ostream OutStream;

  std::set<std::string> AnnouncedFiles;
  std::set<std::string> AnnouncedIncludes;
  std::unique_ptr<MsMessage> OutOfMemory;
  std::unique_ptr<MsWorkingProgress> ProgressObject;
};

#endif
