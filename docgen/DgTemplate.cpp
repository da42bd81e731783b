// Filling the placeholders of a document template.
#include "docgen/DgTemplate.h"

#include <set>

namespace {

bool IsKeyChar(char Ch) {
  return (Ch >= 'A' && Ch <= 'Z') || (Ch >= '0' && Ch <= '9') || Ch == '_';
}

} // namespace

std::string DgFillTemplate(const std::string &Template,
                           const std::map<std::string, std::string> &Values) {
  std::string Result;
  std::set<std::string> Used;
  std::size_t Pos = 0;
  while (Pos < Template.size()) {
    const std::size_t At = Template.find('@', Pos);
    if (At == std::string::npos) {
      Result.append(Template, Pos, std::string::npos);
      break;
    }
    Result.append(Template, Pos, At - Pos);
    std::size_t End = At + 1;
    while (End < Template.size() && IsKeyChar(Template[End]))
      ++End;
    if (End == At + 1 || End == Template.size() || Template[End] != '@') {
      Result += '@';
      Pos = At + 1;
      continue;
    }
    const std::string Key = Template.substr(At + 1, End - At - 1);
    const auto Found = Values.find(Key);
    if (Found == Values.end())
      throw DgTemplateError("no value for the placeholder @" + Key + "@");
    Result += Found->second;
    Used.insert(Key);
    Pos = End + 1;
  }
  for (const auto &Value : Values)
    if (!Used.count(Value.first))
      throw DgTemplateError("the placeholder @" + Value.first +
                            "@ does not occur");
  return Result;
}
