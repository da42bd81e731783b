// The console agent, its process-wide registration and the exit marker.
#include "ideagent/WtConsoleAgent.h"

#include "general/GeInternalFailure.h"
#include "ideagent/WtProtocol.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iostream>

namespace {

WtConsoleAgent *CurrentAgent = nullptr;
bool ExitMarkerRegistered = false;

/// Room for the usual line, reserved up front so that the out-of-memory
/// message can be written without allocating.
constexpr std::string::size_type InitialLineCapacity = 512;

void WriteToStandardOutput(const char *Text, std::size_t Size) {
  std::cout.write(Text, static_cast<std::streamsize>(Size));
  std::cout.flush();
}

} // namespace

void WtWriteExitMarker() {
  WriteToStandardOutput(WtExitMarker, std::strlen(WtExitMarker));
  std::fflush(stdout);
}

WtConsoleAgent::WtConsoleAgent() {
  CurrentAgent = this;
  if (!ExitMarkerRegistered) {
    ExitMarkerRegistered = true;
    std::atexit(&WtWriteExitMarker);
  }
}

WtConsoleAgent::~WtConsoleAgent() {
  if (CurrentAgent == this)
    CurrentAgent = nullptr;
}

WtConsoleAgent *WtConsoleAgent::Current() { return CurrentAgent; }

bool WtConsoleAgent::EverConstructed() { return ExitMarkerRegistered; }

WtConsoleAgentExe::WtConsoleAgentExe(std::uint32_t Level)
    : ProtocolLevel(Level) {
  if (Level < 1 || Level > 3)
    GeInternalFailure("WtConsoleAgentExe: protocol level " +
                      std::to_string(Level) + " does not exist");
  Buffer.reserve(InitialLineCapacity);
}

void WtConsoleAgentExe::Message(
    std::uint32_t Type, const std::string &Text, const std::string &Tag,
    const std::string &FilePath, std::uint32_t StartLine,
    std::uint32_t StartColumn, std::uint32_t EndLine, std::uint32_t EndColumn) {
  Buffer.clear();
  WtAppendMessageLine(Buffer, ProtocolLevel, Type, Text, Tag, FilePath,
                      StartLine, StartColumn, EndLine, EndColumn);
  Emit();
}

void WtConsoleAgentExe::Comment(std::uint32_t Type, const std::string &Text,
                                const std::string &Tag,
                                const std::string &FilePath, std::uint32_t Line,
                                std::uint32_t Column) {
  Buffer.clear();
  WtAppendCommentLine(Buffer, ProtocolLevel, Type, Text, Tag, FilePath, Line,
                      Column);
  Emit();
}

void WtConsoleAgentExe::DependencyFile(const std::string &FilePath) {
  Buffer.clear();
  WtAppendFileEventLine(Buffer, ProtocolLevel, WtFileEvent::Dependency,
                        FilePath);
  Emit();
}

void WtConsoleAgentExe::OutputFile(const std::string &FilePath) {
  Buffer.clear();
  WtAppendFileEventLine(Buffer, ProtocolLevel, WtFileEvent::Output, FilePath);
  Emit();
}

void WtConsoleAgentExe::IncludeFile(const std::string &FilePath) {
  Buffer.clear();
  WtAppendFileEventLine(Buffer, ProtocolLevel, WtFileEvent::Include, FilePath);
  Emit();
}

std::uint32_t WtConsoleAgentExe::StopRequest() { return 0; }

void WtConsoleAgentExe::Emit() {
  WriteToStandardOutput(Buffer.data(), Buffer.size());
}
