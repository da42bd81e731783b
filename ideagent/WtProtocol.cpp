// The IDE line protocol: number fills, quoting and the marker lines.
#include "ideagent/WtProtocol.h"

const char WtExitMarker[] = " $$TOOL_EXIT";

namespace {

/// Appends Marker and the blank that follows every item.
void AppendItem(std::string &Line, std::string_view Marker) {
  Line.append(Marker);
  Line += ' ';
}

void AppendNumberItem(std::string &Line, std::uint32_t Number) {
  WtAppendNumber(Line, Number);
  Line += ' ';
}

/// Appends Marker and the quoted Text, each followed by a blank, when Text is
/// not empty.
void AppendOptionalText(std::string &Line, std::string_view Marker,
                        std::string_view Text) {
  if (Text.empty())
    return;
  AppendItem(Line, Marker);
  WtAppendQuoted(Line, Text);
  Line += ' ';
}

void AppendHead(std::string &Line, std::uint32_t Level) {
  AppendItem(Line, "$$TOOL_BEGIN");
  AppendItem(Line, "$$VERSION");
  AppendNumberItem(Line, Level);
}

void AppendTail(std::string &Line, std::uint32_t Type, std::string_view Text,
                std::string_view Tag, std::string_view FilePath) {
  AppendItem(Line, "$$TYPE");
  AppendNumberItem(Line, Type);
  AppendOptionalText(Line, "$$TAG", Tag);
  AppendOptionalText(Line, "$$FILEPATH", FilePath);
  AppendOptionalText(Line, "$$TXT_BEGIN", Text);
  AppendItem(Line, "$$TOOL_END");
  Line += '\n';
}

} // namespace

void WtAppendNumber(std::string &Line, std::uint32_t Number) {
  char Digits[10];
  int Count = 0;
  do {
    Digits[Count++] = static_cast<char>('0' + Number % 10);
    Number /= 10;
  } while (Number != 0);
  Line += '"';
  while (Count > 0)
    Line += Digits[--Count];
  Line += '"';
}

void WtAppendQuoted(std::string &Line, std::string_view Text) {
  Line += '"';
  std::string_view::size_type Plain = 0;
  for (std::string_view::size_type I = 0; I < Text.size(); ++I) {
    char Escape;
    switch (Text[I]) {
    case '\b':
      Escape = 'b';
      break;
    case '\n':
      Escape = 'n';
      break;
    case '\f':
      Escape = 'f';
      break;
    case '\r':
      Escape = 'r';
      break;
    case '"':
      Escape = '"';
      break;
    case '\\':
      Escape = '\\';
      break;
    default:
      continue;
    }
    Line.append(Text.substr(Plain, I - Plain));
    Line += '\\';
    Line += Escape;
    Plain = I + 1;
  }
  Line.append(Text.substr(Plain));
  Line += '"';
}

void WtAppendMessageLine(std::string &Line, std::uint32_t Level,
                         std::uint32_t Type, std::string_view Text,
                         std::string_view Tag, std::string_view FilePath,
                         std::uint32_t StartLine, std::uint32_t StartColumn,
                         std::uint32_t EndLine, std::uint32_t EndColumn) {
  AppendHead(Line, Level);
  AppendItem(Line, "$$MSG_BEGIN");
  AppendItem(Line, "$$MSG_POS");
  AppendNumberItem(Line, StartLine);
  AppendNumberItem(Line, StartColumn);
  AppendNumberItem(Line, EndLine);
  AppendNumberItem(Line, EndColumn);
  AppendTail(Line, Type, Text, Tag, FilePath);
}

void WtAppendCommentLine(std::string &Line, std::uint32_t Level,
                         std::uint32_t Type, std::string_view Text,
                         std::string_view Tag, std::string_view FilePath,
                         std::uint32_t LineNumber, std::uint32_t Column) {
  AppendHead(Line, Level);
  AppendItem(Line, "$$COM_BEGIN");
  AppendItem(Line, "$$COM_POS");
  AppendNumberItem(Line, LineNumber);
  AppendNumberItem(Line, Column);
  AppendTail(Line, Type, Text, Tag, FilePath);
}

void WtAppendFileEventLine(std::string &Line, std::uint32_t Level,
                           WtFileEvent Event, std::string_view FilePath) {
  AppendHead(Line, Level);
  switch (Event) {
  case WtFileEvent::Dependency:
    AppendItem(Line, "$$DEP_BEGIN");
    break;
  case WtFileEvent::Output:
    AppendItem(Line, "$$OUT_BEGIN");
    break;
  case WtFileEvent::Include:
    AppendItem(Line, "$$INC_BEGIN");
    break;
  }
  AppendOptionalText(Line, "$$FILEPATH", FilePath);
  AppendItem(Line, "$$TOOL_END");
  Line += '\n';
}
