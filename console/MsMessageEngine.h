// The console's message engine: counting, the error limit, the queue of
// released messages, their dispatch to the handlers, and the exit status.
#ifndef CONSOLE_MSMESSAGEENGINE_H
#define CONSOLE_MSMESSAGEENGINE_H

#include "console/MsConsole.h"
#include "console/MsMessage.h"

#include <cstdint>
#include <deque>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

class MsMessageHandler;

/// A new content for Format completed by FillIns: made by App, or, without
/// an application interface, the console's plain content (the same format
/// language, not wrapped).
std::unique_ptr<MsMessageContentInterface>
MsMakeContent(MsConsole::ApplicationInterface *App, const std::string &Format,
              const MsFillIns &FillIns);
/// A new content holding Text as it stands, made the same way.
std::unique_ptr<MsMessageContentInterface>
MsMakeTextContent(MsConsole::ApplicationInterface *App,
                  const std::string &Text);

/// Takes the messages a console releases, counts them by kind, holds them in
/// a queue until it is started, and then hands each one, in order, to every
/// handler of its chain; it enforces the error limit and answers the summary
/// and the exit status.
///
/// Release. Kinds 0 and 1 mark the run as aborted, kinds 2 to 5 count one
/// error, kind 6 one warning; aborts and errors call the application
/// interface's NotifyError(). Informational lines are dropped when silent.
/// A handler may throw MsConsoleException: the other handlers still see the
/// message, then the exception is thrown again. After the queue is drained,
/// reaching the error limit (default 100, 0 for none) releases the fatal
/// text "Error limit reached\n" (tag Ms008) once and throws
/// MsConsoleException.
///
/// Start. The sign-on lines, when set and neither suppressed nor silent, are
/// put before everything that waited for the start.
///
/// The engine serves one console, which it hands to the handlers and asks
/// for its application interface and message texts; the console must
/// outlive it. The handlers are not owned.
class MsMessageEngine {
public:
  using Level = MsConsole::Level;

  /// A reported diagnostic as it was released: its tag, its effective level
  /// and its text as it stands.
  struct Released {
    MsTag Tag;
    Level Lvl;
    std::string Text;
  };

  explicit MsMessageEngine(MsConsole &Console) : Owner(Console) {}
  MsMessageEngine(const MsMessageEngine &) = delete;
  MsMessageEngine &operator=(const MsMessageEngine &) = delete;

  /// The handlers every message is handed to, in this order.
  void SetHandlers(std::vector<MsMessageHandler *> Chain) {
    Handlers = std::move(Chain);
  }

  /// Counts M by its kind, queues it, and drains the queue when started;
  /// then checks the error limit unless CheckLimit is false.
  void Release(std::unique_ptr<MsMessage> M, bool CheckLimit = true);
  /// Counts M by its kind; false when M is to be dropped.
  bool Classify(const MsMessage &M);
  /// Hands M to every handler; rethrows a handler's MsConsoleException after
  /// all of them saw M.
  void Dispatch(const MsMessage &M);
  /// Starts: releases the queued messages and every later one, then checks
  /// the error limit.
  void Start();
  bool IsStarted() const { return Started; }
  /// Whether a queued message is being handed out right now.
  bool IsDraining() const { return Draining; }

  /// Records a reported diagnostic for Messages().
  void Log(const MsTag &Tag, Level Lvl, const std::string &Text) {
    Logged.push_back(Released{Tag, Lvl, Text});
  }
  /// Every diagnostic reported so far (levels 0 to 5), in arrival order.
  const std::vector<Released> &Messages() const { return Logged; }

  /// Starts and releases the fatal message Text (tag Ms008) and the abort
  /// line, without checking the limit.
  void ReleaseFatal(const std::string &Text);
  /// Releases the abort line "Fatal error detected, aborting.".
  void ReleaseAbortLine();
  /// Marks the run as stopped by the user's request, and so aborted.
  void MarkStoppedByRequest() { StoppedByRequest = Aborted = true; }

  /// Unless aborted, writes "\nErrors: " and the count or "none", then
  /// "\nWarnings: " and the count or "none", and a line feed.
  void WriteSummary(std::ostream &Out) const;
  /// 4 stopped by request, else 3 aborted, else 2 errors counted, else 1 when
  /// warnings were counted and either warnings affect the exit code or
  /// IdeLinked (the tool runs under the IDE link), else 0.
  int ExitStatus(bool IdeLinked) const;

  void SetSignOn(const std::string &TitleLine,
                 const std::string &CopyrightLine);
  void SetSignOnSuppressed(bool On) { SignOnSuppressed = On; }
  const std::string &SignOnTitle() const { return Title; }
  const std::string &SignOnCopyright() const { return Copyright; }

  void SetSilent(bool On) { Silent = On; }
  void SetWarningsAffectExitCode(bool On) { WarningsAffectExitCode = On; }
  void SetErrorLimit(std::uint32_t Limit) { ErrLimit = Limit; }
  std::uint32_t ErrorLimit() const { return ErrLimit; }
  unsigned ErrorCount() const { return Errors; }
  unsigned WarningCount() const { return Warnings; }
  bool IsAborted() const { return Aborted; }
  bool IsStoppedByRequest() const { return StoppedByRequest; }

private:
  /// Sets the started flag; queues the sign-on lines the first time.
  void MarkStarted();
  void Drain();
  void CheckErrorLimit();
  std::unique_ptr<MsMessage> TextMessage(int Kind, const std::string &Text);

  MsConsole &Owner;
  std::vector<MsMessageHandler *> Handlers;
  std::deque<std::unique_ptr<MsMessage>> Queue;
  std::vector<Released> Logged;

  bool Silent = false;
  bool Aborted = false;
  unsigned Errors = 0;
  std::uint32_t ErrLimit = 100;
  unsigned Warnings = 0;
  bool WarningsAffectExitCode = false;
  bool Started = false;
  bool StoppedByRequest = false;
  bool Draining = false;

  std::string Title;
  std::string Copyright;
  bool SignOnSuppressed = false;
  bool SignOnSet = false;
};

#endif
