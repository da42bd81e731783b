// The diagnostics console: the process-wide face through which every part of
// the program reports.
#ifndef CONSOLE_MSCONSOLE_H
#define CONSOLE_MSCONSOLE_H

#include "console/MsMessageContent.h"
#include "general/GeDisk.h"
#include "sourcepos/DiSourcePosition.h"

#include <cstdint>
#include <exception>
#include <iosfwd>
#include <memory>
#include <new>
#include <string>

class MsDependHandler;
class MsMessageFormatter;
class MsMessageHandler;
class MsWorkingProgress;

/// Thrown by the console to stop the run after a reported error (a fatal
/// error, the error limit, a stop request) and by any part that must stop the
/// run after it has reported its error. Carries nothing its catchers read.
class MsConsoleException : public std::exception {
public:
  const char *what() const noexcept override;
};

/// A diagnostic tag: a two-character subsystem prefix and a message number,
/// written as the prefix followed by the number in "%03d" form (Ms001).
/// Tags order by the first prefix character, the second, then the number.
/// The default tag (prefix 0 0, number 0) stands for "no tag".
struct MsTag {
  MsTag() = default;
  MsTag(char First, char Second, std::uint16_t Num)
      : Prefix{First, Second}, Number(Num) {}
  /// Builds a tag from a two-character prefix text such as "Lc".
  MsTag(const char *PrefixText, std::uint16_t Num)
      : Prefix{PrefixText[0], PrefixText[0] ? PrefixText[1] : '\0'},
        Number(Num) {}

  char Prefix[2] = {0, 0};
  std::uint16_t Number = 0;

  /// Whether this is a real tag rather than the "no tag" default.
  bool IsSet() const { return Prefix[0] || Prefix[1] || Number; }
  /// The prefix as a two-character text.
  std::string PrefixText() const { return std::string(Prefix, 2); }

  friend bool operator<(const MsTag &A, const MsTag &B) {
    if (A.Prefix[0] != B.Prefix[0])
      return A.Prefix[0] < B.Prefix[0];
    if (A.Prefix[1] != B.Prefix[1])
      return A.Prefix[1] < B.Prefix[1];
    return A.Number < B.Number;
  }
  friend bool operator==(const MsTag &A, const MsTag &B) {
    return A.Prefix[0] == B.Prefix[0] && A.Prefix[1] == B.Prefix[1] &&
           A.Number == B.Number;
  }
  friend bool operator!=(const MsTag &A, const MsTag &B) { return !(A == B); }
};

/// Answers whether the user asked to stop the run. The IDE agent installs
/// one on the console; the console asks it in CheckStopRequest().
class MsStopQuery {
public:
  virtual ~MsStopQuery();
  virtual bool StopRequested() = 0;
};

/// The console interface. One process-wide instance exists, reached through
/// MsGetConsole(); MsConsoleConcrete implements it and documents the rules.
///
/// Messages are reported with a tag, a level and fill-ins; the console works
/// out the effective level, counts, queues the message until the console is
/// started, then hands it to its message handlers (the first of which writes
/// the human form on the error stream).
class MsConsole {
public:
  /// Message levels, most severe first, numbered 0 to 6 in this order.
  enum Level : int {
    FatalError = 0,
    CommandLineError,
    ErrorFixed,
    Error,
    Warning,
    Remark,
    Suppressed
  };

  /// Memory exhaustion: thrown by the framework's allocation-failure handler.
  class BadAlloc : public std::bad_alloc {
  public:
    const char *what() const noexcept override;
  };

  /// One message of a subsystem's table: its default level and its format
  /// text. Tables are indexed by message number; index 0 holds no message.
  struct MessageDef {
    Level DefaultLevel;
    const char *Text;
  };

  /// May supply a message text in place of the table's, given the message
  /// number and the prefix text; answers null to keep the table's.
  using TextCallback = const char *(*)(std::uint16_t Number,
                                       const std::string &PrefixText);

  /// The application's side of the console: turns formats and fill-ins into
  /// message contents, shows source lines, and may suppress diagnostics.
  /// Installed by the tool (LcConsoleApplicationInterface); not owned.
  class ApplicationInterface {
  public:
    virtual ~ApplicationInterface();
    /// A new content for Format completed by FillIns, owned by the caller.
    virtual std::unique_ptr<MsMessageContentInterface>
    MakeContent(const std::string &Format, const MsFillIns &FillIns) = 0;
    /// A new content holding Text as it stands ("%" is not special in it).
    virtual std::unique_ptr<MsMessageContentInterface>
    MakeTextContent(const std::string &Text) = 0;
    /// Writes the source line of Pos with a caret under its column, when the
    /// line's text is available; nothing otherwise.
    virtual void WriteSourceLine(const DiSourcePosition &Pos,
                                 std::ostream &Out) = 0;
    /// Called when an error or abort is released; may do nothing.
    virtual void NotifyError() = 0;
    /// Whether a diagnostic with Tag is suppressed at Pos.
    virtual bool IsSuppressed(const MsTag &Tag,
                              const DiSourcePosition &Pos) = 0;
  };

  explicit MsConsole(GeDiskInterface &TheDisk = GeDefaultDisk())
      : FileDisk(TheDisk) {}
  MsConsole(const MsConsole &) = delete;
  MsConsole &operator=(const MsConsole &) = delete;
  virtual ~MsConsole();

  /// The disk on which the files that the console itself opens (dependency
  /// lists, option dumps) are written. Given at construction; a console made
  /// without one uses the one stateless real disk of the process, which is
  /// what the process-wide console does.
  GeDiskInterface &Disk() const { return FileDisk; }

  // --- Message subsystems and tags -------------------------------------

  /// Registers a message subsystem: its prefix text (two characters), its
  /// table, optional per-message internal flags (indexed like the table),
  /// the first message number, the count, and an optional text callback.
  /// Registering a prefix twice, or after the console started, is an
  /// internal failure.
  virtual void AddSubSystem(const std::string &Prefix, const MessageDef *Table,
                            const bool *InternalFlags, std::uint16_t First,
                            std::uint16_t Count, TextCallback Callback) = 0;
  /// The same without internal flags and callback.
  virtual void AddSubSystem(const std::string &Prefix, const MessageDef *Table,
                            std::uint16_t First, std::uint16_t Count) = 0;
  /// Registers the console's own "Ms" table; does nothing when it is there.
  virtual void RegisterOwnMessages() = 0;
  /// Writes every listed tag: "Ms001:  text" lines, subsystems in prefix
  /// order, internal messages left out.
  virtual void ListTags(std::ostream &Out) const = 0;
  /// The tag's text: the prefix text and the number in "%03d" form; the
  /// number alone when no subsystem has the prefix. Changeable is set for
  /// changeable errors (message kind 5); it does not change the text.
  virtual std::string TagText(const MsTag &Tag,
                              bool Changeable = false) const = 0;
  /// Parses a tag text such as "Ms001"; false when no such message exists.
  virtual bool TextToTag(const std::string &Text, MsTag &Tag) const = 0;
  /// The message text of Tag with a leading "[internal]" cut off; empty when
  /// the tag has no text.
  virtual std::string MessageText(const MsTag &Tag) const = 0;
  /// Sets Tag's level; false (and no change) when its current level is 0 or
  /// 2, or when the tag has no table entry.
  virtual bool SetTagLevel(const MsTag &Tag, Level Lvl) = 0;
  /// Sets Tag's level for positions within Range; refused as above.
  virtual bool SetTagLevel(const MsTag &Tag, const DiSourceRange &Range,
                           Level Lvl) = 0;
  /// Tag's current level; Default when the tag has no table entry.
  virtual Level TagLevel(const MsTag &Tag, Level Default) const = 0;
  /// The level a diagnostic with Tag at Pos gets (the seven-step rule).
  virtual Level EffectiveLevel(const MsTag &Tag, const DiSourcePosition &Pos,
                               Level Default) const = 0;

  // --- Streams, formatter, handlers ------------------------------------

  /// Sets the stream that receives the human form of diagnostics. Not owned.
  virtual void SetErrorStream(std::ostream &Stream) = 0;
  virtual std::ostream &ErrorStream() const = 0;
  virtual MsMessageFormatter &GetFormatter() const = 0;
  /// Adds a handler after the present ones. Not owned.
  virtual void AddHandler(MsMessageHandler &Handler) = 0;
  virtual void RemoveHandler(MsMessageHandler &Handler) = 0;
  /// Stores the IDE message handler (not owned; null removes it). While one
  /// is stored it takes the place of the human and the standard handler:
  /// its protocol replaces the human form of messages.
  virtual void SetIdeHandler(MsMessageHandler *Handler) = 0;
  /// Whether an IDE handler is stored: the tool runs under the IDE link.
  /// Warnings alone then give exit status 1, and message contents write
  /// their positions in the tagged form.
  virtual bool HasIdeHandler() const = 0;
  /// Installs the stop query (not owned; null removes it).
  virtual void SetStopQuery(MsStopQuery *Query) = 0;
  /// Installs the application interface (not owned; null removes it).
  virtual void SetApplicationInterface(ApplicationInterface *Interface) = 0;
  virtual ApplicationInterface *GetApplicationInterface() const = 0;
  /// Writes the source line of Pos with its caret (through the application
  /// interface, or the console's own routine without one).
  virtual void WriteSourceLine(const DiSourcePosition &Pos,
                               std::ostream &Out) const = 0;

  // --- Reporting --------------------------------------------------------

  /// Reports the message Tag with one string fill-in, without position. Lvl
  /// is used only when the tag has no table entry.
  virtual void Report(const MsTag &Tag, Level Lvl,
                      const std::string &FillIn) = 0;
  /// Reports the message Tag at Where with FillIns. Lvl is used only when
  /// the tag has no table entry. A message of effective level 0 stops the
  /// run: the console starts, writes the abort line and throws
  /// MsConsoleException.
  virtual void Report(const MsTag &Tag, Level Lvl, const DiSourceRange &Where,
                      const MsFillIns &FillIns) = 0;
  /// Reports finished Text without a tag (command-line errors of the parser,
  /// for one) at level Lvl, at Where.
  virtual void ReportText(Level Lvl, const DiSourceRange &Where,
                          const std::string &Text) = 0;
  /// Reports an internal error ("Internal error: " and Text); not counted.
  virtual void ReportInternalError(const DiSourceRange &Where,
                                   const std::string &Text) = 0;
  /// The fatal text report: "[" Prefix "]: " Message as a fatal error with
  /// the tag Ms008, released at once (starting the console if needed), then
  /// the abort line; then the process ends with status 1.
  [[noreturn]] virtual void ReportFatalText(const std::string &Prefix,
                                            const std::string &Message) = 0;
  /// Shows the out-of-memory message prepared in advance, without
  /// allocating; marks the run as aborted.
  virtual void ReportOutOfMemory() = 0;
  /// Writes one finished line of informational text (kind 8, dropped when
  /// silent).
  virtual void WriteLine(const std::string &Line) = 0;
  /// Writes one finished line of text that the user asked for (kind 12,
  /// shown also when silent).
  virtual void WriteTextLine(const std::string &Line) = 0;
  /// The console's output stream: every finished line written to it becomes
  /// a WriteLine() call.
  virtual std::ostream &OutputStream() = 0;
  /// Announces a file the tool read (each distinct path once); System marks
  /// a system file.
  virtual void AnnounceFile(const std::string &Path, bool System = false) = 0;
  /// Announces an included file (each distinct path once).
  virtual void AnnounceIncludeFile(const std::string &Path) = 0;
  /// Tells the console that the output file Path was written.
  virtual void NotifyOutputFileWritten(const std::string &Path) = 0;
  /// Records the name of the tool's main output ("-" for standard output);
  /// dependency lists name it as their target.
  virtual void SetMainOutputName(const std::string &Name) = 0;
  virtual const std::string &MainOutputName() const = 0;
  /// Records the name of the file the tool's work reads (empty: none); a
  /// dependency list may not be written over it, nor over the main output.
  virtual void SetMainInputName(const std::string &Name) = 0;
  virtual const std::string &MainInputName() const = 0;
  /// Adds a dependency list, owned by the console from now on. It sees every
  /// message after the other handlers, also the messages still queued.
  virtual void AddDependencyList(std::unique_ptr<MsDependHandler> List) = 0;
  /// Finishes (writes) every dependency list added so far, in order, and
  /// lets go of them; a list that cannot be written reports its failure.
  virtual void FinishDependencyLists() = 0;
  /// Abandons every dependency list added so far: none is written, and each
  /// old list stays as it was.
  virtual void DiscardDependencyLists() = 0;
  /// Stores the sign-on lines, printed when the console starts unless
  /// sign-on is suppressed.
  virtual void SetSignOn(const std::string &Title,
                         const std::string &Copyright) = 0;
  virtual void SetSignOnSuppressed(bool Suppressed) = 0;
  virtual const std::string &SignOnTitle() const = 0;
  virtual const std::string &SignOnCopyright() const = 0;

  // --- Run control ------------------------------------------------------

  /// Ends the run's dependency lists, writes the summary to Out and answers
  /// the exit status. The lists are written when the run is neither aborted
  /// nor has counted an error (their own failures then count before the
  /// summary), and discarded otherwise.
  virtual int Summary(std::ostream &Out) = 0;
  /// The progress object, created on first use.
  virtual MsWorkingProgress &Progress() = 0;
  /// Throws MsConsoleException (and marks the run as stopped by request and
  /// aborted) when the stop query says the user asked to stop.
  virtual void CheckStopRequest() = 0;
  /// Starts the console: releases the queued messages and every later one.
  virtual void Start() = 0;
  virtual bool IsStarted() const = 0;

  // --- Settings and counts ---------------------------------------------

  virtual void SetSilent(bool On) = 0;
  virtual void SetWarningsEnabled(bool On) = 0;
  virtual void SetRemarksEnabled(bool On) = 0;
  virtual void SetWarningsAreErrors(bool On) = 0;
  virtual void SetWarningsAffectExitCode(bool On) = 0;
  /// 0 means no limit; the default is 100.
  virtual void SetErrorLimit(std::uint32_t Limit) = 0;
  virtual std::uint32_t ErrorLimit() const = 0;
  virtual unsigned ErrorCount() const = 0;
  virtual unsigned WarningCount() const = 0;
  virtual bool IsAborted() const = 0;

private:
  GeDiskInterface &FileDisk;
};

/// The process-wide console, created on first use together with its
/// formatter (width 79) and its standard-output handler.
MsConsole &MsGetConsole();

/// Destroys the process-wide console, its formatter and its handler, after
/// abandoning its unfinished dependency lists; the next MsGetConsole() makes
/// a fresh one. The tool uses one console for its one run; a process that
/// runs the tool's setup many times (a fuzzer) calls this between runs, when
/// nothing holds a reference to the old console any more.
void MsResetProcessConsole();

#endif
