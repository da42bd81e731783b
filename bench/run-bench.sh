#!/usr/bin/env bash
# Builds a Release tree with the benchmark (default build-tool-rel/), generates
# manifests of 100000 and RECORDS (default 1000000) records, runs the
# selection benchmark on each with its peak memory, and times mawk doing the
# all-checks selection of the large manifest with bench/allchecks.awk; the two
# outputs must be identical.
# Usage: bench/run-bench.sh [extra Google Benchmark options...]
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build-tool-rel}
records=${RECORDS:-1000000}

cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release \
  -DCHKSEL_BUILD_BENCH=ON -DCHKSEL_BUILD_TESTS=OFF >&2
cmake --build "$build" -j2 --target chksel_bench chksel_genmanifest >&2

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

for n in 100000 "$records"; do
  manifest=$work/manifest-$n.txt
  "$build/bin/chksel_genmanifest" "$n" "$manifest"
  cat "$manifest" >/dev/null # into the page cache
  echo "=== $n records, $(stat -c %s "$manifest") bytes ==="
  CHKSEL_BENCH_MANIFEST=$manifest \
    /usr/bin/time -f 'process peak RSS: %M KiB' \
    "$build/bin/chksel_bench" --benchmark_repetitions=3 \
    --benchmark_report_aggregates_only=true "$@"
done

manifest=$work/manifest-$records.txt
echo "=== mawk, all checks, $records records ==="
/usr/bin/time -f 'mawk: %e s elapsed, peak RSS: %M KiB' \
  mawk -f "$root/bench/allchecks.awk" "$manifest" >"$work/mawk.txt"
CHKSEL_BENCH_MANIFEST=$manifest CHKSEL_BENCH_OUTPUT=$work/chksel.txt \
  "$build/bin/chksel_bench" --benchmark_filter=BM_AllChecksPass \
  --benchmark_min_time=0.01 >/dev/null
if cmp -s "$work/mawk.txt" "$work/chksel.txt"; then
  echo "mawk and chksel selected the same $(wc -l <"$work/chksel.txt") checks"
else
  echo "mawk and chksel outputs differ" >&2
  exit 1
fi
