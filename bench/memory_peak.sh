#!/usr/bin/env bash
# Peak resident memory of whole renders against the float RGBA size of the frame they make:
# a 12288 x 4096 stereo 3 x 2 cubemap (12 images), an 8192 x 8192 dome and an 8192 x 8192 stereo
# top-bottom panorama, one sample per pixel. The target: at most 2.5 times the frame's float size,
# plus the scene's pictures (the example sky).
#
#   bench/memory_peak.sh [ORLIXCAM]      default: build-release/orlixcam
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
exe="${1:-$root/build-release/orlixcam}"
[ -x "$exe" ] || { echo "error: no orlixcam at $exe (build it, or give its path)" >&2; exit 2; }
out="$(mktemp -d)"
trap 'rm -rf "$out"' EXIT

printf '%-34s %12s %12s %8s %9s\n' "frame" "frame MiB" "peak MiB" "ratio" "seconds"
measure()
{
  local name="$1" scene="$2" w="$3" h="$4" line kib seconds
  line="$(/usr/bin/time -f '%M %e' "$exe" render "$root/Examples/$scene" --width "$w" --height "$h" \
          --samples 1 --quiet -o "$out/frame.png" 2>&1 >/dev/null | tail -n 1)"
  read -r kib seconds <<<"$line"
  awk -v n="$name" -v w="$w" -v h="$h" -v k="$kib" -v s="$seconds" 'BEGIN {
    frame = w * h * 16 / 1048576; peak = k / 1024;
    printf "%-34s %12.0f %12.0f %8.2f %9.1f\n", n, frame, peak, peak / frame, s }'
}
measure "stereo 3x2 cubemap 12288 x 4096" stereo_cubemap_sbs.json 12288 4096
measure "dome 8192 x 8192" fulldome.json 8192 8192
measure "stereo top-bottom panorama 8192^2" stereo_panorama_tb.json 8192 8192
