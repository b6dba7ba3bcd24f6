#!/usr/bin/env bash
# Installs the dependencies, builds the module and plx, and renders the demo:
# a synthesised 7.1.4 scene through every effect of the module, into
# demo-out/ (or the directory given as the first argument).
set -euo pipefail
cd "$(dirname "$0")/.."

bash scripts/setup.sh

jobs=$(nproc 2>/dev/null || echo 2)
cmake -S . -B build/release -G Ninja -DCMAKE_BUILD_TYPE=Release
cmake --build build/release -j "$jobs" --target plx

build/release/plx demo --out "${1:-demo-out}"
