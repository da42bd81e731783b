#!/usr/bin/env bash
# Whole-process benchmark of chksel against mawk running the same selection.
#
# Builds a Release tree (default build-tool-rel/, or BUILD_DIR) with chksel,
# the manifest generator and the timing helper chksel_proctime; generates
# manifests of 1000 and 1000000 records into a temporary folder (removed at
# the end); then times, as whole processes:
#   - chksel --manifest=F --all --output=OUT  against
#     mawk -f bench/allchecks.awk F > OUT2, on the bundled sample manifest and
#     on both generated manifests;
#   - the five-pass run chksel --all --check=... --default=... --group=...
#     --package=... against mawk -f bench/passes.awk doing the same five
#     passes in one process, on both generated manifests.
# The two outputs of every row must be byte-identical, or the script fails.
# Last, the all-checks run of chksel_scanproto (a bench-only prototype of a
# block-scanning manifest reader) on the large manifest is timed beside the
# table, its output compared with chksel's.
#
# Each measurement is one untimed warm-up run (so the page cache is warm),
# then SMALL_RUNS (default 21) timed runs for the sample and the 1000-record
# manifest, BIG_RUNS (default 7) for the 1000000-record manifest. The helper
# forks and execs each run and reads the child's rusage from wait4: wall
# clock is CLOCK_MONOTONIC around fork..wait4, CPU is user + system time,
# peak RSS is ru_maxrss (the kernel's high-water mark of the child's resident
# set, the same figure GNU time prints as %M), median over the runs.
#
# The machine is shared, so wall-clock figures are noisy: with QUIET_WAIT=S
# the script waits up to S seconds (checking every 30 s) for the one-minute
# load average to fall below QUIET_LOAD (default 0.5) before measuring. The
# load average at the start and end of the measurement is printed.
#
# Usage: bench/run-tool-bench.sh
#   env: BUILD_DIR, SMALL_RUNS, BIG_RUNS, BIG_RECORDS (default 1000000),
#        QUIET_WAIT (default 0), QUIET_LOAD (default 0.5)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build-tool-rel}
small_runs=${SMALL_RUNS:-21}
big_runs=${BIG_RUNS:-7}
big_records=${BIG_RECORDS:-1000000}
quiet_wait=${QUIET_WAIT:-0}
quiet_load=${QUIET_LOAD:-0.5}

if ! command -v mawk >/dev/null; then
  echo "run-tool-bench.sh: mawk is not installed (Debian package mawk)" >&2
  exit 1
fi

cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release \
  -DCHKSEL_BUILD_BENCH=ON -DCHKSEL_BUILD_TESTS=OFF >&2
cmake --build "$build" -j2 \
  --target chksel chksel_genmanifest chksel_proctime chksel_scanproto >&2

bin=$build/bin
for tool in chksel chksel_genmanifest chksel_proctime chksel_scanproto; do
  if [[ ! -x $bin/$tool ]]; then
    echo "run-tool-bench.sh: $bin/$tool was not built" \
      "(the bench folder needs Google Benchmark, libbenchmark-dev)" >&2
    exit 1
  fi
done
sample=$build/config/ruvex/ruvex_checks.txt

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# mawk's toupper follows LC_CTYPE; chksel compares in the classic locale.
export LC_ALL=C

"$bin/chksel_genmanifest" 1000 "$work/m-1000.txt"
"$bin/chksel_genmanifest" "$big_records" "$work/m-$big_records.txt"

# Names, packages and groups that exist in every generated manifest of at
# least 1000 records; the check names are given in other cases than in the
# file.
five_opts=(--check=GEN-memory-00000000,gen-LAYOUT-00000999 --default=pkg-03
  --group=GRP-011 --package=pkg-07,pkg-18)
five_passes='all|check:GEN-memory-00000000,gen-LAYOUT-00000999|default:pkg-03'
five_passes+='|group:GRP-011|package:pkg-07,pkg-18'

load1() { cut -d' ' -f1 /proc/loadavg; }

waited=0
while [[ $quiet_wait -gt 0 ]] &&
  ! awk -v l="$(load1)" -v q="$quiet_load" 'BEGIN { exit !(l < q) }'; do
  if ((waited >= quiet_wait)); then
    echo "machine still busy after ${waited} s (load $(load1)); measuring" >&2
    break
  fi
  sleep 30
  waited=$((waited + 30))
done
load_start=$(cut -d' ' -f1-3 /proc/loadavg)

# measure RUNS OUT_FILE PROGRAM ARGS...: prints the helper's key=value line.
measure() {
  local runs=$1 out=$2
  shift 2
  "$bin/chksel_proctime" --runs="$runs" --stdout="$out" -- "$@"
}

# field NAME LINE: the value of NAME= in a line of the helper.
field() { sed -n "s/.*\\b$1=\\([^ ]*\\).*/\\1/p" <<<"$2"; }

rows=()
# row LABEL RECORDS RUNS MANIFEST PASSES: times chksel and mawk on MANIFEST
# (PASSES empty: the all-checks run) and appends one table row.
row() {
  local label=$1 records=$2 runs=$3 manifest=$4 passes=$5
  local out=$work/chksel.txt out2=$work/mawk.txt c m
  if [[ -z $passes ]]; then
    c=$(measure "$runs" /dev/null "$bin/chksel" --manifest="$manifest" \
      --all --output="$out")
    m=$(measure "$runs" "$out2" mawk -f "$root/bench/allchecks.awk" \
      "$manifest")
  else
    c=$(measure "$runs" /dev/null "$bin/chksel" --manifest="$manifest" \
      --all "${five_opts[@]}" --output="$out")
    m=$(measure "$runs" "$out2" mawk -v "passes=$passes" \
      -f "$root/bench/passes.awk" "$manifest" "$manifest" "$manifest" \
      "$manifest" "$manifest")
  fi
  if ! cmp -s "$out" "$out2"; then
    echo "run-tool-bench.sh: $label: chksel and mawk outputs differ" >&2
    exit 1
  fi
  if [[ ! -s $out ]]; then
    echo "run-tool-bench.sh: $label: nothing was selected" >&2
    exit 1
  fi
  rows+=("$(printf '%s|%s|%s|%s|%s|%s|%s|%s|%s|%s|%s' "$label" "$records" \
    "$(field median_ms "$c")" "$(field min_ms "$c")" \
    "$(field median_ms "$m")" "$(field min_ms "$m")" \
    "$(field cpu_median_ms "$c")" "$(field cpu_median_ms "$m")" \
    "$(field peak_rss_kib "$c")" "$(field peak_rss_kib "$m")" \
    "$(wc -l <"$out")")")
}

sample_records=$(awk 'BEGIN { RS = "" } END { print NR }' "$sample")
row "sample --all" "$sample_records" "$small_runs" "$sample" ""
row "generated --all" 1000 "$small_runs" "$work/m-1000.txt" ""
row "generated 5 passes" 1000 "$small_runs" "$work/m-1000.txt" \
  "$five_passes"
row "generated --all" "$big_records" "$big_runs" "$work/m-$big_records.txt" ""
row "generated 5 passes" "$big_records" "$big_runs" \
  "$work/m-$big_records.txt" "$five_passes"
big=$work/m-$big_records.txt
"$bin/chksel" --manifest="$big" --all --output="$work/chksel.txt"
proto=$(measure "$big_runs" /dev/null "$bin/chksel_scanproto" "$big" \
  "$work/proto.txt")
if ! cmp -s "$work/chksel.txt" "$work/proto.txt"; then
  echo "run-tool-bench.sh: chksel and chksel_scanproto outputs differ" >&2
  exit 1
fi
floor=$(measure "$small_runs" /dev/null /bin/true)
load_end=$(cut -d' ' -f1-3 /proc/loadavg)

echo "chksel whole-process benchmark, $(date -u '+%Y-%m-%d %H:%M UTC')," \
  "$(nproc) cores, load average $load_start at start, $load_end at end"
echo
printf '%s\n' "${rows[@]}" | awk -F'|' '
BEGIN {
  print "| manifest | records | chksel median ms | chksel min ms | mawk median ms | mawk min ms | speed-up | chksel CPU ms | mawk CPU ms | chksel peak RSS KiB | mawk peak RSS KiB | lines out |"
  print "|---|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|"
}
{
  printf "| %s | %s | %.2f | %.2f | %.2f | %.2f | %.1fx | %.2f | %.2f | %s | %s | %s |\n",
    $1, $2, $3, $4, $5, $6, $5 / $3, $7, $8, $9, $10, $11
}'
echo
echo "Runs per row: $small_runs (sample, 1000 records), $big_runs" \
  "($big_records records), after one untimed run; medians of wall clock," \
  "CPU (user + system) and peak RSS (ru_maxrss); chksel and mawk outputs" \
  "byte-identical in every row. Floor of the helper: /bin/true" \
  "$(field median_ms "$floor") ms, $(field peak_rss_kib "$floor") KiB."

printf '%s\n' "${rows[@]}" | awk -F'|' -v big="$big_records" \
  -v ms="$(field median_ms "$proto")" -v kib="$(field peak_rss_kib "$proto")" '
$1 == "generated --all" && $2 == big {
  printf "Block-scanning prototype (bench/ScanPrototypeMain.cpp), %s records" \
    " --all: median %.2f ms, %.1fx mawk, %s KiB peak RSS, same output.\n",
    big, ms, $5 / ms, kib
}'

# Targets: the sample run under 5 ms; on the large manifest the --all run at
# least 10 times faster than mawk and under 10 MB (10^7 bytes) peak RSS.
printf '%s\n' "${rows[@]}" | awk -F'|' -v big="$big_records" '
function verdict(ok) { return ok ? "met" : "MISSED" }
$1 == "sample --all" {
  printf "target sample --all under 5 ms: %s (%.2f ms)\n", verdict($3 < 5), $3
}
$1 == "generated --all" && $2 == big {
  printf "target %s records --all at least 10x mawk: %s (%.1fx)\n", big,
    verdict($5 / $3 >= 10), $5 / $3
  printf "target %s records --all under 10 MB peak RSS: %s (%d KiB = %.1f MB)\n",
    big, verdict($9 * 1024 < 1e7), $9, $9 * 1024 / 1e6
}'
