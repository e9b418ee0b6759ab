#!/usr/bin/env bash
# Configures and builds Kivrel Tessan into build/ (or $TESSAN_BUILD_DIR). Extra arguments go to CMake.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${TESSAN_BUILD_DIR:-build}
generator=()
command -v ninja >/dev/null && generator=(-G Ninja)
if [[ ! -f "$build/CMakeCache.txt" ]]; then
  cmake -S . -B "$build" "${generator[@]}" -DCMAKE_BUILD_TYPE=RelWithDebInfo "$@"
elif (($#)); then
  cmake -S . -B "$build" "$@"
fi
cmake --build "$build" --parallel "$(nproc)"
