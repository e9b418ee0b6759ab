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
