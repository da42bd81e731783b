// The console's own diagnostics: the "Ms" message table.
#ifndef CONSOLE_MSMESSAGES_H
#define CONSOLE_MSMESSAGES_H

#include "console/MsConsole.h"

#include <cstdint>

/// Numbers of the messages of the "Ms" subsystem (their levels and texts are
/// in MsMessages.def). MsMsgNone stands for index 0, which holds no message.
enum MsMessageNumber : std::uint16_t {
  MsMsgNone = 0,
#define MS_MESSAGE(Name, Level, Text) Name,
#include "console/MsMessages.def"
#undef MS_MESSAGE
  MsMsgEnd
};

inline constexpr const char MsMessagePrefix[] = "Ms";
inline constexpr std::uint16_t MsFirstMessage = 1;
inline constexpr std::uint16_t MsMessageCount = MsMsgEnd - MsFirstMessage;

/// The table of the "Ms" subsystem, indexed by message number; index 0 holds
/// no message.
extern const MsConsole::MessageDef
    MsMessageTable[MsFirstMessage + MsMessageCount];

/// The tag of message Number of the "Ms" subsystem.
inline MsTag MsMakeTag(MsMessageNumber Number) {
  return MsTag(MsMessagePrefix, Number);
}

#endif
