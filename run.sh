#!/usr/bin/env bash
# Installs what is missing, builds a Release tree in build/ and runs
# build/bin/chksel with the given arguments. Build messages go to standard
# error, so that standard output is the tool's alone.
set -euo pipefail
cd "$(dirname "$0")"

scripts/install-deps.sh

{
  cmake -S . -B build -DCMAKE_BUILD_TYPE=Release -DCHKSEL_BUILD_TESTS=OFF \
    -DCHKSEL_BUILD_BENCH=OFF
  cmake --build build -j "$(nproc 2>/dev/null || echo 2)" --target chksel
} >&2

exec build/bin/chksel "$@"
