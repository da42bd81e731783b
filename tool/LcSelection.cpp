// Check selection: the five selection passes over the checks manifest and
// the selected-checks output they write.
#include "tool/LcSelection.h"

#include "console/MsConsole.h"
#include "console/MsMessages.h"
#include "tool/CoutSink.h"
#include "tool/LcManifestReader.h"
#include "tool/LcMessages.h"

#include <boost/algorithm/string/predicate.hpp>
#include <boost/iostreams/device/file_descriptor.hpp>
#include <boost/iostreams/stream.hpp>

#include <istream>
#include <locale>
#include <memory>
#include <ostream>

namespace {

/// Set once any pass has opened the output; later passes append.
bool OutputOpenedFlag = false;

constexpr std::streamsize OutputBufferSize = 64 * 1024;

/// Reports that writing the output Path failed and stops the run.
[[noreturn]] void ReportWriteFailure(const std::string &Path) {
  MsGetConsole().Report(MsMakeTag(MsMsgWriteProblem), MsConsole::ErrorFixed,
                        Path);
  throw MsConsoleException();
}

/// The output of one pass: a stream on standard output or on the output
/// file, held for the length of the pass.
class PassOutput {
public:
  /// Opens OutputPath; reports Lc002 and throws MsConsoleException on
  /// failure.
  explicit PassOutput(const std::string &OutputPath) : Path(OutputPath) {
    if (Path == "-") {
      Console = std::make_shared<boost::iostreams::stream<CoutSink>>();
      Console->open(CoutSink(), OutputBufferSize);
      Out = Console.get();
    } else {
      File = std::make_shared<
          boost::iostreams::stream<boost::iostreams::file_descriptor_sink>>();
      std::ios_base::openmode Mode =
          std::ios_base::out | std::ios_base::binary |
          (OutputOpenedFlag ? std::ios_base::app : std::ios_base::trunc);
      try {
        File->open(boost::iostreams::file_descriptor_sink(Path, Mode),
                   OutputBufferSize);
      } catch (const std::ios_base::failure &) {
        LcReport(LcMsgCouldNotOpen, Path);
        throw MsConsoleException();
      }
      Out = File.get();
    }
    OutputOpenedFlag = true;
  }

  std::ostream &Stream() { return *Out; }

  /// Flushes and closes the output; reports Ms004 and throws
  /// MsConsoleException when a write, the flush or the close failed.
  void Finish() {
    bool Good = static_cast<bool>(Out->flush());
    try {
      if (File)
        File->close();
      else
        Console->close();
    } catch (const std::ios_base::failure &) {
      Good = false;
    }
    if (!Good)
      ReportWriteFailure(Path);
  }

private:
  std::string Path;
  std::shared_ptr<boost::iostreams::stream<CoutSink>> Console;
  std::shared_ptr<
      boost::iostreams::stream<boost::iostreams::file_descriptor_sink>>
      File;
  std::ostream *Out = nullptr;
};

} // namespace

LcRecordSelector::LcRecordSelector(LcSelectionMode PassMode,
                                   const std::vector<std::string> &Values)
    : Mode(PassMode), Requested(Values) {
  for (std::size_t I = 0; I < Upper.size(); ++I)
    Upper[I] = static_cast<char>(static_cast<unsigned char>(I));
  std::use_facet<std::ctype<char>>(std::locale())
      .toupper(Upper.data(), Upper.data() + Upper.size());
}

bool LcRecordSelector::Equal(std::string_view A, std::string_view B) const {
  if (A.size() != B.size())
    return false;
  return boost::algorithm::equals(A, B, [this](char X, char Y) {
    return Upper[static_cast<unsigned char>(X)] ==
           Upper[static_cast<unsigned char>(Y)];
  });
}

bool LcRecordSelector::MatchesRequested(std::string_view Value) const {
  for (const std::string &Wanted : Requested)
    if (Equal(Value, Wanted))
      return true;
  return false;
}

bool LcRecordSelector::Select(const LcRecord &Record,
                              std::string_view &Name) const {
  std::string_view Pending;
  bool Selected = false;
  for (const LcAttribute &Attribute : Record) {
    std::string_view Key = Attribute.Key();
    std::string_view Value = Attribute.Value();
    if (Equal(Key, "checkname")) {
      Pending = Value;
      if (Mode == LcSelectionMode::AllChecks)
        Selected = true;
      else if (Mode == LcSelectionMode::NamedChecks && MatchesRequested(Value))
        Selected = true;
    } else if (Equal(Key, "package")) {
      if (Mode == LcSelectionMode::DefaultChecksOfPackages ||
          Mode == LcSelectionMode::ChecksOfPackages) {
        if (MatchesRequested(Value))
          Selected = true;
        // A default check of an unrequested package is dropped, unless an
        // earlier attribute has already selected it.
        if (Mode == LcSelectionMode::DefaultChecksOfPackages && !Selected)
          return false;
      }
    } else if (Equal(Key, "group")) {
      if (Mode == LcSelectionMode::ChecksOfGroups && MatchesRequested(Value))
        Selected = true;
    } else if (Equal(Key, "default")) {
      if (Mode == LcSelectionMode::DefaultChecksOfPackages &&
          Equal(Value, "on"))
        Selected = true;
    } else if (Equal(Key, "visible")) {
      if (Equal(Value, "no"))
        Selected = false;
    }
  }
  if (!Selected || Pending.empty())
    return false;
  Name = Pending;
  return true;
}

void LcSelectRecords(LcManifestReader &Reader, const LcRecordSelector &Selector,
                     std::ostream &Out) {
  std::string_view Name;
  while (!Reader.AtEnd()) {
    if (Selector.Select(Reader.Current(), Name)) {
      Out.write(Name.data(), static_cast<std::streamsize>(Name.size()));
      Out.put('\n');
      if (!Out)
        return;
    }
    Reader.Advance();
  }
}

void LcSelectFromStream(LcSelectionMode Mode, std::istream &Manifest,
                        std::ostream &Out,
                        const std::vector<std::string> &Requested) {
  LcRecordSelector Selector(Mode, Requested);
  LcManifestReader Reader;
  Reader.Open(Manifest);
  LcSelectRecords(Reader, Selector, Out);
  Reader.Close();
}

void LcRunPass(LcSelectionMode Mode, const std::string &ManifestPath,
               const std::string &OutputPath,
               const std::vector<std::string> &Requested) {
  PassOutput Output(OutputPath);
  LcRecordSelector Selector(Mode, Requested);
  LcManifestReader Reader;
  Reader.Open(ManifestPath);
  MsGetConsole().AnnounceFile(ManifestPath);
  LcSelectRecords(Reader, Selector, Output.Stream());
  Reader.Close();
  Output.Finish();
}

void LcRunSelection(const LcSelectionRequest &Request) {
  static const std::vector<std::string> NoValues;
  const std::string &Manifest = Request.ManifestPath;
  const std::string &Output = Request.OutputPath;
  if (Request.All)
    LcRunPass(LcSelectionMode::AllChecks, Manifest, Output, NoValues);
  if (!Request.CheckNames.empty())
    LcRunPass(LcSelectionMode::NamedChecks, Manifest, Output,
              Request.CheckNames);
  if (!Request.DefaultPackages.empty())
    LcRunPass(LcSelectionMode::DefaultChecksOfPackages, Manifest, Output,
              Request.DefaultPackages);
  if (!Request.Groups.empty())
    LcRunPass(LcSelectionMode::ChecksOfGroups, Manifest, Output,
              Request.Groups);
  if (!Request.Packages.empty())
    LcRunPass(LcSelectionMode::ChecksOfPackages, Manifest, Output,
              Request.Packages);
}

bool LcOutputOpened() { return OutputOpenedFlag; }

void LcResetOutputOpened() { OutputOpenedFlag = false; }
