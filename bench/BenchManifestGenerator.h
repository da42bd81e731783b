// Generates large checks manifests for the selection benchmark.
#ifndef BENCH_BENCHMANIFESTGENERATOR_H
#define BENCH_BENCHMANIFESTGENERATOR_H

#include <cstdint>
#include <iosfwd>
#include <string>

/// Writes a manifest of Records records to Out. Every record has eight
/// attribute lines and takes 170 bytes with its empty line; every fifth record
/// is in two groups, one in 97 is hidden; the file ends with an empty line,
/// so that every record counts. The same Records always gives the same bytes.
/// Check names are "GEN-<family>-<number>", packages "pkg-00" to "pkg-19",
/// groups "grp-000" to "grp-039".
void BenchWriteManifest(std::ostream &Out, std::uint64_t Records);

/// Writes the manifest of Records records to the file Path; throws
/// std::runtime_error when the file cannot be written.
void BenchWriteManifestFile(const std::string &Path, std::uint64_t Records);

#endif
