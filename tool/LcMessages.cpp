// The tool's own diagnostics: the "Lc" message table and its registration.
#include "tool/LcMessages.h"

#include "general/GeInternalFailure.h"

const MsConsole::MessageDef LcMessageTable[LcFirstMessage + LcMessageCount] = {
    {MsConsole::FatalError, nullptr},
    {MsConsole::FatalError, "internal error"},
    {MsConsole::ErrorFixed, "could not open file %sq"},
};

void LcRegisterMessages(MsConsole &Console) {
  Console.AddSubSystem(LcMessagePrefix, LcMessageTable, LcFirstMessage,
                       LcMessageCount);
}

void LcReport(MsConsole &Console, LcMessageNumber Number,
              const std::string &FillIn) {
  if (Number < LcFirstMessage || Number >= LcFirstMessage + LcMessageCount)
    GeInternalFailure("LcReport: no message Lc" + std::to_string(Number));
  Console.Report(LcTag(Number), LcMessageTable[Number].DefaultLevel, FillIn);
}
