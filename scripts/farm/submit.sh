#!/usr/bin/env bash
# Submits a frame range to Slurm as a job array of N tasks, each rendering its shard with
# scripts/farm/orlixcam.sbatch. Run the same command again to finish what a failed or cancelled
# task left: frames already written are skipped.
#
#   scripts/farm/submit.sh [SBATCH OPTIONS... --] N SCENE OUT FRAMES [orlixcam render options...]
#   scripts/farm/submit.sh 8 Examples/flight_dome.json /shared/flight/dome_####.png 0-99 --width 4096 --height 4096
#   scripts/farm/submit.sh --cpus-per-task=32 --partition=render -- 16 shot.json /shared/f_####.exr 0-2399
#
# sbatch options may also come from its environment (SBATCH_PARTITION, SBATCH_TIMELIMIT, ...).
# ORLIXCAM names the program (default: the build beside this repository, else `orlixcam` on
# PATH). Prints the job id.
set -euo pipefail
here="$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)"

if [ $# -ge 1 ] && { [ "$1" = "-h" ] || [ "$1" = "--help" ]; }; then
  sed -n '2,12p' "$0" | sed 's/^# \{0,1\}//'
  exit 0
fi
sbatch_opts=()
if [ $# -ge 1 ] && [[ "$1" == -* ]]; then
  while [ $# -gt 0 ] && [ "$1" != "--" ]; do
    sbatch_opts+=("$1")
    shift
  done
  if [ $# -eq 0 ]; then
    echo "error: sbatch options end with --, then N SCENE OUT FRAMES (see --help)" >&2
    exit 2
  fi
  shift
fi
if [ $# -lt 4 ]; then
  echo "usage: $0 [SBATCH OPTIONS... --] N SCENE OUT FRAMES [orlixcam render options...] (see --help)" >&2
  exit 2
fi
shards="$1" scene="$2" out="$3" frames="$4"
shift 4
if ! [[ "$shards" =~ ^[0-9]+$ ]] || [ "$shards" -lt 1 ]; then
  echo "error: N must be a whole number of tasks, 1 or more, not '$shards'" >&2
  exit 2
fi
if [ ! -f "$scene" ]; then
  echo "error: no scene file $scene" >&2
  exit 2
fi
# The nodes may start in another folder: every path absolute.
scene="$(realpath "$scene")"
out="$(realpath -m "$out")"
mkdir -p "$(dirname "$out")"
orlixcam="${ORLIXCAM:-}"
if [ -z "$orlixcam" ]; then
  for candidate in "$here/../../build-release/orlixcam" "$here/../../build/orlixcam"; do
    [ -x "$candidate" ] && { orlixcam="$(realpath "$candidate")"; break; }
  done
fi
orlixcam="${orlixcam:-orlixcam}"

sbatch --parsable --array="0-$((shards - 1))" --export="ALL,ORLIX_SHARDS=$shards,ORLIXCAM=$orlixcam" \
  "${sbatch_opts[@]}" "$here/orlixcam.sbatch" "$scene" "$out" "$frames" "$@"
