// Fuzz harness of output-file naming: the name an output option's value
// gives (a folder gets the default name, a name without extension gets the
// default extension), the command-file name (".xcl" added to a name without
// extension) and the dependency list's path ("+", a folder, a file), each
// against a plain model of the rule.
//
// Input: pieces separated by NUL bytes: the option value, the main output,
// the default name. They are taken relative to a scratch folder that holds
// the folders "d", "d.x" and "e.txt/f" and the file "g"; "/" stays, ".." is
// taken out.
#include "console/MsDependHandler.h"
#include "fuzz/FuzzSupport.h"
#include "setup/SuCommandFileArg.h"
#include "setup/SuDumps.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace {

using fuzz::Require;

/// The scratch folder with its folders and file, made on first use.
const testsupport::TempDir &Folder() {
  static const bool Made = [] {
    const testsupport::TempDir &Dir = fuzz::ScratchFolder();
    std::filesystem::create_directories(Dir.Path("d"));
    std::filesystem::create_directories(Dir.Path("d.x"));
    std::filesystem::create_directories(Dir.Path("e.txt/f"));
    testsupport::WriteFile(Dir.Path("g"), "file");
    return true;
  }();
  Require(Made);
  return fuzz::ScratchFolder();
}

/// Text with no ".." and no run of "/": a path that begins with "//" is a
/// network name to Boost, which this system never sees. "/" itself is wanted
/// here.
std::string NoParent(const std::string &Text) {
  std::string Result;
  for (char C : Text)
    if (C != '/' || Result.empty() || Result.back() != '/')
      Result += C;
  for (std::size_t At = Result.find(".."); At != std::string::npos;
       At = Result.find("..", At))
    Result[At + 1] = '_';
  return Result;
}

/// The last component of Path: "/" for the root itself, "." when Path ends
/// with "/".
std::string FileName(const std::string &Path) {
  if (Path == "/")
    return Path;
  if (!Path.empty() && Path.back() == '/')
    return ".";
  const std::size_t Slash = Path.rfind('/');
  return Slash == std::string::npos ? Path : Path.substr(Slash + 1);
}

/// The extension: from the last "." of the file name on, none for "." and
/// "..".
std::string Extension(const std::string &Path) {
  const std::string Name = FileName(Path);
  if (Name == "." || Name == "..")
    return "";
  const std::size_t Dot = Name.rfind('.');
  return Dot == std::string::npos ? "" : Name.substr(Dot);
}

std::string ReplaceExtension(const std::string &Path, const std::string &Ext) {
  return Path.substr(0, Path.size() - Extension(Path).size()) + Ext;
}

/// Folder and Name joined by a "/", none added when one is already there.
std::string Join(const std::string &Folder, const std::string &Name) {
  if (Folder.empty() || Folder.back() == '/' ||
      (!Name.empty() && Name[0] == '/'))
    return Folder + Name;
  return Folder + "/" + Name;
}

bool IsFolder(const std::string &Path) {
  std::error_code Ignored;
  return !Path.empty() && std::filesystem::is_directory(Path, Ignored);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *Data,
                                      std::size_t Size) {
  std::vector<std::string> Pieces = fuzz::Pieces(Data, Size);
  Pieces.resize(3);
  const std::string Root = Folder().Path("");
  // The option value is taken inside the scratch folder.
  const std::string Given = NoParent(Pieces[0]);
  const std::string Value = Root + Given;
  const std::string MainOutput = NoParent(Pieces[1]);
  const std::string DefaultName = fuzz::Confined(Pieces[2]);

  const std::string Ext = ".txt";
  std::string Wanted;
  if (IsFolder(Value))
    Wanted = Join(Value, DefaultName + Ext);
  else if (Extension(Value).empty())
    Wanted = Value + Ext;
  else
    Wanted = Value;
  Require(SuOutputFileName(Value, DefaultName, Ext) == Wanted);

  SuCommandFileArg CommandFile(MsGetConsole());
  Require(CommandFile.FileName(Given) ==
          (Extension(Given).empty() ? Given + ".xcl" : Given));

  // The dependency list, for the destinations "+", a folder and a file.
  const bool Named = !MainOutput.empty() && MainOutput != "-";
  for (const std::string &Destination : {std::string("+"), Value}) {
    std::string Path = "unchanged";
    const bool Made = MsDependHandler::ListPath(Destination, MainOutput, Path);
    if (Destination == "+") {
      Require(Made == Named);
      Require(Path == (Named ? ReplaceExtension(MainOutput, ".d")
                             : "unchanged"));
    } else if (IsFolder(Destination)) {
      Require(Made == Named);
      Require(Path == (Named ? Join(Destination,
                                    ReplaceExtension(FileName(MainOutput),
                                                     ".d"))
                             : "unchanged"));
    } else {
      Require(Made && Path == Destination);
    }
  }
  return 0;
}
