#!/usr/bin/env bash
# Builds the libFuzzer targets with clang (AddressSanitizer and UBSan on) and runs each on its
# seed corpus for a given time.
#   scripts/fuzz.sh [SECONDS] [TARGET ...]    default: 60 seconds, every target
# Seeds live in tests/fuzz/corpus/<target>/ (committed); what the fuzzer adds goes to
# build-fuzz/corpus/<target>/, crashes to build-fuzz/artifacts/<target>/.
set -euo pipefail
root="$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)"
. "$root/scripts/deps.sh"

case "${1:-}" in
  -h|--help) sed -n '2,6p' "$0"; exit 0 ;;
esac
seconds="${1:-60}"
if ! [[ "$seconds" =~ ^[0-9]+$ ]] || [ "$seconds" -eq 0 ]; then
  echo "error: SECONDS must be a whole number above 0, not '$seconds'" >&2
  exit 2
fi
shift || true
all=(fuzz_symbols fuzz_strings fuzz_res fuzz_render_params fuzz_scene)
targets=("$@")
[ ${#targets[@]} -eq 0 ] && targets=("${all[@]}")

orlix_install_deps clang libclang-rt-dev
build="$root/build-fuzz"
cmake -S "$root" -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_CXX_COMPILER=clang++ -DORLIX_SANITIZE=address -DORLIX_BUILD_FUZZ=ON \
  -DORLIX_BUILD_TESTS=OFF -DORLIX_BUILD_BENCH=OFF
cmake --build "$build" -j "$(nproc 2>/dev/null || echo 2)" --target "${targets[@]}"

export ASAN_OPTIONS="detect_leaks=1:fast_unwind_on_malloc=0:intercept_tls_get_addr=0"
export LSAN_OPTIONS="suppressions=$root/tests/sanitizers/lsan.supp"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1"
status=0
for t in "${targets[@]}"; do
  corpus="$build/corpus/$t"
  artifacts="$build/artifacts/$t/"
  mkdir -p "$corpus" "$artifacts"
  echo "== $t for $seconds s"
  if ! "$build/tests/fuzz/$t" "$corpus" "$root/tests/fuzz/corpus/$t" \
      -max_total_time="$seconds" -timeout=10 -rss_limit_mb=4096 -print_final_stats=1 \
      -artifact_prefix="$artifacts" 2>"$build/$t.log"; then
    echo "   FOUND a failure: see $build/$t.log and $artifacts" >&2
    status=1
  fi
  grep -E '^stat::(number_of_executed_units|peak_rss_mb)|^#[0-9]+.*DONE' "$build/$t.log" | sed 's/^/   /' || true
done
exit $status
