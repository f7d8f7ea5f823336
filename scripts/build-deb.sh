#!/usr/bin/env bash
# Builds the Debian package in one command: the app alone (no tests, no benchmarks) with Debian's
# hardening flags, then CPack, whose dependencies dpkg-shlibdeps computes from the binaries.
#
#   scripts/build-deb.sh [BUILD_DIR]      writes BUILD_DIR/tembrel_<version>_<arch>.deb
#
# Install it with: sudo apt install ./build-deb/tembrel_*.deb
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install-deps.sh --for-package
build=${1:-build-deb}

# Debian's build flags (hardening, fortify, relro, bindnow); CMake reads no CPPFLAGS of its own.
export DEB_BUILD_MAINT_OPTIONS="hardening=+all"
eval "$(dpkg-buildflags --export=sh)"
export CXXFLAGS="$CPPFLAGS $CXXFLAGS"

cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=None -DTEMBREL_BUILD_TESTS=OFF -DTEMBREL_BUILD_BENCH=OFF \
  -DCMAKE_INSTALL_PREFIX=/usr >/dev/null
cmake --build "$build" -j "$(nproc)"
(cd "$build" && cpack -G DEB)
ls "$build"/tembrel_*.deb
