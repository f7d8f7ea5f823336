#!/usr/bin/env bash
# Installs what is missing, builds everything and runs every test: unit, platform (Xvfb, private
# D-Bus session, gnome-keyring) and end-to-end (Chromium). Exits non-zero when anything fails.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh --with-tests

build=${TEMBREL_TEST_BUILD_DIR:-build-test}
# Warnings are errors in CI (CI=true) and on request (TEMBREL_WERROR=ON); off by default elsewhere,
# so that a newer compiler's new warning does not stop someone from trying the project.
if [[ "${CI:-}" == "true" ]]; then werror=${TEMBREL_WERROR:-ON}; else werror=${TEMBREL_WERROR:-OFF}; fi
# Optimised without debug information: the build is most of a CI run, and links are faster without it.
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Release -DCMAKE_CXX_FLAGS_RELEASE="-O2" \
  -DTEMBREL_WERROR="$werror" >/dev/null
cmake --build "$build" -j "$(nproc)"

status=0
# The clipboard parsers' fuzzers first, a fixed number of inputs each, so that CTest's summary is
# the last thing printed.
tests/fuzz/run.sh "${TEMBREL_FUZZ_RUNS:-2000}" || status=$?
ctest --test-dir "$build" --output-on-failure -j "$(nproc)" --timeout 600 || status=$?
exit "$status"
