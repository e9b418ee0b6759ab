#!/usr/bin/env bash
# The window under Mesa's software renderer (Xvfb, llvmpipe), measured through the program's
# benchmark log (--bench-log): every idle pass's duration and the time every played frame reached
# the screen.
#   1. Playback: the 24-frame 128^3 demo series, repeat on, 128 camera-facing slices, one view of
#      800x600; frames per second over 20 s of playing.
#   2. Streaming: a 24-frame 256^3 series (the demo doubled along every axis) opened and loaded in
#      idle time; median, 95th percentile and maximum idle-pass duration until loading ends.
# Usage: bench/bench_window.sh   (after the build; figures go to stdout, logs to $work)
set -euo pipefail
cd "$(dirname "$0")/.."
bin=$(realpath "${TESSAN_BIN_DIR:-build/bin}")
work=$(realpath -m "${TESSAN_BENCH_DIR:-build/bench_window}")
play_seconds=${TESSAN_BENCH_PLAY_SECONDS:-20}
mkdir -p "$work/s256"
[[ -f "$work/s128/demo_0023.df3" ]] || "$bin/tessan-cli" sample "$work/s128" >/dev/null
for i in $(seq -f %04g 0 23); do
  [[ -f "$work/s256/big_$i.df3" ]] ||
    "$bin/tessan-cli" convert --double x,y,z "$work/s128/demo_$i.df3" "$work/s256/big_$i.df3" >/dev/null
done

run() { # name, extra options...: runs the window in its own folder and prints its summary line
  local name=$1
  shift
  local dir="$work/$name"
  rm -rf "$dir"
  mkdir -p "$dir"
  # One large perspective view (800x600 at this client size), camera-facing slices, 128 of them,
  # the series looping.
  printf 'FrameMainViewLayout=0\nPreviewType3D=1\nPreviewNormalQuality=4\nDF3SequenceRepeat=1\n' \
    >"$dir/KivrelConfigure.txt"
  (cd "$dir" && LIBGL_ALWAYS_SOFTWARE=1 TESSAN_STATE_FILE="$dir/state.txt" \
    xvfb-run -a -s "-screen 0 1400x1100x24" "$bin/tessan" --size 1100x780 \
    --bench-log "$dir/bench.log" "$@" >"$dir/stdout.txt" 2>"$dir/stderr.txt")
  local view
  view=$(grep '^view3=' "$dir/state.txt" | awk '{print $4 "x" $5}')
  echo "$name (view $view): $(grep '^summary' "$dir/bench.log")"
}

echo "machine: $(nproc) cores, load average $(cut -d' ' -f1-3 /proc/loadavg)"
run play --play --quit-after "$play_seconds" "$work/s128/demo_0000.df3"
run stream --quit-after 300 "$work/s256/big_0000.df3"
