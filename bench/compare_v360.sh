#!/usr/bin/env bash
# One frame end to end against ffmpeg's v360 filter doing the same job: the same
# equirectangular PNG in, a PNG out, 1 sample per pixel with a bilinear look-up, 2 threads.
# Runs alternate between the two; prints median times, the ratio ours/v360 and the PSNR of the
# two pictures. Then 50 frames in one run each, where starting the program no longer dominates:
# our camera turns once around, v360 converts a sequence of 50 pictures.
#   bench/compare_v360.sh [RUNS]      default 5 runs of each, at least 5
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
. "$root/scripts/deps.sh"

case "${1:-}" in
  -h|--help) sed -n '2,8p' "$0"; exit 0 ;;
esac
runs="${1:-5}"
if ! [[ "$runs" =~ ^[0-9]+$ ]] || [ "$runs" -lt 5 ]; then
  echo "error: RUNS must be a whole number of at least 5, not '$runs'" >&2
  exit 2
fi

# ffmpeg is the peer, not a dependency of the build or the tests.
orlix_install_deps ffmpeg
build="$root/build-release"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DORLIX_BUILD_BENCH=OFF -DORLIX_BUILD_TESTS=OFF >/dev/null
cmake --build "$build" -j "$(nproc 2>/dev/null || echo 2)" --target orlixcam OrlixCam >/dev/null
orlixcam="$build/orlixcam"

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

# The dome renders its corners as the lens sees them (mask mode 2), as v360 does.
# A smooth equirectangular picture, so that the two sides' half-pixel conventions cost little.
ffmpeg -v error -f lavfi -i "color=c=black:s=4096x2048,format=rgb24" -frames:v 1 \
  -vf "geq=r='128+100*sin(X/97)*cos(Y/131)':g='128+100*cos(Y/53)':b='128+60*sin((X+Y)/151)'" \
  "$work/sky.png"

# name | our lens parameters | v360 output options | width | height
cases=(
  "dome2048|\"ORLIXTAG_LENS\": 1|fisheye:h_fov=180:v_fov=180|2048|2048"
  "dome4096|\"ORLIXTAG_LENS\": 1|fisheye:h_fov=180:v_fov=180|4096|4096"
  "strip1024|\"ORLIXTAG_LENS\": 3|c6x1|6144|1024"
  "block1024|\"ORLIXTAG_LENS\": 3|c3x2|3072|2048"
  "pano4096|\"ORLIXTAG_LENS\": 0|e|4096|2048"
)
layout_of() {
  case "$1" in
    strip1024) echo 2 ;;
    block1024) echo 3 ;;
    *) echo 0 ;;
  esac
}

now() { date +%s.%N; }
median() { sort -g | awk '{a[NR]=$1} END {print (NR%2) ? a[(NR+1)/2] : (a[NR/2]+a[NR/2+1])/2}'; }

printf '%-10s %12s %12s %8s %10s\n' case "ours (s)" "v360 (s)" ratio "PSNR (dB)"
for c in "${cases[@]}"; do
  IFS='|' read -r name lens v360 w h <<<"$c"
  cat >"$work/$name.json" <<JSON
{
  "format": "orlixcam-scene/1",
  "name": "$name",
  "render": {"width": $w, "height": $h,
             "videoPosts": [{"type": "OrlixCam", "params": {"ORLIXVP_CUBE_LAYOUT": $(layout_of "$name"), "ORLIXVP_MASK_MODE": 2}}]},
  "objects": [
    {"type": "sky", "picture": "sky.png"},
    {"type": "camera", "name": "Lens", "tags": [{"type": "OrlixTag", "params": {$lens}}]}
  ],
  "views": {"render": {"camera": "Lens"}}
}
JSON
  : >"$work/ours.t"
  : >"$work/peer.t"
  for ((i = 0; i < runs; ++i)); do
    t0=$(now)
    "$orlixcam" render "$work/$name.json" -o "$work/$name-ours.png" --samples 1 --threads 2 >/dev/null 2>&1
    t1=$(now)
    ffmpeg -v error -y -threads 2 -filter_threads 2 -i "$work/sky.png" \
      -vf "v360=e:$v360:interp=linear:w=$w:h=$h" -frames:v 1 "$work/$name-v360.png"
    t2=$(now)
    awk -v a="$t0" -v b="$t1" 'BEGIN {print b - a}' >>"$work/ours.t"
    awk -v a="$t1" -v b="$t2" 'BEGIN {print b - a}' >>"$work/peer.t"
  done
  ours=$(median <"$work/ours.t")
  peer=$(median <"$work/peer.t")
  psnr=$(ffmpeg -v info -i "$work/$name-ours.png" -i "$work/$name-v360.png" -lavfi psnr -f null - 2>&1 |
    sed -n 's/.*average:\([0-9.inf]*\).*/\1/p' | tail -1)
  printf '%-10s %12.3f %12.3f %8.2f %10s\n' "$name" "$ours" "$peer" "$(awk -v a="$ours" -v b="$peer" 'BEGIN {print a / b}')" "$psnr"
done

# ---- 50 frames ---------------------------------------------------------------------------------
frames=50
mkdir -p "$work/seq"
for ((i = 0; i < frames; ++i)); do
  ln -s ../sky.png "$work/seq/sky_$(printf %04d "$i").png"
done
echo
printf '%-10s %12s %12s %8s   (%d frames, one run each)\n' case "ours (s)" "v360 (s)" ratio "$frames"
for c in "dome2048|\"ORLIXTAG_LENS\": 1|fisheye:h_fov=180:v_fov=180|2048|2048" "pano4096|\"ORLIXTAG_LENS\": 0|e|4096|2048" \
         "block1024|\"ORLIXTAG_LENS\": 3|c3x2|3072|2048"; do
  IFS='|' read -r name lens v360 w h <<<"$c"
  last=$(awk -v f="$frames" 'BEGIN {print (f - 1) / 25}')
  cat >"$work/seq-$name.json" <<JSON
{
  "format": "orlixcam-scene/1",
  "name": "$name, turning",
  "fps": 25, "minTime": 0, "maxTime": $last,
  "render": {"width": $w, "height": $h, "fps": 25,
             "videoPosts": [{"type": "OrlixCam", "params": {"ORLIXVP_CUBE_LAYOUT": $(layout_of "$name"), "ORLIXVP_MASK_MODE": 2}}]},
  "objects": [
    {"type": "sky", "picture": "sky.png"},
    {"type": "camera", "name": "Lens", "tags": [{"type": "OrlixTag", "params": {$lens}}],
     "tracks": {"rotation": [{"time": 0, "value": {"deg": [0, 0, 0]}, "interpolation": "linear"},
                             {"time": $last, "value": {"deg": [360, 0, 0]}}]}}
  ],
  "views": {"render": {"camera": "Lens"}}
}
JSON
  t0=$(now)
  "$orlixcam" render "$work/seq-$name.json" -o "$work/seq/ours_####.png" --frames "0-$((frames - 1))" \
    --samples 1 --threads 2 --quiet >/dev/null 2>&1
  t1=$(now)
  ffmpeg -v error -y -threads 2 -filter_threads 2 -i "$work/seq/sky_%04d.png" \
    -vf "v360=e:$v360:interp=linear:w=$w:h=$h" "$work/seq/v360_%04d.png"
  t2=$(now)
  ours=$(awk -v a="$t0" -v b="$t1" 'BEGIN {print b - a}')
  peer=$(awk -v a="$t1" -v b="$t2" 'BEGIN {print b - a}')
  written=$(find "$work/seq" -name 'ours_*.png' | wc -l)
  [ "$written" -eq "$frames" ] || { echo "error: ours wrote $written of $frames frames" >&2; exit 1; }
  printf '%-10s %12.3f %12.3f %8.2f\n' "$name" "$ours" "$peer" "$(awk -v a="$ours" -v b="$peer" 'BEGIN {print a / b}')"
  rm -f "$work"/seq/ours_*.png "$work"/seq/v360_*.png
done
