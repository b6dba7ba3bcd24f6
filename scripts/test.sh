#!/usr/bin/env bash
# Installs the dependencies, builds, and runs every test twice: once in a
# release build, once under AddressSanitizer and UndefinedBehaviorSanitizer.
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh

jobs=$(nproc 2>/dev/null || echo 2)

build_and_test() {
  local dir=$1; shift
  cmake -S . -B "$dir" -G Ninja -DPLX_WERROR=ON "$@"
  cmake --build "$dir" -j "$jobs"
  ctest --test-dir "$dir" --output-on-failure -j "$jobs" --timeout 600
}

echo "== release build and tests"
build_and_test build/release -DCMAKE_BUILD_TYPE=Release

echo "== sanitizer build and tests (address, undefined)"
export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=0:strict_string_checks=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
build_and_test build/asan -DCMAKE_BUILD_TYPE=Debug -DCMAKE_CXX_FLAGS_DEBUG="-g -O1" \
  -DPLX_SANITIZE=ON -DPLX_BUILD_BENCH=OFF

# The libFuzzer targets of the mix, panner and decoder state readers and of plx's
# automation-file parser, when clang is present.
fuzz() {
  local target=$1; shift
  local corpus
  corpus=$(mktemp -d)
  if ! build/fuzz/"$target" -runs=100000 -max_len=1024 "$@" "$corpus/" >"$corpus.log" 2>&1; then
    tail -n 60 "$corpus.log"; rm -rf "$corpus" "$corpus.log"; exit 1
  fi
  grep -E '^Done' "$corpus.log"; rm -rf "$corpus" "$corpus.log"
}
if command -v clang++ >/dev/null 2>&1; then
  echo "== libFuzzer: mix, panner and decoder state readers, automation files"
  CC=clang CXX=clang++ cmake -S . -B build/fuzz -G Ninja -DCMAKE_BUILD_TYPE=Release -DPLX_FUZZ=ON \
    -DPLX_BUILD_TESTS=OFF -DPLX_BUILD_BENCH=OFF
  cmake --build build/fuzz -j "$jobs" --target mix_state_fuzzer panner_state_fuzzer ambi_state_fuzzer automation_fuzzer
  fuzz mix_state_fuzzer
  fuzz panner_state_fuzzer
  fuzz ambi_state_fuzzer
  fuzz automation_fuzzer -dict=tests/fuzz/automation.dict
fi
