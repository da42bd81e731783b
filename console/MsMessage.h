// A released message: what the console hands to its formatter and to every
// message handler.
#ifndef CONSOLE_MSMESSAGE_H
#define CONSOLE_MSMESSAGE_H

#include "console/MsConsole.h"
#include "console/MsMessageContent.h"
#include "sourcepos/DiSourcePosition.h"

#include <memory>
#include <string>

/// One message: its kind, its tag (or none), its source range and its
/// content (owned; null for the abort line). Kinds:
///
///   0 abort ("Fatal error detected, aborting.")   1 out of memory
///   2 fatal error        3 command-line error     4 error (fixed)
///   5 error (changeable) 6 warning                7 remark
///   8 informational line (dropped when the console is silent)
///   9 internal error     10 file read             11 system file read
///   12 text line         13 output file written   14 include file read
///
/// Kinds 10, 11, 13 and 14 carry the file's path as their content.
class MsMessage {
public:
  enum MessageKind : int {
    KindAbort = 0,
    KindOutOfMemory = 1,
    KindFatalError = 2,
    KindCommandLineError = 3,
    KindErrorFixed = 4,
    KindError = 5,
    KindWarning = 6,
    KindRemark = 7,
    KindInformation = 8,
    KindInternalError = 9,
    KindDependFile = 10,
    KindSystemDependFile = 11,
    KindText = 12,
    KindOutputFile = 13,
    KindIncludeFile = 14
  };

  /// One operation per kind family, in this order: kinds 0, 1, 2, 3, 4 and 5
  /// (both to DoError), 6, 7, 8, 9, 12, 10, 11, 13, 14. Every operation does
  /// nothing, except DoSystemDependFile, which forwards to DoDependFile.
  class Visitor {
  public:
    virtual ~Visitor();
    virtual void DoAbort(const MsMessage &M);
    virtual void DoOutOfMemory(const MsMessage &M);
    virtual void DoFatalError(const MsMessage &M);
    virtual void DoCommandLineError(const MsMessage &M);
    virtual void DoError(const MsMessage &M);
    virtual void DoWarning(const MsMessage &M);
    virtual void DoRemark(const MsMessage &M);
    virtual void DoInformation(const MsMessage &M);
    virtual void DoInternalError(const MsMessage &M);
    virtual void DoText(const MsMessage &M);
    virtual void DoDependFile(const MsMessage &M);
    virtual void DoSystemDependFile(const MsMessage &M);
    virtual void DoOutputFile(const MsMessage &M);
    virtual void DoIncludeFile(const MsMessage &M);
  };

  MsMessage(int Kind, const MsTag &Tag, const DiSourceRange &Range,
            std::unique_ptr<MsMessageContentInterface> Content);

  int Kind() const { return KindValue; }
  const MsTag &Tag() const { return MessageTag; }
  bool HasTag() const { return MessageTag.IsSet(); }
  const DiSourceRange &Range() const { return SourceRange; }
  /// The start of the range.
  const DiSourcePosition &Position() const { return SourceRange.Start; }
  bool HasPosition() const { return !SourceRange.Start.IsNone(); }
  /// Null for messages without content (the abort line).
  const MsMessageContentInterface *Content() const { return Body.get(); }
  /// The content as it stands, without wrapping; empty without content.
  std::string Text() const;

  /// Calls V's operation for this message's kind. A kind outside 0 to 14 is
  /// the internal failure "Unknown message kind".
  void Visit(Visitor &V) const;

  /// Whether Kind is one of the diagnostic kinds 2 to 7.
  static bool IsDiagnosticKind(int Kind) {
    return Kind >= KindFatalError && Kind <= KindRemark;
  }

private:
  int KindValue;
  MsTag MessageTag;
  DiSourceRange SourceRange;
  std::unique_ptr<MsMessageContentInterface> Body;
};

#endif
