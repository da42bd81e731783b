// The console agent: the IDE's end of the tool, writing protocol lines to
// standard output and the exit marker at process exit.
#ifndef IDEAGENT_WTCONSOLEAGENT_H
#define IDEAGENT_WTCONSOLEAGENT_H

#include <cstdint>
#include <string>

/// What the tool tells an IDE that started it: messages, comments and file
/// events, one call each.
///
/// Constructing an agent makes it the process-wide current agent and, the
/// first time in the process, registers the exit marker writer to run at
/// process exit (std::atexit), so that " $$TOOL_EXIT" ends standard output
/// however the process ends through the runtime's exit: a return from main,
/// or std::exit from the internal-failure path. Destroying the current agent
/// clears the current agent; the exit marker is still written.
class WtConsoleAgent {
public:
  WtConsoleAgent();
  virtual ~WtConsoleAgent();
  WtConsoleAgent(const WtConsoleAgent &) = delete;
  WtConsoleAgent &operator=(const WtConsoleAgent &) = delete;

  /// A message of protocol type Type at the range from StartLine and
  /// StartColumn to EndLine and EndColumn (all 0 without a position) of
  /// FilePath. Empty texts are left out of the line.
  virtual void Message(std::uint32_t Type, const std::string &Text,
                       const std::string &Tag, const std::string &FilePath,
                       std::uint32_t StartLine, std::uint32_t StartColumn,
                       std::uint32_t EndLine, std::uint32_t EndColumn) = 0;
  /// A comment of protocol type Type at Line and Column of FilePath. The
  /// workbench handler sends none: every message kind of the console maps to
  /// a message or a file event. The call is there for tools whose own output
  /// is comment-like.
  virtual void Comment(std::uint32_t Type, const std::string &Text,
                       const std::string &Tag, const std::string &FilePath,
                       std::uint32_t Line, std::uint32_t Column) = 0;
  /// The tool read FilePath.
  virtual void DependencyFile(const std::string &FilePath) = 0;
  /// The tool wrote FilePath.
  virtual void OutputFile(const std::string &FilePath) = 0;
  /// The tool read FilePath as an included file.
  virtual void IncludeFile(const std::string &FilePath) = 0;
  /// Not 0 when the user asked the IDE to stop the run.
  virtual std::uint32_t StopRequest() = 0;

  /// The agent constructed last and not yet destroyed, or null.
  static WtConsoleAgent *Current();
  /// Whether an agent was ever constructed in this process (and so the exit
  /// marker will be written at exit).
  static bool EverConstructed();
};

/// The agent of a tool run as a process: each call becomes one protocol line
/// (WtProtocol.h) of its protocol level, built in memory and written to
/// standard output in one piece and flushed, so that the lines interleave
/// correctly with the tool's other output there. It never asks to stop.
class WtConsoleAgentExe : public WtConsoleAgent {
public:
  /// Level is the protocol level, 1, 2 or 3; any other value is an internal
  /// failure.
  explicit WtConsoleAgentExe(std::uint32_t Level);

  void Message(std::uint32_t Type, const std::string &Text,
               const std::string &Tag, const std::string &FilePath,
               std::uint32_t StartLine, std::uint32_t StartColumn,
               std::uint32_t EndLine, std::uint32_t EndColumn) override;
  void Comment(std::uint32_t Type, const std::string &Text,
               const std::string &Tag, const std::string &FilePath,
               std::uint32_t Line, std::uint32_t Column) override;
  void DependencyFile(const std::string &FilePath) override;
  void OutputFile(const std::string &FilePath) override;
  void IncludeFile(const std::string &FilePath) override;
  /// Always 0.
  std::uint32_t StopRequest() override;

  std::uint32_t Level() const { return ProtocolLevel; }

private:
  /// Writes the line built in Buffer to standard output and flushes it.
  void Emit();

  std::uint32_t ProtocolLevel;
  /// Reused for every line, so that writing a line does not allocate once
  /// the longest line has been written (the out-of-memory message included).
  std::string Buffer;
};

/// Writes the exit marker, a blank and "$$TOOL_EXIT" without a line feed, to
/// standard output and flushes it. Registered by the first agent to run at
/// process exit.
void WtWriteExitMarker();

#endif
