#!/usr/bin/env bash
# Builds the clipboard parsers' fuzz targets with clang (libFuzzer, AddressSanitizer, UBSan) and
# runs each for a fixed number of inputs, starting from its corpus in tests/data/fuzz/<target>/.
# New inputs go to a temporary folder, never into the committed corpus; a crash, a slow input (over
# 10 s for one input, sanitizers included; known: inputs with some 15,000 nested inline elements
# still take 4-5 s here, which TEMBREL_FUZZ_TIMEOUT=2 shows) or a sanitizer report fails the
# run and leaves the input in the build folder. Targets with a tests/fuzz/<target>.dict mutate with
# its tokens too (deep nesting, mostly).
#
#   tests/fuzz/run.sh [RUNS]      (default 5000 inputs per target; TEMBREL_FUZZ_RUNS works too)
set -euo pipefail

root=$(cd "$(dirname "$0")/../.." && pwd)
build=${TEMBREL_FUZZ_BUILD_DIR:-$root/build-fuzz}
runs=${1:-${TEMBREL_FUZZ_RUNS:-5000}}

if ! command -v clang++ >/dev/null; then
  echo "fuzz: clang++ is missing (Debian: clang libclang-rt-14-dev)" >&2
  exit 1
fi

cmake -S "$root/tests/fuzz" -B "$build" -G Ninja -DCMAKE_CXX_COMPILER=clang++ \
  -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" -j "${TEMBREL_FUZZ_JOBS:-2}" >/dev/null

work=$(mktemp -d "${TMPDIR:-/tmp}/tembrel-fuzz.XXXXXX")
trap 'rm -rf "$work"' EXIT
mkdir -p "$build/artifacts"

status=0
for target in chromium_custom_data quill_delta rtf_reader html_text; do
  mkdir -p "$work/$target"
  dict=()
  if [ -f "$root/tests/fuzz/$target.dict" ]; then
    dict=(-dict="$root/tests/fuzz/$target.dict")
  fi
  if QT_QPA_PLATFORM=offscreen ASAN_OPTIONS=detect_leaks=0 "$build/fuzz_$target" "${dict[@]}" \
      -runs="$runs" -seed=1 -timeout="${TEMBREL_FUZZ_TIMEOUT:-10}" -rss_limit_mb=2048 -max_len=65536 \
      -artifact_prefix="$build/artifacts/$target-" \
      "$work/$target" "$root/tests/data/fuzz/$target" >"$work/$target.log" 2>&1; then
    echo "fuzz: $target: $runs inputs, clean"
  else
    echo "fuzz: $target FAILED; inputs in $build/artifacts/" >&2
    tail -n 40 "$work/$target.log" >&2
    status=1
  fi
done
exit "$status"
