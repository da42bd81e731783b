// The one implementation of the diagnostics console.
#ifndef CONSOLE_MSCONSOLECONCRETE_H
#define CONSOLE_MSCONSOLECONCRETE_H

#include "console/MsConsole.h"
#include "console/MsMessage.h"

#include <deque>
#include <map>
#include <memory>
#include <ostream>
#include <set>
#include <streambuf>
#include <string>
#include <vector>

class MsMessageHandlerStdout;

/// The console. It owns the subsystem table and the tag levels, works out the
/// effective level of each report, counts, enforces the error limit, holds
/// released messages in a queue until it is started, and then hands each one
/// to its formatter and its handlers; at the end it prints the summary and
/// answers the exit status.
///
/// Outputs. The formatter writes the human form of diagnostics (and of the
/// abort, out-of-memory and internal-error messages) to the error stream:
/// standard error, or whatever SetErrorStream() names (standard output with
/// only_stdout). The standard handler writes only the informational and text
/// lines, to standard output. So each message's human form appears exactly
/// once. When an IDE handler is stored it takes the standard handler's place
/// and the formatter is not used: the protocol replaces the human form.
/// Further handlers follow, and after them the dependency lists. None of the
/// streams, handlers, the formatter, the application interface or the stop
/// query is owned, except the formatter and standard handler that the
/// stream-taking constructors make, and the dependency lists. The lists of
/// the process-wide console are discarded when the process exits, so that an
/// unfinished list never leaves a temporary file behind.
///
/// Levels. Each registered table gives every tag its default level; the
/// diag options change them (SetTagLevel), but never a tag at level 0 or 2.
/// The level of a report is worked out by these steps: (1) the tag's level
/// (the issuer's level for a tag without table entry); (2) 0 and 2 are
/// final; (3) a warning or remark, or any "Pm" tag, that the application
/// interface suppresses at the position becomes 6; (4) the latest range
/// override of the tag that contains the position applies; (5) a warning
/// becomes an error (3) when warnings are errors; (6) warnings and remarks
/// become 6 when warnings are disabled; (7) remarks become 6 unless remarks
/// are enabled. Level 6 drops the message.
///
/// Release. Kinds 0 and 1 mark the run as aborted, kinds 2 to 5 count one
/// error, kind 6 one warning; aborts and errors call the application
/// interface's NotifyError(). Informational lines are dropped when silent.
/// After the queue is drained, reaching the error limit (default 100, 0 for
/// none) reports the fatal text "Error limit reached\n" once and throws
/// MsConsoleException.
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
  void SetIdeHandler(MsMessageHandler *Handler) override { Ide = Handler; }
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
  void SetSignOnSuppressed(bool On) override { SignOnSuppressed = On; }
  const std::string &SignOnTitle() const override { return Title; }
  const std::string &SignOnCopyright() const override { return Copyright; }

  int Summary(std::ostream &Out) override;
  MsWorkingProgress &Progress() override;
  void CheckStopRequest() override;
  void Start() override;
  bool IsStarted() const override { return Started; }

  void SetSilent(bool On) override { Silent = On; }
  void SetWarningsEnabled(bool On) override { WarningsEnabled = On; }
  void SetRemarksEnabled(bool On) override { RemarksEnabled = On; }
  void SetWarningsAreErrors(bool On) override { WarningsAreErrors = On; }
  void SetWarningsAffectExitCode(bool On) override {
    WarningsAffectExitCode = On;
  }
  void SetErrorLimit(std::uint32_t Limit) override { ErrLimit = Limit; }
  std::uint32_t ErrorLimit() const override { return ErrLimit; }
  unsigned ErrorCount() const override { return Errors; }
  unsigned WarningCount() const override { return Warnings; }
  bool IsAborted() const override { return Aborted; }
  bool IsStoppedByRequest() const { return StoppedByRequest; }

  /// A reported diagnostic as it was released: its tag, its effective level
  /// and its text as it stands.
  struct Released {
    MsTag Tag;
    Level Lvl;
    std::string Text;
  };
  /// Every diagnostic reported so far (levels 0 to 5), in arrival order.
  const std::vector<Released> &Messages() const { return Log; }

  /// The kind a diagnostic of level Lvl is shown as (0 to kind 2, ..., 5 to
  /// kind 7); any other level is the internal failure "Unknown message
  /// level".
  static int KindOfLevel(Level Lvl);

private:
  struct SubSystem {
    std::string PrefixText;
    const MessageDef *Table;
    const bool *InternalFlags;
    std::uint16_t First;
    std::uint16_t Count;
    TextCallback Callback;
  };
  struct RangeLevel {
    MsTag Tag;
    DiSourceRange Range;
    Level Lvl;
  };

  void Init();
  const SubSystem *FindSubSystem(const MsTag &Tag) const;
  /// The raw text of Tag (table or callback), or null.
  const char *RawText(const MsTag &Tag) const;
  Level ApplyLevelRules(const MsTag *Tag, const DiSourcePosition &Pos,
                        Level Lvl) const;
  std::unique_ptr<MsMessageContentInterface>
  MakeContent(const std::string &Format, const MsFillIns &FillIns) const;
  std::unique_ptr<MsMessageContentInterface>
  MakeTextContent(const std::string &Text) const;
  void PrepareOutOfMemory();

  /// Counts M by its kind, queues it, and drains the queue when started;
  /// then checks the error limit unless CheckLimit is false.
  void Release(std::unique_ptr<MsMessage> M, bool CheckLimit = true);
  /// Counts M by its kind; false when M is to be dropped.
  bool Classify(const MsMessage &M);
  /// Sets the started flag; queues the sign-on lines the first time.
  void MarkStarted();
  void Drain();
  /// Hands M to the formatter and the handlers; rethrows a handler's
  /// MsConsoleException after all of them saw M.
  void Dispatch(const MsMessage &M);
  void CheckErrorLimit();
  /// Releases the fatal message Text (tag Ms008) and the abort line.
  void ReleaseFatal(const std::string &Text);
  void ReleaseAbortLine();
  void ReleaseFile(int Kind, const std::string &Path);

  std::map<std::string, SubSystem> SubSystems;
  std::map<MsTag, Level> TagLevels;
  std::vector<RangeLevel> RangeLevels;

  bool Silent = false;
  bool Aborted = false;
  unsigned Errors = 0;
  std::uint32_t ErrLimit = 100;
  unsigned Warnings = 0;
  bool RemarksEnabled = false;
  bool WarningsEnabled = true;
  bool WarningsAffectExitCode = false;
  bool WarningsAreErrors = false;
  bool Started = false;
  bool StoppedByRequest = false;
  bool Draining = false;
  bool InFatal = false;

  std::deque<std::unique_ptr<MsMessage>> Queue;
  std::unique_ptr<MsMessageFormatter> OwnFormatter;
  std::unique_ptr<MsMessageHandlerStdout> OwnStandardHandler;
  MsMessageFormatter *Formatter = nullptr;
  MsMessageHandler *StandardHandler = nullptr;
  MsMessageHandler *Ide = nullptr;
  std::vector<MsMessageHandler *> Handlers;
  std::vector<std::unique_ptr<MsDependHandler>> DependLists;
  std::string MainOutput;
  std::string MainInput;
  ApplicationInterface *App = nullptr;
  MsStopQuery *Stop = nullptr;
  std::ostream *ErrStream;

  ConsoleStreamBuf OutBuf;
  std::ostream OutStream;

  std::set<std::string> AnnouncedFiles;
  std::set<std::string> AnnouncedIncludes;
  std::unique_ptr<MsMessage> OutOfMemory;
  std::unique_ptr<MsWorkingProgress> ProgressObject;
  std::string Title;
  std::string Copyright;
  bool SignOnSuppressed = false;
  bool SignOnSet = false;
  std::vector<Released> Log;
};

#endif
