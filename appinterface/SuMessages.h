// The framework's diagnostics: the "Su" message table, registered by the
// setup run with the console.
#ifndef APPINTERFACE_SUMESSAGES_H
#define APPINTERFACE_SUMESSAGES_H

#include "console/MsConsole.h"

#include <cstdint>

/// Numbers of the messages of the "Su" subsystem.
enum SuMessageNumber : std::uint16_t {
  SuMsgNoSourceFile = 1,         ///< "No source file specified"
  SuMsgUnexpectedArguments = 2,  ///< "Unexpected command line arguments:"
  SuMsgInFile = 3,               ///< "[internal]in %sq:"
  SuMsgInternalText = 4,         ///< "[internal]%s"
  SuMsgInternalText2 = 5,        ///< "[internal]%s" (the same text)
  SuMsgParaBeginsWithMinus = 6,  ///< "The parameter to ... instead"
  SuMsgCommandFileNotFound = 7,  ///< "Unable to open the command file %sq"
  SuMsgCommandFileRecursion = 8, ///< "Command file recursion. ..."
  SuMsgUnmatchedQuote = 9,       ///< "Missing closing quote in command file"
  SuMsgUnmatchedSlashStar = 10,  ///< "Comment unclosed at end of command file"
  SuMsgMoreThanOneSourceFile = 11, ///< "More than one source file specified:"
  SuMsgInternalPosition = 12,      ///< "[internal]%s %p"
  SuMsgDeprecatedOption = 13 ///< "The use of this option is deprecated: %s"
};

inline constexpr const char SuMessagePrefix[] = "Su";
inline constexpr std::uint16_t SuFirstMessage = 1;
inline constexpr std::uint16_t SuMessageCount = 13;

/// The table of the "Su" subsystem, indexed by message number; index 0 holds
/// no message. Every message is a command-line error except Su013, a
/// warning.
extern const MsConsole::MessageDef
    SuMessageTable[SuFirstMessage + SuMessageCount];

/// The tag of message Number of the "Su" subsystem.
inline MsTag SuTag(SuMessageNumber Number) {
  return MsTag(SuMessagePrefix, Number);
}

/// Registers the "Su" table with Console (no internal flags, no callback).
void SuRegisterMessages(MsConsole &Console);

#endif
