#!/usr/bin/env bash
# Draws the plug-in's pictures into res/ (or the folder given) with our own drawing code.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
. "$root/scripts/deps.sh"
orlix_install_deps

out="${1:-$root/res}"
mkdir -p "$out"
tmp="$(mktemp -d)"
trap 'rm -rf "$tmp"' EXIT
g++ -std=c++17 -O2 -Wall -Wextra -o "$tmp/make_pictures" "$root/scripts/pictures/make_pictures.cpp" \
  $(pkg-config --cflags --libs OpenImageIO freetype2)
"$tmp/make_pictures" "$out"

# The example scenes' sky: an equirectangular picture that shows which way a lens looks.
g++ -std=c++17 -O2 -Wall -Wextra -o "$tmp/make_sky" "$root/scripts/pictures/make_sky.cpp" $(pkg-config --cflags --libs OpenImageIO)
"$tmp/make_sky" "$root/Textures/sky.png"
