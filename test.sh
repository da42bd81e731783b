#!/usr/bin/env bash
# Installs what is missing, builds, and runs every test in three builds: the
# Release build that ships (it also builds the Debian package and checks it
# with lintian), a Debug build, and a build with AddressSanitizer and
# UndefinedBehaviorSanitizer. Warnings are errors in all three. Exits
# non-zero on any failure.
set -euo pipefail
cd "$(dirname "$0")"

# Beyond the build: the build-system tests run ninja; the manual-page tests
# groff and man; the package tests dpkg-deb, dpkg-shlibdeps and lintian.
scripts/install-deps.sh ninja-build groff man-db bash-completion lintian \
  dpkg-dev

jobs=$(nproc 2>/dev/null || echo 2)

run_suite() {
  local dir=$1
  shift
  cmake -S . -B "$dir" -DCHKSEL_WARNINGS_AS_ERRORS=ON "$@"
  cmake --build "$dir" -j "$jobs"
  ctest --test-dir "$dir" -j "$jobs" --output-on-failure --timeout 300
}

echo "=== Release build ==="
run_suite build-release -DCMAKE_BUILD_TYPE=Release

echo "=== Debug build ==="
run_suite build-test -DCMAKE_BUILD_TYPE=Debug -DCHKSEL_BUILD_BENCH=OFF

echo "=== AddressSanitizer + UndefinedBehaviorSanitizer build ==="
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=0
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
run_suite build-asan -DCMAKE_BUILD_TYPE=Debug -DCHKSEL_SANITIZE=ON \
  -DCHKSEL_BUILD_BENCH=OFF

echo "All tests passed in the Release, Debug and sanitizer builds."
