// The console's own diagnostics: the "Ms" message table.
#include "console/MsMessages.h"

const MsConsole::MessageDef MsMessageTable[MsFirstMessage + MsMessageCount] = {
    {MsConsole::Suppressed, nullptr},
#define MS_MESSAGE(Name, Level, Text) {MsConsole::Level, Text},
#include "console/MsMessages.def"
#undef MS_MESSAGE
};
