// The dump options' writers and the naming rule of their files.
#include "setup/SuDumps.h"

#include "cmdline/ClLine.h"
#include "console/MsConsole.h"
#include "console/MsOutputStream.h"

#include <boost/filesystem.hpp>

#include <functional>
#include <memory>

namespace {

/// Writes an output file of the framework through a temporary file, so that
/// a failure leaves the old file as it was ("-" is standard output);
/// failures are reported to the console.
void WriteOutputFile(MsConsole &Console, const std::string &Path,
                     const std::function<void(std::ostream &)> &Write) {
  std::unique_ptr<MsOutputStream::OutFile> File = MsOutputStream::Open(
      Console, MsOutputStream::Kind::Temp, Path, MsOutputStream::Mode::Text);
  if (!File)
    return;
  Write(File->Stream());
  File->Close();
}

/// The file a dump option's Value names: standard output ("-") and a device
/// (such as /dev/stdout) as they stand, anything else by SuOutputFileName.
std::string DumpFileName(const std::string &Value,
                         const std::string &DefaultName) {
  if (Value == "-" || MsOutputStream::IsSpecialFile(Value))
    return Value;
  return SuOutputFileName(Value, DefaultName, ".txt");
}

void WriteWord(std::ostream &Out, const std::string &Word) {
  if (SuIsBareWord(Word)) {
    Out << Word;
    return;
  }
  Out << '"';
  for (char Ch : Word) {
    if (Ch == '"' || Ch == '\\')
      Out << '\\';
    Out << Ch;
  }
  Out << '"';
}

} // namespace

std::string SuOutputFileName(const std::string &Value,
                             const std::string &DefaultName,
                             const std::string &DefaultExtension) {
  namespace fs = boost::filesystem;
  boost::system::error_code Error;
  fs::path Path(Value);
  if (!Value.empty() && fs::is_directory(Path, Error))
    return (Path / (DefaultName + DefaultExtension)).string();
  if (Path.extension().empty())
    return Value + DefaultExtension;
  return Value;
}

bool SuIsBareWord(const std::string &Word) {
  static const std::string Allowed = "ABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                     "abcdefghijklmnopqrstuvwxyz"
                                     "0123456789-_./\\=:";
  return !Word.empty() && Word.find_first_not_of(Allowed) == std::string::npos;
}

void SuWriteCommandLine(std::ostream &Out,
                        const std::vector<std::string> &CommonWords,
                        const std::string &SourceFile,
                        const std::vector<std::string> &ExtraWords) {
  bool First = true;
  for (const std::string &Word : CommonWords) {
    if (!First)
      Out << ' ';
    WriteWord(Out, Word);
    First = false;
  }
  Out << ' ';
  WriteWord(Out, SourceFile);
  for (const std::string &Word : ExtraWords) {
    Out << ' ';
    WriteWord(Out, Word);
  }
  Out << '\n';
}

void SuDumpDiagnosticsTables(MsConsole &Console, const std::string &Value) {
  WriteOutputFile(Console, DumpFileName(Value, "diagnostics_tables"),
                  [&Console](std::ostream &Out) { Console.ListTags(Out); });
}

void SuDistributeCommandLines(MsConsole &Console, const std::string &Value,
                              const ClWalkResult &Walked) {
  const std::vector<std::string> Common = ClTokenTexts(Walked.Recorded);
  const std::vector<std::string> Extra = ClTokenTexts(Walked.SecondRecorded);
  auto WriteAll = [&](std::ostream &Out) {
    bool First = true;
    for (const ClToken &Source : Walked.Positional) {
      SuWriteCommandLine(Out, Common, Source.Text,
                         First ? Extra : std::vector<std::string>());
      First = false;
    }
  };
  WriteOutputFile(Console, DumpFileName(Value, "separate_commands"), WriteAll);
}
