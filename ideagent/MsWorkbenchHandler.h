// The workbench message handler: the console's handler in IDE mode, turning
// each released message into one call of the console agent.
#ifndef IDEAGENT_MSWORKBENCHHANDLER_H
#define IDEAGENT_MSWORKBENCHHANDLER_H

#include "console/MsMessage.h"
#include "console/MsMessageHandler.h"
#include "ideagent/WtConsoleAgent.h"

#include <cstdint>
#include <memory>
#include <string>

/// Hands every message the console releases to its agent (owned), through a
/// fresh Visitor per message. The console stores it as its IDE handler, in
/// place of the standard handler and the human form of messages.
class MsWorkbenchHandler : public MsMessageHandler {
public:
  explicit MsWorkbenchHandler(std::unique_ptr<WtConsoleAgent> Agent);
  ~MsWorkbenchHandler() override;

  void Handle(const MsMessage &M, MsConsole &Console) override;

  WtConsoleAgent &Agent() const { return *TheAgent; }

  /// Forwards one message to the agent, by its kind:
  ///
  ///   kind 0 (abort)             message, type 30, no text, no tag
  ///   kind 1 (out of memory)     message, type 33, text "Out of memory",
  ///                              no tag, no path, positions 0
  ///   kind 2 (fatal error)       message, type 12, body and tag
  ///   kind 3 (command line)      message, type 13, body and tag
  ///   kinds 4, 5 (error)         message, type 11, body and tag
  ///   kind 6 (warning)           message, type 10, body and tag
  ///   kind 7 (remark)            message, type 14, body and tag
  ///   kind 8 (information)       message, type 2, no text, no tag
  ///   kinds 9, 12                message, type 3, no text, no tag
  ///   kinds 10, 11 (file read)   dependency file, the message's path
  ///   kind 13 (output file)      output file, the message's path
  ///   kind 14 (include file)     include file, the message's path
  ///
  /// The body is the content as the formatter writes it without position and
  /// without wrapping; the tag is the console's tag text (asked with its
  /// changeable flag for kind 5), empty for an untagged message. The position
  /// numbers come from the message's range (see PositionOf).
  ///
  /// A visitor is made for one message, which it sends whatever message it
  /// is then handed: Handle() lets that message accept it.
  class Visitor : public MsMessage::Visitor {
  public:
    Visitor(const MsMessage &M, WtConsoleAgent &Agent,
            const MsConsole &Console);

    void DoAbort(const MsMessage &M) override;
    void DoOutOfMemory(const MsMessage &M) override;
    void DoFatalError(const MsMessage &M) override;
    void DoCommandLineError(const MsMessage &M) override;
    void DoError(const MsMessage &M) override;
    void DoWarning(const MsMessage &M) override;
    void DoRemark(const MsMessage &M) override;
    void DoInformation(const MsMessage &M) override;
    void DoInternalError(const MsMessage &M) override;
    void DoText(const MsMessage &M) override;
    void DoDependFile(const MsMessage &M) override;
    void DoOutputFile(const MsMessage &M) override;
    void DoIncludeFile(const MsMessage &M) override;

  private:
    /// A message call with the body, tag and position of the message.
    void SendDiagnostic(std::uint32_t Type);
    /// A message call with the message's position but without text and tag.
    void SendBare(std::uint32_t Type);

    const MsMessage &Message;
    WtConsoleAgent &Agent;
    const MsConsole &Console;
  };

  /// Where a message lies, as the protocol sends it.
  struct Position {
    std::string FilePath;
    std::uint32_t StartLine = 0;
    std::uint32_t StartColumn = 0;
    std::uint32_t EndLine = 0;
    std::uint32_t EndColumn = 0;
  };

  /// The protocol position of Range: all 0 and no path when the range has no
  /// start position; otherwise the path of the end point's file (empty where
  /// the end has no file), the start line and column, and the end line and
  /// column, except that a start in another file than the end is sent as
  /// line 1, column 1.
  static Position PositionOf(const DiSourceRange &Range);

private:
  std::unique_ptr<WtConsoleAgent> TheAgent;
};

#endif
