// chksel-docgen: writes the manual page or the bash completion of chksel
// from the program's own option table. Run by the build.
//
//   chksel-docgen man TEMPLATE OUTPUT VERSION DATE
//   chksel-docgen completion TEMPLATE OUTPUT
#include "docgen/DgCompletion.h"
#include "docgen/DgManPage.h"
#include "docgen/DgOptionTable.h"
#include "docgen/DgTemplate.h"

#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>

namespace {

constexpr char Usage[] =
    "usage: chksel-docgen man TEMPLATE OUTPUT VERSION DATE\n"
    "       chksel-docgen completion TEMPLATE OUTPUT\n";

bool ReadText(const std::string &Path, std::string &Text) {
  std::ifstream In(Path, std::ios::binary);
  if (!In)
    return false;
  Text.assign(std::istreambuf_iterator<char>(In),
              std::istreambuf_iterator<char>());
  return !In.bad();
}

/// Writes Text to Path through a temporary file beside it, so that a build
/// never sees half a document.
bool WriteText(const std::string &Path, const std::string &Text) {
  const std::string Temporary = Path + ".tmp";
  {
    std::ofstream Out(Temporary, std::ios::binary | std::ios::trunc);
    Out.write(Text.data(), static_cast<std::streamsize>(Text.size()));
    Out.close();
    if (!Out) {
      std::remove(Temporary.c_str());
      return false;
    }
  }
  if (std::rename(Temporary.c_str(), Path.c_str()) != 0) {
    std::remove(Temporary.c_str());
    return false;
  }
  return true;
}

} // namespace

int main(int Argc, char **Argv) {
  const std::string Mode = Argc > 1 ? Argv[1] : "";
  const bool Man = Mode == "man" && Argc == 6;
  const bool Completion = Mode == "completion" && Argc == 4;
  if (!Man && !Completion) {
    std::cerr << Usage;
    return 2;
  }
  const std::string TemplatePath = Argv[2];
  const std::string OutputPath = Argv[3];
  std::string Template;
  if (!ReadText(TemplatePath, Template)) {
    std::cerr << "chksel-docgen: cannot read " << TemplatePath << '\n';
    return 1;
  }
  std::string Document;
  try {
    const DgOptionTable Table = DgChkselOptionTable();
    Document = Man ? DgManPage(Template, Table, Argv[4], Argv[5])
                   : DgCompletionScript(Template, Table);
  } catch (const DgTemplateError &Error) {
    std::cerr << "chksel-docgen: " << TemplatePath << ": " << Error.what()
              << '\n';
    return 1;
  }
  if (!WriteText(OutputPath, Document)) {
    std::cerr << "chksel-docgen: cannot write " << OutputPath << '\n';
    return 1;
  }
  return 0;
}
