// Message handlers: the human handler and the standard-output handler.
#include "console/MsMessageHandler.h"

#include "console/MsConsole.h"
#include "console/MsMessageFormatter.h"
#include "general/GeStreamAdaptors.h"

#include <ostream>
#include <string>

MsMessageHandler::~MsMessageHandler() = default;

void MsMessageHandlerHuman::Handle(const MsMessage &M, MsConsole &Console) {
  std::ostream &Out = Console.ErrorStream();
  Console.GetFormatter().Format(Out, M, Console);
  Out.flush();
}

MsMessageHandlerStdout::MsMessageHandlerStdout(std::ostream &Stream)
    : Out(Stream) {}

void MsMessageHandlerStdout::Handle(const MsMessage &M, MsConsole &) {
  if (M.Kind() != MsMessage::KindInformation && M.Kind() != MsMessage::KindText)
    return;
  Visitor V(Out);
  M.Visit(V);
}

void MsMessageHandlerStdout::Visitor::DoInformation(const MsMessage &M) {
  WriteLine(M);
}

void MsMessageHandlerStdout::Visitor::DoText(const MsMessage &M) {
  WriteLine(M);
}

void MsMessageHandlerStdout::Visitor::WriteLine(const MsMessage &M) {
  GeFreshBuf Fresh(Out);
  std::string Text = M.Text();
  Out << Text;
  if (Text.empty() || Fresh.Column() != 0)
    Out << '\n';
  Out.flush();
}
