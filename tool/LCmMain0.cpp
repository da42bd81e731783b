// The main flow of chksel: options, paths, selection, exit status.
#include "tool/LCmMain0.h"

#include "appinterface/LcConsoleApplicationInterface.h"
#include "cmdline/ClArg.h"
#include "cmdline/ClParser.h"
#include "console/MsConsole.h"
#include "setup/SuCommandFileArg.h"
#include "setup/SuSetup.h"
#include "tool/LcMessages.h"
#include "tool/LcSelection.h"

#include <boost/filesystem/path.hpp>

#include <sstream>

namespace {

constexpr char UsageText[] =
    "<NoSignOn>Usage:          chksel [options]\n\n"
    "Default output is <current directory>/ruvex_sel_checks.txt\n\n";
constexpr char DefaultOutput[] = "ruvex_sel_checks.txt";

const SuBannerInputs &Banner() {
  static const SuBannerInputs Inputs{
      "Ruvex Check Selector", "", "", "1.1.3.53",
      "Copyright 2014 - 2015 Zoraxis Software AB."};
  return Inputs;
}

/// The values the command line gave, in list form.
std::vector<std::string> Members(const ClMultiVal<ClStringSetArg> &Parser) {
  std::vector<std::string> Result;
  Result.reserve(Parser.Values().size());
  for (const ClValue &Value : Parser.Values())
    Result.push_back(Value.Text);
  return Result;
}

/// The tool's setup system: registers the "Lc" messages and the banner,
/// declares the seven options, and once the parse is done works out the
/// selection request. Owns the option objects.
class SetupSystem : public SuTargetSetupSystem {
public:
  explicit SetupSystem(LcSelectionRequest &Target) : Request(Target) {}

  void Setup(SuTargetSetup &Setup, SuContinuation &Next) override {
    LcRegisterMessages(Setup.Console());
    Setup.SetBanner(Banner());
    ClGroupParser &Root = Setup.Parser();
    Root.Add(std::make_unique<ClOnce>(Output));
    Root.Add(std::make_unique<ClOnce>(Manifest));
    Root.Add(std::make_unique<ClOnce>(All));
    CheckParser =
        &Root.Add(std::make_unique<ClMultiVal<ClStringSetArg>>(Check));
    DefaultParser =
        &Root.Add(std::make_unique<ClMultiVal<ClStringSetArg>>(Default));
    GroupParser =
        &Root.Add(std::make_unique<ClMultiVal<ClStringSetArg>>(Group));
    PackageParser =
        &Root.Add(std::make_unique<ClMultiVal<ClStringSetArg>>(Package));

    Next.Continue();

    Request.ManifestPath =
        Manifest.IsGiven() ? Manifest.Value() : DefaultManifestPath();
    Request.OutputPath = Output.IsGiven() ? Output.Value() : DefaultOutput;
    // The console applies its options (dependency lists among them) after
    // this system, so the lists learn their target, and the files they must
    // not be written over, here.
    Setup.Console().SetMainOutputName(Request.OutputPath);
    Setup.Console().SetMainInputName(Request.ManifestPath);
    Request.All = All.Value();
    Request.CheckNames = Members(*CheckParser);
    Request.DefaultPackages = Members(*DefaultParser);
    Request.Groups = Members(*GroupParser);
    Request.Packages = Members(*PackageParser);
    // Refused here rather than at the first pass, so that no dependency
    // list is opened for a run that cannot go on.
    LcRefuseOutputOverManifest(Setup.Console(), Setup.Console().Disk(),
                               Request);
  }

private:
  /// The folder of the program path as it was given, then "..", "config",
  /// "ruvex", "ruvex_checks.txt".
  static std::string DefaultManifestPath() {
    boost::filesystem::path Folder =
        boost::filesystem::path(SuProgramPath()).parent_path();
    return (Folder / ".." / "config" / "ruvex" / "ruvex_checks.txt").string();
  }

  LcSelectionRequest &Request;
  ClStringArg Output{0, "output", "file", "Override output file"};
  ClStringArg Manifest{0, "manifest", "file", "Override manifest file"};
  ClFlagArg All{0, "all", "Generate all checks"};
  ClStringSetArg Check{0, "check", "chk,chk,...", "Generate check(s)", ','};
  ClStringSetArg Default{
      0, "default", "pkg,pkg,...",
      "Generate all default checks for the specified package(s)", ','};
  ClStringSetArg Group{0, "group", "grp,grp,...",
                       "Generate all checks for the specified group(s)", ','};
  ClStringSetArg Package{0, "package", "pkg,pkg,...",
                         "Generate all checks for the specified package(s)",
                         ','};
  ClMultiVal<ClStringSetArg> *CheckParser = nullptr;
  ClMultiVal<ClStringSetArg> *DefaultParser = nullptr;
  ClMultiVal<ClStringSetArg> *GroupParser = nullptr;
  ClMultiVal<ClStringSetArg> *PackageParser = nullptr;
};

SuRunConfiguration RunConfiguration(MsConsole &Console) {
  SuRunConfiguration Config;
  Config.ToolKind = 2;
  Config.CommandFileArg = new SuCommandFileArg(Console);
  Config.Usage = UsageText;
  return Config;
}

} // namespace

MsConsole &LcToolConsole() {
  // The one place of the tool that takes the console from the process-wide
  // accessor; everything below receives it from here.
  MsConsole &Console = MsGetConsole();
  static LcConsoleApplicationInterface Interface(Console);
  if (Console.GetApplicationInterface() != &Interface)
    Console.SetApplicationInterface(&Interface);
  return Console;
}

SuRunResult LcSetupRun(MsConsole &Console, int Argc, char **Argv,
                       LcSelectionRequest &Request) {
  SetupSystem System(Request);
  SuToolOptions Options;
  return SuSetupRun(Console, Argc, Argv, Options, {&System},
                    RunConfiguration(Console));
}

LCmMain0::LCmMain0() : Served(LcToolConsole()) {}

std::int32_t LCmMain0::Run(int Argc, char **Argv) {
  MsConsole &Console = Served;
  LcSelectionRequest Request;
  SuRunResult Setup = LcSetupRun(Console, Argc, Argv, Request);
  if (!Setup.Proceed)
    return Setup.Failed ? 2 : 0;

  std::ostringstream Summary;
  try {
    LcRunSelection(Console, Console.Disk(), Request);
  } catch (const MsConsoleException &) {
    // A file could not be opened or written: the remaining passes are
    // skipped and the exit status is the console's.
  }
  return Console.Summary(Summary);
}

void LCmMain0::VisitOptionTable(
    const std::function<void(const ClParser &)> &Visit) {
  MsConsole &Console = LcToolConsole();
  LcSelectionRequest Request;
  SetupSystem System(Request);
  SuToolOptions Options;
  SuRunConfiguration Config = RunConfiguration(Console);
  Config.OptionTableVisitor = Visit;
  char Program[] = "chksel";
  char *Argv[] = {Program, nullptr};
  SuSetupRun(Console, 1, Argv, Options, {&System}, std::move(Config));
}
