// The output of one selection pass.
#include "tool/LcPassOutput.h"

#include "console/MsConsole.h"
#include "console/MsMessages.h"
#include "general/GeDisk.h"
#include "tool/LcMessages.h"

#include <cstring>
#include <ios>
#include <utility>

LcNameWriter::LcNameWriter(LcNameSink Target)
    : Sink(Target), Chunk(new char[ChunkSize]) {}

bool LcNameWriter::AddToFullPiece(std::string_view Name) {
  const std::size_t Size = Name.size();
  if (!Flush())
    return false;
  if (Size >= ChunkSize)
    return Sink.Write(Sink.Context, Name.data(), Size) &&
           Sink.Write(Sink.Context, "\n", 1);
  std::memcpy(Chunk.get() + Used, Name.data(), Size);
  Chunk[Used + Size] = '\n';
  Used += Size + 1;
  return true;
}

bool LcNameWriter::Flush() {
  if (Used != 0)
    Good = Sink.Write(Sink.Context, Chunk.get(), std::exchange(Used, 0));
  return Good;
}

LcPassOutput::LcPassOutput(MsConsole &TheConsole, GeDiskInterface &TheDisk,
                           const std::string &OutputPath, bool Append)
    : Console(TheConsole), Disk(TheDisk), Path(OutputPath) {
  if (Path == "-")
    return;
  if (Disk.OpenWrite(Path, Append ? GeWriteMode::Append : GeWriteMode::Truncate,
                     File) != 0) {
    File = -1;
    LcReport(Console, LcMsgCouldNotOpen, Path);
    throw MsConsoleException();
  }
}

LcPassOutput::~LcPassOutput() {
  if (File >= 0)
    Disk.Close(File);
}

void LcPassOutput::Finish() {
  if (File >= 0) {
    if (Disk.Close(std::exchange(File, -1)) != 0)
      Good = false;
  } else {
    try {
      Standard.flush();
    } catch (const std::ios_base::failure &) {
      Good = false;
    }
  }
  if (!Good) {
    Console.Report(MsMakeTag(MsMsgWriteProblem), MsConsole::ErrorFixed, Path);
    throw MsConsoleException();
  }
}

bool LcPassOutput::Write(void *Context, const char *Data, std::size_t Size) {
  auto &Output = *static_cast<LcPassOutput *>(Context);
  if (Output.File >= 0) {
    // Goes on through short writes and interruptions, where a device's own
    // write would take a short write for a failure.
    Output.Good = Output.Disk.Write(Output.File, Data, Size) == 0;
    return Output.Good;
  }
  try {
    Output.Standard.write(Data, static_cast<std::streamsize>(Size));
  } catch (const std::ios_base::failure &) {
    Output.Good = false;
  }
  return Output.Good;
}
