// The IDE line protocol: the "$$" marker lines that the console agent writes
// to standard output, built in memory.
#ifndef IDEAGENT_WTPROTOCOL_H
#define IDEAGENT_WTPROTOCOL_H

#include <cstdint>
#include <string>
#include <string_view>

/// Message type numbers of the protocol. They are the protocol's own codes,
/// not ordered like the console's message kinds.
enum WtMessageType : std::uint32_t {
  WtTypeWarning = 10,
  WtTypeError = 11,
  WtTypeFatalError = 12,
  WtTypeCommandLineError = 13,
  WtTypeRemark = 14,
  WtTypeInformation = 2,
  WtTypeText = 3,
  WtTypeAbort = 30,
  WtTypeOutOfMemory = 33
};

/// The three file events.
enum class WtFileEvent { Dependency, Output, Include };

/// Written to standard output at process exit: a blank and "$$TOOL_EXIT",
/// with no line feed.
extern const char WtExitMarker[];

/// Appends the number fill of Number: the decimal digits between two double
/// quotes ("13" for 13).
void WtAppendNumber(std::string &Line, std::uint32_t Number);

/// Appends Text quoted: a double quote, each byte of Text with backspace,
/// line feed, form feed and carriage return written as \b, \n, \f and \r, a
/// double quote as \" and a backslash as \\, then a double quote. Every other
/// byte, a tab and bytes above 127 included, is copied as it stands.
void WtAppendQuoted(std::string &Line, std::string_view Text);

/// Appends the whole line of a message: "$$TOOL_BEGIN", "$$VERSION" and the
/// level, "$$MSG_BEGIN", "$$MSG_POS" and the four position numbers, "$$TYPE"
/// and the type, then "$$TAG", "$$FILEPATH" and "$$TXT_BEGIN" with their
/// quoted texts (each left out when its text is empty), and "$$TOOL_END";
/// every item followed by one blank; then a line feed.
void WtAppendMessageLine(std::string &Line, std::uint32_t Level,
                         std::uint32_t Type, std::string_view Text,
                         std::string_view Tag, std::string_view FilePath,
                         std::uint32_t StartLine, std::uint32_t StartColumn,
                         std::uint32_t EndLine, std::uint32_t EndColumn);

/// Appends the whole line of a comment: as a message line, with
/// "$$COM_BEGIN" and "$$COM_POS" followed by two position numbers.
void WtAppendCommentLine(std::string &Line, std::uint32_t Level,
                         std::uint32_t Type, std::string_view Text,
                         std::string_view Tag, std::string_view FilePath,
                         std::uint32_t LineNumber, std::uint32_t Column);

/// Appends the whole line of a file event: "$$TOOL_BEGIN", "$$VERSION" and
/// the level, "$$DEP_BEGIN", "$$OUT_BEGIN" or "$$INC_BEGIN", "$$FILEPATH" and
/// the quoted path (left out when the path is empty), "$$TOOL_END"; every item
/// followed by one blank; then a line feed.
void WtAppendFileEventLine(std::string &Line, std::uint32_t Level,
                           WtFileEvent Event, std::string_view FilePath);

#endif
