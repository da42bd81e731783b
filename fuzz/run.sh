#!/usr/bin/env bash
# Builds the fuzz harnesses with clang (libFuzzer, AddressSanitizer,
# UndefinedBehaviorSanitizer) in build-fuzz/ and runs each one for a while.
# Usage: fuzz/run.sh [seconds per harness, default 60]
# Each harness keeps its corpus in fuzz/corpus-<harness>/ (not committed) and
# starts from its seed folders.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-60}
build=$root/build-fuzz

if ! command -v clang++ >/dev/null 2>&1; then
  echo "clang++ not found: installing clang" >&2
  if [ "$(id -u)" -eq 0 ]; then SUDO=(); else SUDO=(sudo); fi
  export DEBIAN_FRONTEND=noninteractive
  "${SUDO[@]}" apt-get update -qq >&2
  "${SUDO[@]}" apt-get install -y -qq clang >&2
fi

cmake -S "$root/fuzz" -B "$build" -DCMAKE_CXX_COMPILER=clang++ \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo >&2
harnesses=(ManifestReaderFuzz SelectionFuzz CmdlineWalkFuzz MessageContentFuzz)
cmake --build "$build" -j2 --target "${harnesses[@]}" >&2

seeds_of() {
  case $1 in
    ManifestReaderFuzz | SelectionFuzz) echo "$root/fuzz/seeds $root/config/ruvex" ;;
    CmdlineWalkFuzz) echo "$root/fuzz/seeds-cmdline" ;;
    MessageContentFuzz) echo "$root/fuzz/seeds-content" ;;
  esac
}

status=0
for harness in "${harnesses[@]}"; do
  corpus=$root/fuzz/corpus-$harness
  mkdir -p "$corpus"
  echo "=== $harness: $seconds s ===" >&2
  # shellcheck disable=SC2046
  if ! (cd "$build" && "$build/fuzzers/$harness" -max_total_time="$seconds" \
          -max_len=4096 -rss_limit_mb=4096 -print_final_stats=1 \
          "$corpus" $(seeds_of "$harness")); then
    echo "$harness found a failure (crash file in $build)" >&2
    status=1
  fi
done
exit $status
