// Generates large checks manifests for the selection benchmark.
#include "bench/BenchManifestGenerator.h"

#include <cstdio>
#include <fstream>
#include <ostream>
#include <stdexcept>

namespace {

const char *const Families[] = {"memory",   "pointer", "number", "flowctl",
                                "resource", "thread",  "secure", "layout"};

/// Appends Value in Width decimal digits, zero-padded.
void AppendNumber(std::string &Text, std::uint64_t Value, int Width) {
  char Digits[24];
  std::snprintf(Digits, sizeof Digits, "%0*llu", Width,
                static_cast<unsigned long long>(Value));
  Text += Digits;
}

constexpr std::size_t RecordBytes = 170;

} // namespace

void BenchWriteManifest(std::ostream &Out, std::uint64_t Records) {
  std::string Text;
  std::string Record;
  for (std::uint64_t I = 0; I < Records; ++I) {
    // A cheap mixing of the index, so that packages and groups do not simply
    // follow the record order.
    std::uint64_t Mix = (I * 2654435761u) >> 7;
    Record.clear();
    Record += "checkname=GEN-";
    Record += Families[I % 8];
    Record += '-';
    AppendNumber(Record, I, 8);
    Record += "\npackage=pkg-";
    AppendNumber(Record, Mix % 20, 2);
    Record += "\ngroup=grp-";
    AppendNumber(Record, Mix % 40, 3);
    if (I % 5 == 0) {
      Record += "\ngroup=grp-";
      AppendNumber(Record, (Mix / 40) % 40, 3);
    } else {
      Record += "\nseverity=";
      Record += (Mix % 3 == 0) ? "med" : (Mix % 3 == 1) ? "low" : "top";
    }
    Record += (Mix % 3 == 0) ? "\ndefault=off" : "\ndefault=on";
    Record += (I % 97 == 96) ? "\nvisible=no" : "\nvisible=yes";
    Record += "\nowner=team-";
    AppendNumber(Record, Mix % 16, 2);
    Record += "\ntitle=Generated check number ";
    AppendNumber(Record, I, 8);
    Record += ' ';
    // Pads the title so that every record has the same length.
    std::size_t Used = Record.size() + 2;
    if (Used < RecordBytes)
      Record.append(RecordBytes - Used, 'x');
    Record += "\n\n";
    Text += Record;
    if (Text.size() >= (1u << 20)) {
      Out.write(Text.data(), static_cast<std::streamsize>(Text.size()));
      Text.clear();
    }
  }
  Out.write(Text.data(), static_cast<std::streamsize>(Text.size()));
}

void BenchWriteManifestFile(const std::string &Path, std::uint64_t Records) {
  std::ofstream Out(Path, std::ios::binary | std::ios::trunc);
  BenchWriteManifest(Out, Records);
  Out.close();
  if (!Out)
    throw std::runtime_error("cannot write " + Path);
}
