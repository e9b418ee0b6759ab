#!/usr/bin/env bash
# Installs every Debian package that building, testing and running Kivrel Tessan needs.
# Idempotent: packages already present are skipped, and `apt-get update` runs at most once.
# Usage: scripts/install-deps.sh [--bench]   (--bench adds the peer tools used by bench/compare_*.py)
set -euo pipefail
export DEBIAN_FRONTEND=noninteractive

packages=(
  build-essential cmake ninja-build pkg-config git
  libgtest-dev libgmock-dev googletest libbenchmark-dev
  libwxgtk3.2-dev libgl-dev libglu1-mesa-dev freeglut3-dev mesa-utils libgl1-mesa-dri libosmesa6-dev
  povray povray-includes
  xvfb xauth x11-utils imagemagick xdotool desktop-file-utils
  gettext locales
  clang-14 libclang-rt-14-dev
  assimp-utils parallel rsync
  libpng-dev libtiff-dev libjpeg-dev
)
if [[ "${1:-}" == "--bench" ]]; then
  packages+=(python3-scipy python3-numpy python3-skimage python3-vtk9 hyperfine)
fi

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done

SUDO=""
if [[ $(id -u) -ne 0 ]]; then SUDO="sudo"; fi
if ((${#missing[@]})); then
  echo "install-deps: installing ${missing[*]}"
  $SUDO apt-get update -q </dev/null
  $SUDO apt-get install -y -q --no-install-recommends "${missing[@]}" </dev/null
else
  echo "install-deps: all packages present"
fi

# A locale with a decimal comma, so the tests can prove that files do not depend on the locale.
if ! locale -a 2>/dev/null | grep -qi '^de_DE\.utf-\?8$'; then
  if [[ -f /etc/locale.gen ]]; then
    ${SUDO:-} sed -i 's/^# *\(de_DE.UTF-8 UTF-8\)/\1/' /etc/locale.gen
    grep -q '^de_DE.UTF-8 UTF-8' /etc/locale.gen || echo 'de_DE.UTF-8 UTF-8' | ${SUDO:-} tee -a /etc/locale.gen >/dev/null
    ${SUDO:-} locale-gen >/dev/null
  fi
fi
