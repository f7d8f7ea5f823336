#!/usr/bin/env bash
# Builds the Debian package from an already built tree, checks it as Debian's tools do, unpacks it
# into a temporary root and starts the unpacked app. Runs inside scripts/with-desktop.sh.
#
#   tests/package/check-package.sh BUILD_DIR
set -euo pipefail
build=$(realpath "${1:?usage: $0 BUILD_DIR}")
work=$(mktemp -d "${TMPDIR:-/tmp}/tembrel-package.XXXXXX")
app_pid=""
cleanup() {
  [ -n "$app_pid" ] && kill "$app_pid" 2>/dev/null && wait "$app_pid" 2>/dev/null
  rm -rf "$work"
}
trap cleanup EXIT
fail() { echo "FAIL: $*" >&2; exit 1; }

# The package, from what the build folder holds: no compiling here.
cpack --config "$build/CPackConfig.cmake" -G DEB -B "$work/out" >"$work/cpack.log" 2>&1 \
  || { cat "$work/cpack.log"; fail "cpack could not build the package"; }
deb=$(ls "$work"/out/tembrel_*.deb)
echo "built $(basename "$deb")"

# Everything a desktop application installs.
dpkg-deb -c "$deb" | awk '{print $6}' | sed 's|^\./|/|' >"$work/files"
expected=(
  /usr/bin/tembrel /usr/bin/tembrel-cli
  /usr/share/applications/com.tembrel.Tembrel.desktop
  /usr/share/metainfo/com.tembrel.Tembrel.metainfo.xml
  /usr/share/icons/hicolor/scalable/apps/com.tembrel.Tembrel.svg
  /usr/share/icons/hicolor/symbolic/apps/com.tembrel.Tembrel-symbolic.svg
  /usr/share/man/man1/tembrel.1.gz /usr/share/man/man1/tembrel-cli.1.gz
  /usr/share/doc/tembrel/copyright /usr/share/doc/tembrel/changelog.Debian.gz
)
for size in 16 22 24 32 48 64 128 256 512; do
  expected+=("/usr/share/icons/hicolor/${size}x${size}/apps/com.tembrel.Tembrel.png")
done
for file in "${expected[@]}"; do
  grep -qx "$file" "$work/files" || fail "the package lacks $file"
done
# Nothing from the build or the tests comes along.
! grep -E 'tst_|bench|render-icon|/include/|\.a$' "$work/files" || fail "the package holds build files"

# Dependencies were computed from the binaries.
depends=$(dpkg-deb -f "$deb" Depends)
for library in libqt6core6 libqt6webenginequick6 libqt6keychain1 zlib1g; do
  [[ "$depends" == *"$library "* ]] || fail "Depends lacks $library: $depends"
done

lintian_status=0
lintian --fail-on error,warning "$deb" >"$work/lintian.log" 2>&1 || lintian_status=$?
grep -v 'running with root privileges' "$work/lintian.log" || true
[ "$lintian_status" -eq 0 ] || fail "lintian found errors or warnings"

root="$work/root"
dpkg -x "$deb" "$root"
desktop-file-validate "$root/usr/share/applications/com.tembrel.Tembrel.desktop" || fail "desktop entry"
appstreamcli validate --no-net "$root/usr/share/metainfo/com.tembrel.Tembrel.metainfo.xml" || fail "metainfo"
for page in tembrel tembrel-cli; do
  man --warnings -l "$root/usr/share/man/man1/$page.1.gz" 2>&1 >/dev/null | grep . && fail "man page $page"
done

# The unpacked binaries, with the unpacked data found as the installed data would be.
export XDG_DATA_DIRS="$root/usr/share:${XDG_DATA_DIRS:-/usr/local/share:/usr/share}"
export QTWEBENGINE_DISABLE_SANDBOX=1
version=$(dpkg-deb -f "$deb" Version)
[ "$("$root/usr/bin/tembrel" --version)" = "Tembrel ${version%-*}" ] || fail "tembrel --version"
[ "$("$root/usr/bin/tembrel-cli" --version)" = "tembrel-cli ${version%-*}" ] || fail "tembrel-cli --version"

"$root/usr/bin/tembrel" >"$work/app.log" 2>&1 &
app_pid=$!
for _ in $(seq 1 300); do
  grep -q "Tembrel is running" "$work/app.log" && break
  kill -0 "$app_pid" 2>/dev/null || { cat "$work/app.log"; fail "the installed app ended at start"; }
  sleep 0.1
done
grep -q "Tembrel is running" "$work/app.log" || { cat "$work/app.log"; fail "the installed app did not start"; }
"$root/usr/bin/tembrel" --quit || fail "tembrel --quit"
status=0
wait "$app_pid" || status=$?
app_pid=""
[ "$status" -eq 0 ] || { cat "$work/app.log"; fail "the installed app ended with status $status"; }
echo "package checks passed"
