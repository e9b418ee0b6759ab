#!/usr/bin/env bash
# Builds the libFuzzer targets with clang-14 (fuzzer, ASan, UBSan) into build-fuzz/ and runs every
# target for N executions over its stored corpus fuzz/corpus/<target>/.
#   scripts/fuzz.sh [--runs N] [--max-time S] [--jobs J] [--rss-limit MB] [--keep] [TARGET...]
#     --runs N   executions per target (default 1000000)
#     --jobs J   run each target in J processes at once, N/J executions each, sharing the new
#                inputs through the work folder (one per processor; default 1)
#     --rss-limit MB  memory one fuzzing process may hold (default 3072). A single allocation is
#                always limited to 3072 MB. A project fuzzing process grows by about 11 MB per
#                thousand executions; not in this program's code (its inputs run without the
#                sanitizers stay at 30 MB) but in ASan's quarantine and allocator and libFuzzer's
#                own records. A million in two processes therefore wants --rss-limit 8192.
#     --max-time S  stop each target after S seconds even before N executions (the project target
#                builds, runs, writes and re-reads two project states per input: about a hundred
#                inputs per CPU second)
#     --keep     merge the inputs that found new coverage into fuzz/corpus/<target>/
#     TARGET     df3 config_lines project keyframe image_slice text_volume (default: all)
# New inputs of a run collect in build-fuzz/work/<target>/; a crashing or failing input is saved
# as build-fuzz/findings/<target>/crash-* - after the fix, copy it into fuzz/corpus/<target>/ so
# that the normal test run (test_fuzz) replays it for good. Exit status 1 when any target failed.
set -euo pipefail
cd "$(dirname "$0")/.."
runs=1000000
maxtime=0
keep=0
jobs=1
rss=3072
targets=()
while (($#)); do
  case "$1" in
    --runs) runs="$2"; shift 2 ;;
    --runs=*) runs="${1#--runs=}"; shift ;;
    --max-time) maxtime="$2"; shift 2 ;;
    --max-time=*) maxtime="${1#--max-time=}"; shift ;;
    --jobs) jobs="$2"; shift 2 ;;
    --jobs=*) jobs="${1#--jobs=}"; shift ;;
    --rss-limit) rss="$2"; shift 2 ;;
    --rss-limit=*) rss="${1#--rss-limit=}"; shift ;;
    --keep) keep=1; shift ;;
    -h|--help) sed -n '2,20p' "$0"; exit 0 ;;
    -*) echo "usage: scripts/fuzz.sh [--runs N] [--max-time S] [--jobs J] [--rss-limit MB] [--keep] [TARGET...]" >&2
        exit 2 ;;
    *) targets+=("$1"); shift ;;
  esac
done
((${#targets[@]})) || targets=(df3 config_lines project keyframe image_slice text_volume)

build=build-fuzz
if [[ ! -f "$build/CMakeCache.txt" ]]; then
  generator=()
  command -v ninja >/dev/null && generator=(-G Ninja)
  CC=clang-14 CXX=clang++-14 cmake -S . -B "$build" "${generator[@]}" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
    -DTESSAN_FUZZ=ON -DTESSAN_BUILD_GUI=OFF -DTESSAN_BUILD_TESTS=OFF -DTESSAN_BUILD_BENCH=OFF
fi
cmake --build "$build" --parallel 2 --target "${targets[@]/#/fuzz_}"

export ASAN_OPTIONS="${ASAN_OPTIONS:-detect_leaks=1:allocator_may_return_null=1}"
export UBSAN_OPTIONS="${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}"
failed=0
for t in "${targets[@]}"; do
  work="$build/work/$t" findings="$build/findings/$t"
  mkdir -p "$work" "$findings"
  if ((jobs > 1)); then echo "== fuzz_$t: $runs executions in $jobs processes"; else echo "== fuzz_$t: $runs executions"; fi
  start=$(date +%s)
  # stdout is closed (-close_fd_mask=1): the 16-bit conversion traces every block there. With
  # several processes each reads the others' new inputs from the work folder now and then.
  pids=() logs=()
  for ((j = 0; j < jobs; ++j)); do
    log="$build/fuzz_$t.log"
    ((jobs > 1)) && log="$build/fuzz_$t.$j.log"
    logs+=("$log")
    share=$(( (runs + jobs - 1) / jobs ))
    "$build/bin/fuzz_$t" -runs="$share" -max_total_time="$maxtime" -timeout=20 -rss_limit_mb="$rss" -malloc_limit_mb=3072 -max_len=8192 \
      -close_fd_mask=1 -print_final_stats=1 -artifact_prefix="$findings/" "$work" "fuzz/corpus/$t" >"$log" 2>&1 &
    pids+=($!)
  done
  for ((j = 0; j < jobs; ++j)); do
    if ! wait "${pids[$j]}"; then
      failed=1
      echo "   FAILED - see ${logs[$j]} and $findings/"
    fi
  done
  end=$(date +%s)
  awk -F: '/^stat::number_of_executed_units/ {n += $NF} /^stat::new_units_added/ {u += $NF}
           END {printf "   stat::number_of_executed_units: %d\n   stat::new_units_added:          %d\n", n, u}' "${logs[@]}"
  echo "   $((end - start)) s"
  if ((keep)); then
    "$build/bin/fuzz_$t" -merge=1 -close_fd_mask=1 "fuzz/corpus/$t" "$work" >>"$build/fuzz_$t.log" 2>&1
  fi
done
exit "$failed"
