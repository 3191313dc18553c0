#!/usr/bin/env bash
# Installs what is missing, configures, builds and runs every test.
#   scripts/test.sh            everything CI runs
#   scripts/test.sh --quick    the plain build only, for a fast local run
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
. "$root/scripts/deps.sh"

quick=0
for arg in "$@"; do
  case "$arg" in
    --quick) quick=1 ;;
    -h|--help) sed -n '2,4p' "$0"; exit 0 ;;
    *) echo "error: unknown option '$arg' (see --help)" >&2; exit 2 ;;
  esac
done

orlix_install_deps

jobs="$(nproc 2>/dev/null || echo 2)"
build="$root/build"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build "$build" -j "$jobs"
ctest --test-dir "$build" --output-on-failure -j "$jobs"
