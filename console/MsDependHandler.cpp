// Dependency lists.
#include "console/MsDependHandler.h"

#include "general/GeInternalFailure.h"

#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>

#include <ostream>

namespace fs = boost::filesystem;

/// Picks the file messages out of the message kinds.
class MsDependHandler::Writer : public MsMessage::Visitor {
public:
  explicit Writer(MsDependHandler &TheList) : List(TheList) {}
  void DoDependFile(const MsMessage &M) override { List.WriteName(M.Text()); }
  void DoSystemDependFile(const MsMessage &M) override {
    if (List.IncludeSystem)
      List.WriteName(M.Text());
  }

private:
  MsDependHandler &List;
};

MsDependHandler::MsDependHandler(MsDependStyle ListStyle,
                                 bool IncludeSystemFiles,
                                 std::string TargetName,
                                 std::unique_ptr<MsOutputStream::OutFile> Out)
    : Style(ListStyle), IncludeSystem(IncludeSystemFiles),
      Target(std::move(TargetName)), File(std::move(Out)) {
  if (!File)
    GeInternalFailure("MsDependHandler: no output file");
}

MsDependHandler::~MsDependHandler() = default;

void MsDependHandler::Handle(const MsMessage &M, MsConsole &) {
  if (Finished || (M.Kind() != MsMessage::KindDependFile &&
                   M.Kind() != MsMessage::KindSystemDependFile))
    return;
  Writer W(*this);
  M.Visit(W);
}

void MsDependHandler::WriteName(const std::string &Name) {
  std::ostream &Out = File->Stream();
  if (Style == MsDependStyle::MakeRules ||
      (Style == MsDependStyle::MakeOneRule && FirstEntry))
    Out << Escape(Target) << ": ";
  FirstEntry = false;
  if (Style == MsDependStyle::MakeOneRule)
    Out << " \\\n  ";
  if (Style == MsDependStyle::FileNames)
    Out << Name;
  else
    Out << Escape(Name);
  if (Style != MsDependStyle::MakeOneRule)
    Out << '\n';
}

bool MsDependHandler::Finish() {
  if (Finished)
    return false;
  Finished = true;
  if (Style == MsDependStyle::MakeOneRule)
    File->Stream() << '\n';
  return File->Close();
}

std::string MsDependHandler::Escape(const std::string &Name) {
  std::string Result;
  Result.reserve(Name.size());
  for (char Ch : Name) {
    if (Ch == ' ')
      Result += '\\';
    else if (Ch == '$')
      Result += '$';
    Result += Ch;
  }
  return Result;
}

bool MsDependHandler::ListPath(const std::string &Destination,
                               const std::string &MainOutput,
                               std::string &Path) {
  const bool Named = !MainOutput.empty() && MainOutput != "-";
  if (Destination == "-") {
    Path = Destination;
    return true;
  }
  if (Destination == "+") {
    if (!Named)
      return false;
    Path = fs::path(MainOutput).replace_extension(".d").string();
    return true;
  }
  boost::system::error_code Error;
  if (!Destination.empty() && fs::is_directory(Destination, Error)) {
    if (!Named)
      return false;
    fs::path Name = fs::path(MainOutput).filename().replace_extension(".d");
    Path = (fs::path(Destination) / Name).string();
    return true;
  }
  Path = Destination;
  return true;
}
