// The framework's diagnostics: the "Su" message table.
#include "appinterface/SuMessages.h"

const MsConsole::MessageDef SuMessageTable[SuFirstMessage + SuMessageCount] = {
    {MsConsole::Suppressed, nullptr},
    {MsConsole::CommandLineError, "No source file specified"},
    {MsConsole::CommandLineError, "Unexpected command line arguments:"},
    {MsConsole::CommandLineError, "[internal]in %sq:"},
    {MsConsole::CommandLineError, "[internal]%s"},
    {MsConsole::CommandLineError, "[internal]%s"},
    {MsConsole::CommandLineError,
     "The parameter to the command line option %sq1 was %sq2, which has an "
     "initial \"-\". If that is desired, use an initial \"---\" instead"},
    {MsConsole::CommandLineError, "Unable to open the command file %sq"},
    {MsConsole::CommandLineError,
     "Command file recursion. A request to process %sq was found while "
     "already processing that file"},
    {MsConsole::CommandLineError, "Missing closing quote in command file"},
    {MsConsole::CommandLineError, "Comment unclosed at end of command file"},
    {MsConsole::CommandLineError, "More than one source file specified:"},
    {MsConsole::CommandLineError, "[internal]%s %p"},
    {MsConsole::Warning, "The use of this option is deprecated: %s"},
};

void SuRegisterMessages(MsConsole &Console) {
  Console.AddSubSystem(SuMessagePrefix, SuMessageTable, SuFirstMessage,
                       SuMessageCount);
}
