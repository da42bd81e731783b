// The tool's own diagnostics: the "Lc" message table and its registration.
#ifndef TOOL_LCMESSAGES_H
#define TOOL_LCMESSAGES_H

#include "console/MsConsole.h"

#include <cstdint>
#include <string>

/// Numbers of the messages of the "Lc" subsystem.
enum LcMessageNumber : std::uint16_t {
  LcMsgInternalError = 1, ///< "internal error"
  LcMsgCouldNotOpen = 2,  ///< "could not open file %sq"
};

/// The prefix, first number and count under which the table is registered.
inline constexpr const char LcMessagePrefix[] = "Lc";
inline constexpr std::uint16_t LcFirstMessage = 1;
inline constexpr std::uint16_t LcMessageCount = 2;

/// The table of the "Lc" subsystem, indexed by message number; index 0 holds
/// no message.
extern const MsConsole::MessageDef
    LcMessageTable[LcFirstMessage + LcMessageCount];

/// The tag of message Number of the "Lc" subsystem.
inline MsTag LcTag(LcMessageNumber Number) {
  return MsTag(LcMessagePrefix, Number);
}

/// Registers the "Lc" table with Console. Called once per console, before the
/// console releases its first message.
void LcRegisterMessages(MsConsole &Console);

/// Reports message Number of the "Lc" subsystem to Console, at the message's
/// default level, with FillIn for its "%sq".
void LcReport(MsConsole &Console, LcMessageNumber Number,
              const std::string &FillIn);

#endif
