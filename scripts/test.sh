#!/usr/bin/env bash
# Installs what is missing, configures, builds and runs every test.
#   scripts/test.sh            everything CI runs: the plain build, then AddressSanitizer with
#                              UndefinedBehaviorSanitizer, then ThreadSanitizer on the render tests
#   scripts/test.sh --quick    the plain build only, for a fast local run
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
. "$root/scripts/deps.sh"

quick=0
for arg in "$@"; do
  case "$arg" in
    --quick) quick=1 ;;
    -h|--help) sed -n '2,5p' "$0"; exit 0 ;;
    *) echo "error: unknown option '$arg' (see --help)" >&2; exit 2 ;;
  esac
done

orlix_install_deps "${ORLIX_TEST_PACKAGES[@]}"

jobs="$(nproc 2>/dev/null || echo 2)"
build="$root/build"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo
cmake --build "$build" -j "$jobs"
ctest --test-dir "$build" --output-on-failure -j "$jobs"

if [ "$quick" -eq 1 ]; then
  exit 0
fi

# Every test under AddressSanitizer with UndefinedBehaviorSanitizer. The tests' counting
# allocator pairs malloc with operator delete on purpose. GCC 12's runtime mistakes some blocks of
# thread-local storage of libraries loaded later (the picture module's) for an old glibc layout
# and LeakSanitizer's tracer then crashes at exit; not intercepting __tls_get_addr avoids that.
asan="$root/build-asan"
cmake -S "$root" -B "$asan" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DORLIX_SANITIZE=address -DORLIX_BUILD_BENCH=OFF -DORLIX_BUILD_MANUAL=OFF
cmake --build "$asan" -j "$jobs"
ASAN_OPTIONS="alloc_dealloc_mismatch=0:detect_leaks=1:fast_unwind_on_malloc=0:intercept_tls_get_addr=0" \
LSAN_OPTIONS="suppressions=$root/tests/sanitizers/lsan.supp" \
UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1" \
  ctest --test-dir "$asan" --output-on-failure -j "$jobs"

# The render threads call CreateRay and ExecutePixel side by side: the render loop, the lens
# renders and the stereo rays under ThreadSanitizer.
tsan="$root/build-tsan"
cmake -S "$root" -B "$tsan" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DORLIX_SANITIZE=thread -DORLIX_BUILD_BENCH=OFF -DORLIX_BUILD_MANUAL=OFF
cmake --build "$tsan" -j "$jobs" --target host_tests plugin_tests integration_tests
TSAN_OPTIONS="suppressions=$root/tests/sanitizers/tsan.supp:halt_on_error=1" \
  ctest --test-dir "$tsan" --output-on-failure -j "$jobs" -R 'RenderLoop|LensRender|StereoRay|Render'
