#!/usr/bin/env bash
# Installs what Tembrel needs to build, run and test on Debian 12. Safe to run again: it installs
# only the packages that are missing.
set -euo pipefail

build_packages=(
  cmake ninja-build g++ pkg-config
  qt6-base-dev qt6-base-dev-tools qt6-declarative-dev qt6-declarative-dev-tools
  qt6-webengine-dev qt6-webchannel-dev qt6-httpserver-dev qt6-websockets-dev
  qt6-tools-dev libqt6svg6-dev qt6-l10n-tools
  qml6-module-qtquick qml6-module-qtquick-controls qml6-module-qtquick-layouts
  qml6-module-qtquick-window qml6-module-qtquick-templates qml6-module-qtqml-workerscript
  qml6-module-qtqml qml6-module-qtqml-models qml6-module-qtquick-dialogs qml6-module-qtwebengine
  qml6-module-qtwebchannel qml6-module-qtquick-shapes qml6-module-qt5compat-graphicaleffects
  qcoro-qt6-dev qtkeychain-qt6-dev zlib1g-dev
  libx11-dev libx11-xcb-dev libxtst-dev libxi-dev libxcb1-dev libgl-dev libvulkan-dev libxkbcommon-dev
  libbenchmark-dev
  # Wayland backend: client library, protocol generator and Qt's Wayland platform plugin
  libwayland-dev libwayland-bin wayland-protocols qt6-wayland qt6-wayland-dev
  # offline proofreading: the spell checker and its dictionaries (English is the fallback language)
  libhunspell-dev hunspell-en-us
)
test_packages=(
  xvfb xauth dbus dbus-x11 gnome-keyring libsecret-tools x11-utils
  chromium nodejs imagemagick fonts-dejavu-core clang libclang-rt-14-dev pandoc trayer
  # AbiWord opens the RTF Tembrel writes, to check that its lists and tables survive.
  abiword
  # the package test: building, checking and unpacking the Debian package
  dpkg-dev fakeroot file lintian desktop-file-utils appstream man-db
  # Wayland tests: a headless sway, and wl-clipboard as the other application
  sway wl-clipboard xdg-desktop-portal-wlr
  # offline proofreading tests check that a German text is checked with the German dictionary
  hunspell-de-de
)
# building the Debian package (scripts/build-deb.sh)
package_packages=(dpkg-dev file)

wanted=("${build_packages[@]}")
if [ "${1:-}" = "--with-tests" ]; then
  wanted+=("${test_packages[@]}")
elif [ "${1:-}" = "--for-package" ]; then
  wanted+=("${package_packages[@]}")
else
  wanted+=(xvfb xauth dbus gnome-keyring)
  # the offline engine's dictionary at run time
  wanted+=(hunspell-en-us)
fi

missing=()
for p in "${wanted[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

sudo=""
[ "$(id -u)" -ne 0 ] && sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
$sudo apt-get update -qq
$sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
