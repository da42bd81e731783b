// Benchmark of the selection passes over a large generated manifest.
//
// The manifest is CHKSEL_BENCH_MANIFEST when that names a file, else a
// manifest of CHKSEL_BENCH_RECORDS records (default 1000000) generated once
// into a temporary folder. The selected names go to CHKSEL_BENCH_OUTPUT when
// that is set, else to a file in the temporary folder.
#include "bench/BenchManifestGenerator.h"
#include "console/MsConsole.h"
#include "general/GeDisk.h"
#include "tool/LcMessages.h"
#include "tool/LcManifestReader.h"
#include "tool/LcSelection.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>

#include <sys/resource.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

struct BenchFiles {
  BenchFiles() {
    Folder = fs::temp_directory_path() /
             ("chksel-bench-" + std::to_string(static_cast<long>(getpid())));
    fs::create_directories(Folder);
    const char *OutputPath = std::getenv("CHKSEL_BENCH_OUTPUT");
    Output = OutputPath && *OutputPath ? std::string(OutputPath)
                                       : (Folder / "selected.txt").string();
    const char *Given = std::getenv("CHKSEL_BENCH_MANIFEST");
    if (Given && *Given) {
      Manifest = Given;
    } else {
      const char *Count = std::getenv("CHKSEL_BENCH_RECORDS");
      std::uint64_t Records =
          Count && *Count ? std::strtoull(Count, nullptr, 10) : 1000000;
      Manifest = (Folder / "manifest.txt").string();
      BenchWriteManifestFile(Manifest, Records);
    }
    ManifestBytes = static_cast<std::int64_t>(fs::file_size(Manifest));
  }
  ~BenchFiles() {
    std::error_code Ignored;
    fs::remove_all(Folder, Ignored);
  }

  fs::path Folder;
  std::string Manifest;
  std::string Output;
  std::int64_t ManifestBytes = 0;
};

BenchFiles &Files() {
  static BenchFiles TheFiles;
  return TheFiles;
}

double PeakRssMiB() {
  struct rusage Usage;
  getrusage(RUSAGE_SELF, &Usage);
  return static_cast<double>(Usage.ru_maxrss) / 1024.0;
}

void RunRequest(benchmark::State &State, const LcSelectionRequest &Request,
                int Passes) {
  for (auto _ : State) {
    LcResetOutputOpened();
    LcRunSelection(MsGetConsole(), GeDefaultDisk(), Request);
  }
  State.SetBytesProcessed(State.iterations() * Passes * Files().ManifestBytes);
  State.counters["records_MB"] =
      static_cast<double>(Files().ManifestBytes) / 1e6;
  State.counters["peak_rss_MiB"] = PeakRssMiB();
  State.counters["out_bytes"] =
      static_cast<double>(fs::file_size(Files().Output));
}

void BM_AllChecksPass(benchmark::State &State) {
  LcSelectionRequest Request;
  Request.ManifestPath = Files().Manifest;
  Request.OutputPath = Files().Output;
  Request.All = true;
  RunRequest(State, Request, 1);
}

void BM_FivePasses(benchmark::State &State) {
  LcSelectionRequest Request;
  Request.ManifestPath = Files().Manifest;
  Request.OutputPath = Files().Output;
  Request.All = true;
  Request.CheckNames = {"GEN-memory-00000000", "gen-layout-00999999"};
  Request.DefaultPackages = {"pkg-03"};
  Request.Groups = {"GRP-011"};
  Request.Packages = {"pkg-07", "pkg-18"};
  RunRequest(State, Request, 5);
}

/// One pass of the reader alone over the manifest, keeping what the
/// all-checks selection reads (range 1) or every attribute (range 0), with
/// the block classification of the kind numbered range 1 (portable, sse2,
/// avx2, avx512).
void BM_ReaderPass(benchmark::State &State) {
  auto Kind = static_cast<LcMaskKind>(State.range(1));
  std::vector<LcMaskKind> Kinds = LcMaskKindsForThisMachine();
  if (std::find(Kinds.begin(), Kinds.end(), Kind) == Kinds.end()) {
    State.SkipWithError("this processor cannot run that kind");
    return;
  }
  static const std::vector<std::string> NoValues;
  LcRecordSelector Selector(LcSelectionMode::AllChecks, NoValues);
  std::size_t Attributes = 0;
  for (auto _ : State) {
    LcManifestReader Reader(LcManifestReader::DefaultBlockSize, Kind);
    if (State.range(0))
      Reader.SetKeyFilter(Selector.KeyFilter());
    Reader.Open(MsGetConsole(), GeDefaultDisk(), Files().Manifest);
    while (!Reader.AtEnd()) {
      Attributes += Reader.Current().size();
      Reader.Advance();
    }
  }
  benchmark::DoNotOptimize(Attributes);
  State.SetBytesProcessed(State.iterations() * Files().ManifestBytes);
  State.SetLabel(LcMaskKindName(Kind));
}

BENCHMARK(BM_ReaderPass)
    ->ArgsProduct({{0, 1}, {0, 1, 2, 3}})
    ->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AllChecksPass)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_FivePasses)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

int main(int argc, char **argv) {
  LcRegisterMessages(MsGetConsole());
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv))
    return 1;
  Files();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
