#!/usr/bin/env bash
# Starts the real app on a private Xvfb desktop and prints its resident memory at rest against
# the baseline measured in the same run: bench_bare_tray, a bare Qt tray app with a global
# shortcut. Then the history benchmark's cost of adding a fix to a 500-entry history.
#
#   bench/app/bench_app.sh BUILD_DIR [SECONDS_AT_REST]
set -euo pipefail
build=$(cd "${1:?usage: $0 BUILD_DIR [SECONDS_AT_REST]}" && pwd)
rest=${2:-10}
here=$(cd "$(dirname "$0")" && pwd)
if [ -z "${TEMBREL_BENCH_DESKTOP:-}" ]; then
  TEMBREL_BENCH_DESKTOP=1 exec "$here/../../scripts/with-desktop.sh" "$0" "$build" "$rest"
fi

# Resident memory of a process and all its descendants, in MB.
tree_rss() {
  local total=0 pid
  for pid in $(ps -o pid= --ppid "$1") ; do
    total=$((total + $(tree_rss_kb "$pid")))
  done
  echo $(( ($(rss_kb "$1") + total) / 1024 ))
}
rss_kb() { awk '/^VmRSS:/ { print $2 }' "/proc/$1/status" 2>/dev/null || echo 0; }
tree_rss_kb() {
  local total pid
  total=$(rss_kb "$1")
  for pid in $(ps -o pid= --ppid "$1"); do
    total=$((total + $(tree_rss_kb "$pid")))
  done
  echo "$total"
}

# Resident MB of the mappings of libraries whose path contains $2, in process $1.
library_rss() {
  awk -v lib="$2" '/^[0-9a-f]+-[0-9a-f]+ / { inlib = index($6, lib) > 0 }
                   inlib && /^Rss:/ { kb += $2 } END { printf "%d", kb / 1024 }' "/proc/$1/smaps" 2>/dev/null || echo 0
}

# Median of three runs of a program left at rest.
idle_rss() {
  local samples=() i pid
  for i in 1 2 3; do
    "$@" >/dev/null 2>&1 &
    pid=$!
    sleep "$rest"
    samples+=("$(( $(tree_rss_kb "$pid") / 1024 ))")
    kill "$pid"
    wait "$pid" 2>/dev/null || true
  done
  printf '%s\n' "${samples[@]}" | sort -n | sed -n 2p
}

mkdir -p "$XDG_CONFIG_HOME/Tembrel"
printf '[General]\nskipOnboarding=true\n' > "$XDG_CONFIG_HOME/Tembrel/Tembrel.conf"

idle_rss "$build/bench/app/bench_bare_tray" >"$XDG_RUNTIME_DIR/baseline"
echo "idle RSS ${rest} s after start (median of 3), bare tray app (baseline): $(cat "$XDG_RUNTIME_DIR/baseline") MB"
idle_rss "$build/src/tembrel" >"$XDG_RUNTIME_DIR/tembrel"
echo "idle RSS ${rest} s after start (median of 3), tembrel: $(cat "$XDG_RUNTIME_DIR/tembrel") MB"
echo "  of which (last run): $(
  "$build/src/tembrel" >/dev/null 2>&1 & pid=$!; sleep "$rest"
  echo "$(library_rss $pid libLLVM) MB Mesa LLVM, $(library_rss $pid _dri.so) MB Mesa driver, $(library_rss $pid libQt6WebEngineCore) MB web engine library"
  kill $pid; wait $pid 2>/dev/null)"

if [ -x "$build/bench/history/bench_history" ]; then
  echo "adding a fix to a 500-entry history, UI thread, against the synchronous write:"
  "$build/bench/history/bench_history" --benchmark_filter='[aA]ddToFullHistory|encodeFullHistory|QtWrite' 2>&1 | grep -E 'History'
fi
