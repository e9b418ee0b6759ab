#!/usr/bin/env bash
# Installs what is needed, builds, writes the bundled sample series and runs the main job on it.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh
scripts/build.sh
sample=${TESSAN_SAMPLE_DIR:-sample}
if [[ ! -f "$sample/demo_0023.df3" ]]; then
  rm -rf "$sample"
  build/bin/tessan-cli sample "$sample"
fi
build/bin/tessan-cli info "$sample"/demo_0000.df3 "$sample"/demo_0012.df3 "$sample"/demo16.df3
# The window on the first frame of the series. Without a display it runs under a virtual one,
# plays the series through frame by frame and saves every frame it shows into out/ (the paths are
# printed).
if [[ -n "${DISPLAY:-}" ]]; then
  build/bin/tessan "$sample"/demo_0000.df3
else
  mkdir -p out
  xvfb-run -a -s "-screen 0 1280x900x24" build/bin/tessan --size 1000x700 --screenshot-every out \
    "$sample"/demo_0000.df3
fi
