#!/usr/bin/env bash
# Builds the fuzz harnesses with clang (libFuzzer, AddressSanitizer,
# UndefinedBehaviorSanitizer) in build-fuzz/ and runs each one in turn.
#
# Usage: fuzz/run.sh [SECONDS [HARNESS...]]
#   SECONDS per harness (default 60); the harnesses named, or all of them
#   (fuzz/Harnesses.cmake lists them).
#
# Each harness starts from its committed corpus fuzz/corpus/<harness>/ and
# works in build-fuzz/corpus/<harness>/. Afterwards the inputs that add
# coverage are merged into the committed corpus (libFuzzer -merge=1, which
# keeps what is there and adds only inputs with new features), and a table
# gives the executions, coverage (cov: edges, ft: features) and the
# committed corpus size per harness. A crash, leak, timeout or out-of-memory
# leaves its input in build-fuzz/artifacts/ and makes the script fail.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-60}
shift || true
build=$root/build-fuzz

if ! command -v clang++ >/dev/null 2>&1; then
  echo "clang++ not found: installing clang" >&2
  "$root/scripts/install-deps.sh" clang
fi

if [ $# -gt 0 ]; then
  harnesses=("$@")
else
  read -r -a harnesses <<<"$(sed -n '/^set(CHKSEL_FUZZ_HARNESSES/,/)/p' \
    "$root/fuzz/Harnesses.cmake" | tr -d '()' |
    sed 's/set\|CHKSEL_FUZZ_HARNESSES//g' | tr '\n' ' ')"
fi

launcher=()
command -v ccache >/dev/null 2>&1 && launcher=(-DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
cmake -S "$root/fuzz" -B "$build" -DCMAKE_CXX_COMPILER=clang++ \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo "${launcher[@]}" >&2
cmake --build "$build" -j2 --target "${harnesses[@]}" >&2

mkdir -p "$build/artifacts" "$build/logs"
status=0
report=()
for harness in "${harnesses[@]}"; do
  corpus=$root/fuzz/corpus/$harness
  work=$build/corpus/$harness
  log=$build/logs/$harness.log
  mkdir -p "$corpus" "$work"
  echo "=== $harness: $seconds s ===" >&2
  # The harnesses may change their current folder: every path is absolute.
  if ! "$build/fuzzers/$harness" -max_total_time="$seconds" -max_len=4096 \
      -rss_limit_mb=2048 -timeout=25 -print_final_stats=1 \
      -artifact_prefix="$build/artifacts/$harness-" "$work" "$corpus" \
      >"$log" 2>&1; then
    echo "$harness failed: see $log and $build/artifacts/" >&2
    tail -n 40 "$log" >&2
    status=1
  fi
  execs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log" | tail -n 1)
  cov=$(grep -o 'cov: [0-9]* ft: [0-9]*' "$log" | tail -n 1)
  "$build/fuzzers/$harness" -merge=1 -max_len=4096 -rss_limit_mb=2048 \
    -artifact_prefix="$build/artifacts/$harness-" "$corpus" "$work" \
    >"$build/logs/$harness.merge.log" 2>&1 || status=1
  files=$(find "$corpus" -type f | wc -l)
  size=$(( $(du -sb "$corpus" | cut -f1) / 1024 ))
  report+=("$(printf '%-20s %12s execs  %-22s corpus %5s files %6s KiB' \
    "$harness" "${execs:-?}" "${cov:-cov: ?}" "$files" "$size")")
done

echo
printf '%s\n' "${report[@]}"
exit $status
