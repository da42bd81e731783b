#!/usr/bin/env bash
# Whole-process benchmark of chksel: start-up against /bin/true, scanning
# against wc -l, and the selection against the same selection written for
# mawk. One command prints the whole table.
#
# Builds a Release tree (default build-tool-rel/, or BUILD_DIR) with chksel,
# the manifest generator and the process timer chksel_proctime; generates
# manifests of 100, 2000, 1000 and BIG_RECORDS (default 1000000) records into
# a temporary folder (removed at the end); then measures, as whole processes:
#   start-up  chksel --all --manifest=M --output=/dev/null for 100 and 2000
#             records against /bin/true;
#   scanning  chksel --all and the five passes (--all --check --default
#             --group --package) over the large manifest, output /dev/null,
#             against wc -l on the same file;
#   mawk      chksel writing the selected checks to a file against
#             mawk -f bench/allchecks.awk (all checks) and bench/passes.awk
#             (the same five passes), on the bundled sample, the 1000-record
#             and the large manifest; the outputs must be byte-identical.
#
# Timing: chksel_proctime forks and execs every run and reads the child's
# rusage from wait4. Wall clock is CLOCK_MONOTONIC around fork..wait4, CPU is
# user + system time, peak RSS is ru_maxrss of the program itself (the
# figure GNU time prints as %M). The commands of a group take turns, one
# round after the other, after one untimed round (warm page cache), so that
# a machine whose speed drifts slows all of them alike; medians are printed.
# Every group is measured REPEAT times (default 3) and the median of each
# ratio over the repetitions is reported, with the smallest and largest.
#
# The machine may be shared: with QUIET_WAIT=S the script waits up to S
# seconds (checking every 30 s) for the one-minute load average to fall below
# QUIET_LOAD (default 0.5) before measuring. The load average at the start
# and end is printed.
#
# Usage: bench/run-tool-bench.sh
#   env: BUILD_DIR, REPEAT (3), SMALL_RUNS (41), BIG_RUNS (11), MAWK_RUNS (3),
#        BIG_RECORDS (1000000), QUIET_WAIT (0), QUIET_LOAD (0.5)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build-tool-rel}
repeat=${REPEAT:-3}
small_runs=${SMALL_RUNS:-41}
big_runs=${BIG_RUNS:-11}
mawk_runs=${MAWK_RUNS:-3}
big_records=${BIG_RECORDS:-1000000}
quiet_wait=${QUIET_WAIT:-0}
quiet_load=${QUIET_LOAD:-0.5}

for tool in mawk wc; do
  if ! command -v "$tool" >/dev/null; then
    echo "run-tool-bench.sh: $tool is not installed" >&2
    exit 1
  fi
done

tools=(chksel chksel_genmanifest chksel_proctime)
cmake -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=Release \
  -DCHKSEL_BUILD_BENCH=ON -DCHKSEL_BUILD_TESTS=OFF >&2
cmake --build "$build" -j2 --target "${tools[@]}" >&2

bin=$build/bin
for tool in "${tools[@]}"; do
  if [[ ! -x $bin/$tool ]]; then
    echo "run-tool-bench.sh: $bin/$tool was not built" >&2
    exit 1
  fi
done
chksel=$bin/chksel
proctime=$bin/chksel_proctime
sample=$build/config/ruvex/ruvex_checks.txt

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

# mawk's toupper follows LC_CTYPE; chksel compares in the classic locale.
export LC_ALL=C

m100=$work/m-100.txt
m2000=$work/m-2000.txt
m1000=$work/m-1000.txt
big=$work/m-$big_records.txt
"$bin/chksel_genmanifest" 100 "$m100"
"$bin/chksel_genmanifest" 2000 "$m2000"
"$bin/chksel_genmanifest" 1000 "$m1000"
"$bin/chksel_genmanifest" "$big_records" "$big"

# Names, packages and groups that exist in every generated manifest of at
# least 1000 records; the check names are given in other cases than in the
# file.
five_opts=(--all --check=GEN-memory-00000000,gen-LAYOUT-00000999
  --default=pkg-03 --group=GRP-011 --package=pkg-07,pkg-18)
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
  if [[ ! -s $2 ]]; then
    echo "run-tool-bench.sh: $1: nothing was selected" >&2
    exit 1
  fi
}

# Every measured run appends "NAME REP WALL_MS CPU_MS RSS_KIB RSS_MAX_KIB"
# to $results.
results=$work/results.txt
: >"$results"

# measure REP RUNS NAME... -- PROCTIME-COMMANDS: runs one group and files
# one result line per command under the names given, in order.
measure() {
  local rep=$1 runs=$2
  shift 2
  local names=()
  while [[ $1 != -- ]]; do
    names+=("$1")
    shift
  done
  shift
  local lines i=0
  lines=$("$proctime" --runs="$runs" -- "$@")
  while IFS= read -r line; do
    printf '%s %s %s %s %s %s\n' "${names[$i]}" "$rep" \
      "$(field median_ms "$line")" "$(field cpu_median_ms "$line")" \
      "$(field peak_rss_kib "$line")" "$(field peak_rss_max_kib "$line")" \
      >>"$results"
    i=$((i + 1))
  done <<<"$lines"
}

out=$work/chksel.txt
out2=$work/mawk.txt
for ((rep = 1; rep <= repeat; ++rep)); do
  echo "repetition $rep of $repeat" >&2
  measure "$rep" "$small_runs" start100 start2000 true -- \
    "$chksel" --all --manifest="$m100" --output=/dev/null --- \
    "$chksel" --all --manifest="$m2000" --output=/dev/null --- \
    /bin/true
  measure "$rep" "$big_runs" scan_all wc scan_five -- \
    "$chksel" --all --manifest="$big" --output=/dev/null --- \
    wc -l "$big" --- \
    "$chksel" "${five_opts[@]}" --manifest="$big" --output=/dev/null
done

# Against mawk, with the outputs compared; once, mawk being slow.
mawk_row() {
  local name=$1 runs=$2 manifest=$3 passes=${4:-}
  if [[ -z $passes ]]; then
    measure 1 "$runs" "chksel_$name" "mawk_$name" -- \
      "$chksel" --manifest="$manifest" --all --output="$out" --- \
      --stdout="$out2" mawk -f "$root/bench/allchecks.awk" "$manifest"
  else
    measure 1 "$runs" "chksel_$name" "mawk_$name" -- \
      "$chksel" --manifest="$manifest" "${five_opts[@]}" --output="$out" --- \
      --stdout="$out2" mawk -v "passes=$passes" -f "$root/bench/passes.awk" \
      "$manifest" "$manifest" "$manifest" "$manifest" "$manifest"
  fi
  same_output "$name" "$out" "$out2"
  wc -l <"$out" >"$work/lines_$name"
}
echo "mawk" >&2
mawk_row sample "$small_runs" "$sample"
mawk_row all1000 "$small_runs" "$m1000"
mawk_row five1000 "$small_runs" "$m1000" "$five_passes"
mawk_row allbig "$mawk_runs" "$big"
mawk_row fivebig "$mawk_runs" "$big" "$five_passes"
load_end=$(cut -d' ' -f1-3 /proc/loadavg)

sample_records=$(awk 'BEGIN { RS = "" } END { print NR }' "$sample")
mawk_version=$(mawk -W version 2>&1 | sed -n 1p)
big_bytes=$(stat -c %s "$big")

echo "chksel whole-process benchmark, $(date -u '+%Y-%m-%d %H:%M UTC')," \
  "$(nproc) cores, load average $load_start at start, $load_end at end"
echo "$mawk_version; $(wc --version | sed -n 1p)"
echo

awk -v big="$big_records" -v bigbytes="$big_bytes" \
  -v sample_records="$sample_records" -v work="$work" '
function med(list, n,    i, j, t, a) {
  n = split(list, a, " ")
  for (i = 1; i <= n; ++i)
    for (j = i + 1; j <= n; ++j)
      if (a[j] + 0 < a[i] + 0) { t = a[i]; a[i] = a[j]; a[j] = t }
  return n % 2 ? a[(n + 1) / 2] : (a[n / 2] + a[n / 2 + 1]) / 2
}
function lo(list,    i, n, a, m) {
  n = split(list, a, " "); m = a[1]
  for (i = 2; i <= n; ++i) if (a[i] + 0 < m + 0) m = a[i]
  return m
}
function hi(list,    i, n, a, m) {
  n = split(list, a, " "); m = a[1]
  for (i = 2; i <= n; ++i) if (a[i] + 0 > m + 0) m = a[i]
  return m
}
# ratio NUM DEN: the ratios of the repetitions, as a list.
function ratios(num, den, what,    r, list) {
  list = ""
  for (r = 1; r <= reps; ++r)
    list = list " " (val[num, r, what] / val[den, r, what])
  return list
}
function lines(name,    f, n) {
  f = work "/lines_" name
  getline n <f
  close(f)
  return n
}
{
  val[$1, $2, "wall"] = $3; val[$1, $2, "cpu"] = $4
  val[$1, $2, "rss"] = $5; val[$1, $2, "rssmax"] = $6
  if ($2 > reps) reps = $2
  seen[$1] = 1
  if ($6 > peak) { peak = $6; peakname = $1 }
}
END {
  print "| measurement | chksel | reference | ratio wall (min-max) | ratio CPU | target | wall | CPU |"
  print "|---|--:|--:|--:|--:|--:|---|---|"
  row("start-up, 100 records, --all", "start100", "true", "/bin/true", 1.25)
  row("start-up, 2,000 records, --all", "start2000", "true", "/bin/true", 1.5)
  row(sprintf("scan, %d records, --all", big), "scan_all", "wc", "wc -l", 2)
  row(sprintf("scan, %d records, five passes", big), "scan_five", "scan_all",
      "one pass", 5.5)
  printf "\n"
  printf "Scanning speed: %.2f GB/s for --all (%d bytes, median wall time), wc -l %.2f GB/s.\n",
    bigbytes / 1e6 / med(list_of("scan_all", "wall")),
    bigbytes, bigbytes / 1e6 / med(list_of("wc", "wall"))
  printf "Peak RSS of any chksel run: %d KiB (%.2f MB, %s); target 4 MB: %s.\n\n",
    peak, peak * 1024 / 1e6, peakname, peak * 1024 <= 4e6 ? "met" : "MISSED"
  print "| manifest | records | chksel ms | mawk ms | speed-up | chksel CPU ms | mawk CPU ms | chksel peak RSS KiB | mawk peak RSS KiB | lines out |"
  print "|---|--:|--:|--:|--:|--:|--:|--:|--:|--:|"
  mrow("bundled sample, --all", sample_records, "sample")
  mrow("generated, --all", 1000, "all1000")
  mrow("generated, five passes", 1000, "five1000")
  mrow("generated, --all", big, "allbig")
  mrow("generated, five passes", big, "fivebig")
}
function list_of(name, what,    r, list) {
  list = ""
  for (r = 1; r <= reps; ++r) list = list " " val[name, r, what]
  return list
}
function row(label, num, den, denlabel, target,    w, c) {
  w = ratios(num, den, "wall"); c = ratios(num, den, "cpu")
  printf "| %s | %.2f ms | %s %.2f ms | %.2fx (%.2f-%.2f) | %.2fx | <= %.2fx | %s | %s |\n",
    label, med(list_of(num, "wall")), denlabel, med(list_of(den, "wall")),
    med(w), lo(w), hi(w), med(c), target, med(w) <= target ? "met" : "MISSED",
    med(c) <= target ? "met" : "MISSED"
}
function mrow(label, records, name,    c, m) {
  c = "chksel_" name; m = "mawk_" name
  printf "| %s | %s | %.2f | %.2f | %.1fx | %.2f | %.2f | %d | %d | %d |\n",
    label, records, val[c, 1, "wall"], val[m, 1, "wall"],
    val[m, 1, "wall"] / val[c, 1, "wall"], val[c, 1, "cpu"], val[m, 1, "cpu"],
    val[c, 1, "rssmax"], val[m, 1, "rssmax"], lines(name)
}' "$results"

echo
echo "Start-up and scanning: $repeat repetitions of $small_runs (start-up) and" \
  "$big_runs (scanning) rounds, the commands of a group taking turns; each" \
  "ratio is the median over the repetitions of the ratio of medians. mawk:" \
  "one repetition of $small_runs rounds ($mawk_runs for $big_records" \
  "records), outputs byte-identical in every row. CPU = user + system time;" \
  "peak RSS = ru_maxrss of the program (largest over the runs)."
