#!/usr/bin/env bash
# Installs what is missing, builds everything and runs every test: unit, platform (Xvfb, private
# D-Bus session, gnome-keyring) and end-to-end (Chromium). Exits non-zero when anything fails.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh --with-tests

build=${TEMBREL_TEST_BUILD_DIR:-build-test}
werror=OFF
[ "${CI:-}" = "true" ] && werror=ON
cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DTEMBREL_WERROR="$werror" >/dev/null
cmake --build "$build" -j "$(nproc)"

status=0
ctest --test-dir "$build" --output-on-failure -j "$(nproc)" --timeout 600 || status=$?
if [ -x tests/fuzz/run.sh ]; then
  tests/fuzz/run.sh || status=$?
fi
exit "$status"
