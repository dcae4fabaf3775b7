#!/usr/bin/env bash
# Shows notifications on a private session bus, to a service of the test's own, and without a bus: run.sh PROGRAM
set -euo pipefail
program=$(readlink -f "$1")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir -m 700 "$work"/{home,run,config,data}
# The bus must not start a service of this computer: it finds none.
own=(env -u DISPLAY -u WAYLAND_DISPLAY HOME="$work/home" XDG_RUNTIME_DIR="$work/run" XDG_CONFIG_HOME="$work/config"
  XDG_DATA_HOME="$work/data" XDG_DATA_DIRS="$work/data")
tests() {
  "${own[@]}" "$@" --gtest_brief=1 | tee "$work/log"
  ! grep -q "0 tests ran\|Running 0 tests" "$work/log"
}
tests dbus-run-session -- "$program" --gtest_filter=-NoBus.*
tests env DBUS_SESSION_BUS_ADDRESS="unix:path=$work/run/none" "$program" --gtest_filter=NoBus.*
