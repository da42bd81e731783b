// The workbench message handler and its visitor over the message kinds.
#include "ideagent/MsWorkbenchHandler.h"

#include "console/MsMessageFormatter.h"
#include "ideagent/WtProtocol.h"

#include <sstream>

MsWorkbenchHandler::MsWorkbenchHandler(std::unique_ptr<WtConsoleAgent> Agent)
    : TheAgent(std::move(Agent)) {}

MsWorkbenchHandler::~MsWorkbenchHandler() = default;

void MsWorkbenchHandler::Handle(const MsMessage &M, MsConsole &Console) {
  Visitor V(M, *TheAgent, Console);
  M.Visit(V);
}

MsWorkbenchHandler::Position
MsWorkbenchHandler::PositionOf(const DiSourceRange &Range) {
  Position Result;
  if (Range.Start.IsNone())
    return Result;
  const DiFile *EndFile = Range.End.File();
  if (EndFile)
    Result.FilePath = EndFile->Path();
  if (Range.Start.File() == EndFile) {
    Result.StartLine = Range.Start.Line();
    Result.StartColumn = Range.Start.Column();
  } else {
    Result.StartLine = 1;
    Result.StartColumn = 1;
  }
  Result.EndLine = Range.End.Line();
  Result.EndColumn = Range.End.Column();
  return Result;
}

MsWorkbenchHandler::Visitor::Visitor(const MsMessage &M, WtConsoleAgent &A,
                                     const MsConsole &C)
    : Message(M), Agent(A), Console(C) {}

void MsWorkbenchHandler::Visitor::SendDiagnostic(std::uint32_t Type) {
  const MsMessage &M = Message;
  std::ostringstream Body;
  Console.GetFormatter().WriteContentUnwrapped(Body, M);
  std::string Tag;
  if (M.HasTag())
    Tag = Console.TagText(M.Tag(), M.Kind() == MsMessage::KindError);
  Position Where = PositionOf(M.Range());
  Agent.Message(Type, Body.str(), Tag, Where.FilePath, Where.StartLine,
                Where.StartColumn, Where.EndLine, Where.EndColumn);
}

void MsWorkbenchHandler::Visitor::SendBare(std::uint32_t Type) {
  Position Where = PositionOf(Message.Range());
  Agent.Message(Type, std::string(), std::string(), Where.FilePath,
                Where.StartLine, Where.StartColumn, Where.EndLine,
                Where.EndColumn);
}

void MsWorkbenchHandler::Visitor::DoAbort(const MsMessage &) {
  SendBare(WtTypeAbort);
}

void MsWorkbenchHandler::Visitor::DoOutOfMemory(const MsMessage &) {
  // Built from literals short enough for the strings' own storage, so that
  // nothing is allocated here.
  static const char Text[] = "Out of memory";
  Agent.Message(WtTypeOutOfMemory, std::string(Text), std::string(),
                std::string(), 0, 0, 0, 0);
}

void MsWorkbenchHandler::Visitor::DoFatalError(const MsMessage &) {
  SendDiagnostic(WtTypeFatalError);
}

void MsWorkbenchHandler::Visitor::DoCommandLineError(const MsMessage &) {
  SendDiagnostic(WtTypeCommandLineError);
}

void MsWorkbenchHandler::Visitor::DoError(const MsMessage &) {
  SendDiagnostic(WtTypeError);
}

void MsWorkbenchHandler::Visitor::DoWarning(const MsMessage &) {
  SendDiagnostic(WtTypeWarning);
}

void MsWorkbenchHandler::Visitor::DoRemark(const MsMessage &) {
  SendDiagnostic(WtTypeRemark);
}

void MsWorkbenchHandler::Visitor::DoInformation(const MsMessage &) {
  SendBare(WtTypeInformation);
}

void MsWorkbenchHandler::Visitor::DoInternalError(const MsMessage &) {
  SendBare(WtTypeText);
}

void MsWorkbenchHandler::Visitor::DoText(const MsMessage &) {
  SendBare(WtTypeText);
}

void MsWorkbenchHandler::Visitor::DoDependFile(const MsMessage &) {
  Agent.DependencyFile(Message.Text());
}

void MsWorkbenchHandler::Visitor::DoOutputFile(const MsMessage &) {
  Agent.OutputFile(Message.Text());
}

void MsWorkbenchHandler::Visitor::DoIncludeFile(const MsMessage &) {
  Agent.IncludeFile(Message.Text());
}
