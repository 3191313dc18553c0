#!/usr/bin/env bash
# Installs what is missing, builds the release configuration and shows the lenses at work.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
. "$root/scripts/deps.sh"
orlix_install_deps

build="$root/build-release"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DORLIX_BUILD_BENCH=OFF
cmake --build "$build" -j "$(nproc 2>/dev/null || echo 2)" --target lens_table
"$build/tests/lens_table"
