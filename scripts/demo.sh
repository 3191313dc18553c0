#!/usr/bin/env bash
# Installs what is missing, builds the release configuration and renders example scenes into out/,
# then the flight through the scene as short sequences (12 frames of 256 pixels) into out/flight_*/.
#   scripts/demo.sh            a chosen set of examples
#   scripts/demo.sh --all      every scene in Examples/
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
. "$root/scripts/deps.sh"

all=0
for arg in "$@"; do
  case "$arg" in
    --all) all=1 ;;
    -h|--help) sed -n '2,5p' "$0"; exit 0 ;;
    *) echo "error: unknown option '$arg' (see --help)" >&2; exit 2 ;;
  esac
done

orlix_install_deps
build="$root/build-release"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DORLIX_BUILD_BENCH=OFF -DORLIX_BUILD_TESTS=OFF
cmake --build "$build" -j "$(nproc 2>/dev/null || echo 2)" --target orlixcam OrlixCam

if [ "$all" -eq 1 ]; then
  scenes=("$root"/Examples/*.json)
else
  scenes=()
  for name in fulldome fisheye little_planet panorama cylinder cubemap_cross stereo_anaglyph_dome stereo_panorama_tb dome_slate; do
    scenes+=("$root/Examples/$name.json")
  done
fi

out="$root/out"
mkdir -p "$out"
for scene in "${scenes[@]}"; do
  name="$(basename "$scene" .json)"
  "$build/orlixcam" render "$scene" -o "$out/$name.png"
done

# The flight: a moving camera, as a dome whose field opens on the way and as a stereo panorama.
# Every ninth frame of the four seconds keeps the demo short.
for name in flight_dome flight_stereo_panorama; do
  mkdir -p "$out/$name"
  "$build/orlixcam" render "$root/Examples/$name.json" -o "$out/$name/${name}_####.png" \
    --frames 0-99:9 --width 256 --height 256 --samples 4
done
echo "The pictures are in $out, the flights' frames in $out/flight_dome and $out/flight_stereo_panorama"
