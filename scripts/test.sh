#!/usr/bin/env bash
# Installs what is needed, builds, and runs the whole test suite with CTest.
#   scripts/test.sh                              the normal suite (build/)
#   scripts/test.sh --sanitize=address,undefined the suite under ASan+UBSan (build-asan/)
#   scripts/test.sh --sanitize=thread            the suite under TSan (build-tsan/)
set -euo pipefail
cd "$(dirname "$0")/.."
sanitize=""
for a in "$@"; do
  case "$a" in
    --sanitize=*) sanitize="${a#--sanitize=}" ;;
    *) echo "usage: scripts/test.sh [--sanitize=LIST]" >&2; exit 2 ;;
  esac
done
scripts/install-deps.sh
if [[ -n "$sanitize" ]]; then
  export TESSAN_BUILD_DIR="build-${sanitize//,/-}"
  export CC=clang-14 CXX=clang++-14
  scripts/build.sh -DTESSAN_SANITIZE="$sanitize" -DTESSAN_BUILD_BENCH=OFF
else
  scripts/build.sh
fi
cd "${TESSAN_BUILD_DIR:-build}"
ctest --output-on-failure --parallel "$(nproc)" --timeout 900
