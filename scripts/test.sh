#!/usr/bin/env bash
# Installs what is needed, builds, and runs the whole test suite with CTest.
#   scripts/test.sh                              the normal suite (build/)
#   scripts/test.sh --sanitize=address,undefined the suite under ASan+UBSan (build-address-undefined/)
#   scripts/test.sh --sanitize=thread            the suite under TSan (build-thread/)
#   --core                                       without the window program and its tests (no
#                                                wxWidgets build): the core, tessan-cli and their tests
# Sanitizer findings fail the test that hit them (UBSan halts on the first error); known reports
# of code outside this project are suppressed in scripts/sanitizers/*.supp, each with its reason.
set -euo pipefail
cd "$(dirname "$0")/.."
sanitize=""
extra=()
for a in "$@"; do
  case "$a" in
    --sanitize=*) sanitize="${a#--sanitize=}" ;;
    --core) extra+=(-DTESSAN_BUILD_GUI=OFF) ;;
    *) echo "usage: scripts/test.sh [--sanitize=LIST] [--core]" >&2; exit 2 ;;
  esac
done
scripts/install-deps.sh
if [[ -n "$sanitize" ]]; then
  export TESSAN_BUILD_DIR="build-${sanitize//,/-}"
  export CC=clang-14 CXX=clang++-14
  supp="$PWD/scripts/sanitizers"
  export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=0}"
  export LSAN_OPTIONS="${LSAN_OPTIONS:-suppressions=$supp/lsan.supp:print_suppressions=0}"
  export UBSAN_OPTIONS="${UBSAN_OPTIONS:-halt_on_error=1:print_stacktrace=1}"
  export TSAN_OPTIONS="${TSAN_OPTIONS:-suppressions=$supp/tsan.supp:halt_on_error=1:second_deadlock_stack=1}"
  scripts/build.sh -DTESSAN_SANITIZE="$sanitize" -DTESSAN_BUILD_BENCH=OFF "${extra[@]}"
else
  scripts/build.sh "${extra[@]}"
fi
cd "${TESSAN_BUILD_DIR:-build}"
ctest --output-on-failure --parallel "$(nproc)" --timeout 900
