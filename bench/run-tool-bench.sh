#!/usr/bin/env bash
# Whole-process benchmark of chksel against mawk running the same selection.
#
# Builds a Release tree (default build-tool-rel/, or BUILD_DIR) with chksel,
# the manifest generator and the process timer chksel_proctime; generates
# manifests of 1000 and 1000000 records into a temporary folder (removed at
# the end); then times, as whole processes:
#   - chksel --manifest=F --all --output=OUT  against
#     mawk -f bench/allchecks.awk F > OUT2, on the bundled sample manifest
#     (the Release tree's copy) and on both generated manifests;
#   - the five-pass run chksel --all --check=... --default=... --group=...
#     --package=... against mawk -f bench/passes.awk doing the same five
#     passes in one process, on both generated manifests.
# The outputs of chksel and mawk must be byte-identical in every row, or the
# script fails.
#
# Timing: chksel_proctime forks and execs every run and reads the child's
# rusage from wait4. Wall clock is CLOCK_MONOTONIC around fork..wait4, CPU is
# user + system time, peak RSS is ru_maxrss (the kernel's high-water mark of
# the child's resident set, the figure GNU time prints as %M). The commands of
# a row take turns, one round after the other: one untimed round first (warm
# page cache), then SMALL_RUNS (default 21) timed rounds for the sample and
# the 1000-record manifest, BIG_RUNS (default 7) for the large one. Medians
# over the timed rounds are printed, with the minimum of the wall clock.
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

tools=(chksel chksel_genmanifest chksel_proctime)
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release \
  -DCHKSEL_BUILD_BENCH=ON -DCHKSEL_BUILD_TESTS=OFF >&2
cmake --build "$build" -j2 --target "${tools[@]}" >&2

bin=$build/bin
for tool in "${tools[@]}"; do
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

small=$work/m-1000.txt
big=$work/m-$big_records.txt
"$bin/chksel_genmanifest" 1000 "$small"
"$bin/chksel_genmanifest" "$big_records" "$big"

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

# field NAME LINE: the value of NAME= in a line of chksel_proctime.
field() { sed -n "s/.*\\b$1=\\([^ ]*\\).*/\\1/p" <<<"$2"; }

same_output() {
  if ! cmp -s "$2" "$3"; then
    echo "run-tool-bench.sh: $1: outputs of $2 and $3 differ" >&2
    exit 1
  fi
}

rows=()
# row LABEL RECORDS RUNS MANIFEST [PASSES]: times chksel and mawk on MANIFEST
# (without PASSES the all-checks run) and appends one table row.
row() {
  local label=$1 records=$2 runs=$3 manifest=$4 passes=${5:-}
  local out=$work/chksel.txt out2=$work/mawk.txt lines
  if [[ -z $passes ]]; then
    lines=$("$bin/chksel_proctime" --runs="$runs" -- \
      "$bin/chksel" --manifest="$manifest" --all --output="$out" --- \
      --stdout="$out2" mawk -f "$root/bench/allchecks.awk" "$manifest")
  else
    lines=$("$bin/chksel_proctime" --runs="$runs" -- \
      "$bin/chksel" --manifest="$manifest" --all "${five_opts[@]}" \
      --output="$out" --- \
      --stdout="$out2" mawk -v "passes=$passes" -f "$root/bench/passes.awk" \
      "$manifest" "$manifest" "$manifest" "$manifest" "$manifest")
  fi
  same_output "$label" "$out" "$out2"
  if [[ ! -s $out ]]; then
    echo "run-tool-bench.sh: $label: nothing was selected" >&2
    exit 1
  fi
  local c m
  c=$(sed -n 1p <<<"$lines")
  m=$(sed -n 2p <<<"$lines")
  rows+=("$(printf '%s|%s|%s|%s|%s|%s|%s|%s|%s|%s|%s' "$label" "$records" \
    "$(field median_ms "$c")" "$(field min_ms "$c")" \
    "$(field median_ms "$m")" "$(field min_ms "$m")" \
    "$(field cpu_median_ms "$c")" "$(field cpu_median_ms "$m")" \
    "$(field peak_rss_kib "$c")" "$(field peak_rss_kib "$m")" \
    "$(wc -l <"$out")")")
}

sample_records=$(awk 'BEGIN { RS = "" } END { print NR }' "$sample")
row "sample --all" "$sample_records" "$small_runs" "$sample"
row "generated --all" 1000 "$small_runs" "$small"
row "generated 5 passes" 1000 "$small_runs" "$small" "$five_passes"
row "generated --all" "$big_records" "$big_runs" "$big"
row "generated 5 passes" "$big_records" "$big_runs" "$big" "$five_passes"
floor=$("$bin/chksel_proctime" --runs="$small_runs" -- /bin/true)
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
echo "Rounds per row: $small_runs (sample, 1000 records), $big_runs" \
  "($big_records records), after one untimed round, chksel and mawk taking" \
  "turns; medians of wall clock, CPU (user + system) and peak RSS" \
  "(ru_maxrss); speed-up = mawk median / chksel median; outputs" \
  "byte-identical in every row. Floor of the timer: /bin/true" \
  "$(field median_ms "$floor") ms, $(field peak_rss_kib "$floor") KiB."

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
