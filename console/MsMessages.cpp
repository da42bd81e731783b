// The console's own diagnostics: the "Ms" message table.
#include "console/MsMessages.h"

const MsConsole::MessageDef MsMessageTable[MsFirstMessage + MsMessageCount] = {
    {MsConsole::Suppressed, nullptr},
    {MsConsole::Warning, "diagnostic tag %sq does not exist"},
    {MsConsole::Warning, "diagnostic tag %sq can not have its level changed"},
    {MsConsole::ErrorFixed, "could not open file %sq for writing"},
    {MsConsole::ErrorFixed, "problem writing to file %sq"},
    {MsConsole::ErrorFixed, "problem closing file %sq"},
    {MsConsole::ErrorFixed, "illegal path %sq"},
    {MsConsole::ErrorFixed, "could not open file %sq"},
    {MsConsole::ErrorFixed, "[internal]%s"},
    {MsConsole::ErrorFixed, "comment unclosed at end of file"},
    {MsConsole::ErrorFixed, "missing closing quote"},
    {MsConsole::ErrorFixed, "illegal integer"},
    {MsConsole::ErrorFixed, "illegal hexadecimal number"},
};
