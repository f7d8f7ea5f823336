#!/usr/bin/env bash
# Runs a command inside a private desktop made for it alone: an Xvfb display, a D-Bus session bus
# with an unlocked gnome-keyring (the Secret Service), and temporary HOME and XDG folders. Stops
# everything it started, by process id, when the command ends. Exits with the command's status.
#
#   scripts/with-desktop.sh [--no-keyring] COMMAND [ARG...]
set -euo pipefail

keyring=1
if [ "${1:-}" = "--no-keyring" ]; then
  keyring=0
  shift
fi
[ $# -gt 0 ] || { echo "usage: $0 [--no-keyring] COMMAND [ARG...]" >&2; exit 2; }

root=$(mktemp -d "${TMPDIR:-/tmp}/tembrel-desktop.XXXXXX")
pids=()
cleanup() {
  for pid in "${pids[@]}"; do
    kill "$pid" 2>/dev/null || true
  done
  for pid in "${pids[@]}"; do
    wait "$pid" 2>/dev/null || true
  done
  rm -rf "$root"
}
trap cleanup EXIT
trap 'exit 130' INT TERM

mkdir -p "$root/home" "$root/config" "$root/data" "$root/cache" "$root/runtime"
chmod 700 "$root/runtime"
export HOME="$root/home" XDG_CONFIG_HOME="$root/config" XDG_DATA_HOME="$root/data"
export XDG_CACHE_HOME="$root/cache" XDG_RUNTIME_DIR="$root/runtime"

# Xvfb picks a free display itself and tells us its number, so parallel runs never collide.
Xvfb -displayfd 3 -screen 0 1600x1000x24 -nolisten tcp -noreset 3>"$root/display" 2>"$root/xvfb.log" &
pids+=($!)
for _ in $(seq 1 100); do
  [ -s "$root/display" ] && break
  sleep 0.05
done
[ -s "$root/display" ] || { echo "with-desktop: Xvfb did not start" >&2; cat "$root/xvfb.log" >&2; exit 1; }
export DISPLAY=":$(tr -d '[:space:]' <"$root/display")"
export QT_QPA_PLATFORM=xcb
unset WAYLAND_DISPLAY

# The web engine's sandbox cannot run as root; only then is it switched off.
if [ "$(id -u)" -eq 0 ]; then
  export QTWEBENGINE_DISABLE_SANDBOX=1
fi

# A private session bus, started by hand (not dbus-run-session) so its process id is ours to stop.
# Its configuration lists no service folders: nothing is started on demand behind the test's back
# (a missing keyring stays missing instead of a daemon that waits for a password).
cat >"$root/bus.conf" <<CONF
<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=$root/runtime/bus</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
CONF
dbus-daemon --config-file="$root/bus.conf" --nofork --nopidfile --print-address=4 4>"$root/bus" 2>"$root/dbus.log" &
pids+=($!)
for _ in $(seq 1 100); do
  [ -s "$root/bus" ] && break
  sleep 0.05
done
[ -s "$root/bus" ] || { echo "with-desktop: dbus-daemon did not start" >&2; exit 1; }
DBUS_SESSION_BUS_ADDRESS="$(head -n 1 "$root/bus")"
export DBUS_SESSION_BUS_ADDRESS

if [ "$keyring" -eq 1 ]; then
  # Unlocks the login keyring with a throw-away password; it lives in $HOME, which is temporary.
  printf 'tembrel' | gnome-keyring-daemon --foreground --unlock --components=secrets \
    >"$root/keyring.log" 2>&1 &
  pids+=($!)
  for _ in $(seq 1 100); do
    dbus-send --session --print-reply --dest=org.freedesktop.DBus / org.freedesktop.DBus.NameHasOwner \
      string:org.freedesktop.secrets 2>/dev/null | grep -q 'boolean true' && break
    sleep 0.05
  done
fi

set +e
"$@"
status=$?
set -e
exit "$status"
