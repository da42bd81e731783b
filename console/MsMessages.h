// The console's own diagnostics: the "Ms" message table.
#ifndef CONSOLE_MSMESSAGES_H
#define CONSOLE_MSMESSAGES_H

#include "console/MsConsole.h"

#include <cstdint>

/// Numbers of the messages of the "Ms" subsystem.
enum MsMessageNumber : std::uint16_t {
  MsMsgUnknownTag = 1,       ///< "diagnostic tag %sq does not exist"
  MsMsgFixedTag = 2,         ///< "diagnostic tag %sq can not have ..."
  MsMsgCannotWrite = 3,      ///< "could not open file %sq for writing"
  MsMsgWriteProblem = 4,     ///< "problem writing to file %sq"
  MsMsgCloseProblem = 5,     ///< "problem closing file %sq"
  MsMsgIllegalPath = 6,      ///< "illegal path %sq"
  MsMsgCannotOpen = 7,       ///< "could not open file %sq"
  MsMsgFatalText = 8,        ///< "[internal]%s"
  MsMsgUnclosedComment = 9,  ///< "comment unclosed at end of file"
  MsMsgMissingQuote = 10,    ///< "missing closing quote"
  MsMsgIllegalInteger = 11,  ///< "illegal integer"
  MsMsgIllegalHexNumber = 12 ///< "illegal hexadecimal number"
};

inline constexpr const char MsMessagePrefix[] = "Ms";
inline constexpr std::uint16_t MsFirstMessage = 1;
inline constexpr std::uint16_t MsMessageCount = 12;

/// The table of the "Ms" subsystem, indexed by message number; index 0 holds
/// no message.
extern const MsConsole::MessageDef
    MsMessageTable[MsFirstMessage + MsMessageCount];

/// The tag of message Number of the "Ms" subsystem.
inline MsTag MsMakeTag(MsMessageNumber Number) {
  return MsTag(MsMessagePrefix, Number);
}

#endif
