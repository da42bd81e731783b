// Message handlers: the outputs of the console (the human form of
// diagnostics, the standard-output text, the IDE protocol, the dependency
// list).
#ifndef CONSOLE_MSMESSAGEHANDLER_H
#define CONSOLE_MSMESSAGEHANDLER_H

#include "console/MsMessage.h"

#include <iosfwd>

/// Receives every message the console releases, in order. A handler may throw
/// MsConsoleException to stop the run; the console lets the other handlers
/// see the message first and then rethrows it.
class MsMessageHandler {
public:
  virtual ~MsMessageHandler();
  virtual void Handle(const MsMessage &M, MsConsole &Console) = 0;
};

/// The human handler: writes every message in its human form, through the
/// console's formatter, to the console's error stream (standard error, or
/// standard output with only_stdout), and flushes that stream. Both are
/// asked of the console at each message, so that a later SetErrorStream()
/// or width change applies.
class MsMessageHandlerHuman : public MsMessageHandler {
public:
  void Handle(const MsMessage &M, MsConsole &Console) override;
};

/// The standard handler: writes the messages that are not diagnostics, the
/// informational lines (kind 8) and text lines (kind 12), to its stream
/// (standard output), each through a fresh column-tracking adaptor and ended
/// by a line feed. Diagnostics are left to the human handler, which writes
/// them to the console's error stream, so every message appears once
/// whether the error stream is standard error or standard output. The stream
/// is not owned.
class MsMessageHandlerStdout : public MsMessageHandler {
public:
  explicit MsMessageHandlerStdout(std::ostream &Out);
  void Handle(const MsMessage &M, MsConsole &Console) override;

  /// Writes the informational and text lines to a stream.
  class Visitor : public MsMessage::Visitor {
  public:
    explicit Visitor(std::ostream &Stream) : Out(Stream) {}
    void DoInformation(const MsMessage &M) override;
    void DoText(const MsMessage &M) override;

  private:
    void WriteLine(const MsMessage &M);
    std::ostream &Out;
  };

private:
  std::ostream &Out;
};

#endif
