#!/usr/bin/env bash
# Measures the test suite's coverage of the product code: builds with
# --coverage in build-coverage/, runs every test, and prints line and branch
# coverage per product folder with gcovr.
#
# Usage: scripts/coverage.sh [gcovr option...]   (e.g. --html-details out.html)
#
# No compiler launcher: a cache may rewrite source paths, which gcov then
# cannot find. Every program exits through scripts/GcovFlushOnExit.cpp, so
# that children ended by _exit (death tests) are counted too. Branches that only exist for exception unwinding, and branches gcc marks
# unreachable, are left out of the branch count
# (--exclude-throw-branches --exclude-unreachable-branches).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
cd "$root"
scripts/install-deps.sh gcovr ninja-build

build=$root/build-coverage
jobs=$(nproc 2>/dev/null || echo 2)
# A tree left by another generator is started afresh.
if [[ -f $build/CMakeCache.txt ]] &&
  ! grep -qx 'CMAKE_GENERATOR:INTERNAL=Ninja' "$build/CMakeCache.txt"; then
  rm -rf "$build"
fi
mkdir -p "$build"
g++ -c -O1 "$root/scripts/GcovFlushOnExit.cpp" -o "$build/GcovFlushOnExit.o"
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DCHKSEL_BUILD_BENCH=OFF \
  -DCMAKE_CXX_FLAGS="--coverage" -DCMAKE_CXX_COMPILER_LAUNCHER= \
  -DCMAKE_EXE_LINKER_FLAGS="--coverage -Wl,--wrap=_exit -Wl,--wrap=_Exit $build/GcovFlushOnExit.o" \
  >&2
cmake --build "$build" -j "$jobs" >&2
# Objects of targets and sources that are no longer built, and their notes,
# would count as code never run.
ninja -C "$build" -t cleandead >&2
find "$build" -name '*.gcno' -print0 |
  while IFS= read -r -d '' notes; do
    [[ -f ${notes%.gcno}.o ]] || rm -f "$notes"
  done
find "$build" -name '*.gcda' -delete
# Some end-to-end tests run the tool under a file-size limit or in an
# unwritable folder, where the tool's counter files cannot be written whole
# (so these tests fail here); they run last, so that no other run merges into
# a cut-off counter file.
limited='OutputFileTest\.(WriteFailureMidwayKeepsTheOldFile|UnwritableFolderKeepsTheOldFile)|SafeOutputTest\.FileSizeLimit'
ctest --test-dir "$build" -j "$jobs" --timeout 300 -E "$limited" >&2 ||
  echo "warning: some tests failed; coverage is of the run as it went" >&2
ctest --test-dir "$build" --timeout 300 -R "$limited" >/dev/null 2>&1 || true

folders=(general sourcepos cmdline console appinterface ideagent setup tool)
filters=()
for f in "${folders[@]}"; do filters+=(--filter "$root/$f/"); done
summary=$build/coverage.json
gcovr --root "$root" --object-directory "$build" "${filters[@]}" \
  --exclude-throw-branches --exclude-unreachable-branches \
  --json-summary "$summary" "$@" >&2

python3 - "$summary" "${folders[@]}" <<'PY'
import json, sys
data = json.load(open(sys.argv[1]))
folders = sys.argv[2:]
totals = {f: [0, 0, 0, 0] for f in folders}
for entry in data["files"]:
    folder = entry["filename"].split("/")[0]
    if folder in totals:
        t = totals[folder]
        t[0] += entry["line_covered"]; t[1] += entry["line_total"]
        t[2] += entry["branch_covered"]; t[3] += entry["branch_total"]
def pct(a, b):
    return "%6.1f %%" % (100.0 * a / b) if b else "     - "
print("%-14s %18s %20s" % ("folder", "lines", "branches"))
all_ = [0, 0, 0, 0]
for f in folders:
    t = totals[f]
    all_ = [x + y for x, y in zip(all_, t)]
    print("%-14s %s %5d/%-5d %s %5d/%-5d" % (f, pct(t[0], t[1]), t[0], t[1],
                                             pct(t[2], t[3]), t[2], t[3]))
print("%-14s %s %5d/%-5d %s %5d/%-5d" % ("all", pct(all_[0], all_[1]), all_[0],
      all_[1], pct(all_[2], all_[3]), all_[2], all_[3]))
PY
