#!/usr/bin/env bash
# Keeps secrets and holds off sleep with the real services on a private bus, and without any: run.sh PROGRAM
# PROGRAM is the test of the services; each call of it runs the tests for one state of the system.
set -euo pipefail
program=$(readlink -f "$1")

if [ "${2:-}" != inside ]; then
  work=$(mktemp -d)
  trap 'rm -rf "$work"' EXIT
  mkdir -m 700 "$work"/{home,run,config,data,cache}
  env -u DISPLAY -u WAYLAND_DISPLAY HOME="$work/home" XDG_RUNTIME_DIR="$work/run" XDG_CONFIG_HOME="$work/config" \
    XDG_DATA_HOME="$work/data" XDG_CACHE_HOME="$work/cache" TAVRIN_TEST_FOLDER="$work/secrets" \
    dbus-run-session -- "$0" "$program" inside
  exit
fi

# The bus must not start a key ring by itself: the tests say when there is one.
no_bus=unix:path=$XDG_RUNTIME_DIR/none
tests() {
  local filter=$1
  shift
  echo "== $filter $*"
  env "$@" "$program" --gtest_filter="$filter" --gtest_brief=1 | tee "$XDG_RUNTIME_DIR/log"
  ! grep -q "0 tests ran\|Running 0 tests" "$XDG_RUNTIME_DIR/log"
}
keyring=
start_keyring() {
  printf '%s' "$1" | gnome-keyring-daemon --foreground --components=secrets --unlock >/dev/null 2>&1 &
  keyring=$!
  for _ in $(seq 100); do
    if gdbus call --session -d org.freedesktop.DBus -o /org/freedesktop/DBus -m org.freedesktop.DBus.NameHasOwner \
      org.freedesktop.secrets | grep -q true; then return; fi
    sleep 0.1
  done
  echo "the key ring does not start" >&2
  exit 1
}
stop_keyring() {
  kill "$keyring"
  wait "$keyring" || true
}
lock_keyring() {
  gdbus call --session -d org.freedesktop.secrets -o /org/freedesktop/secrets \
    -m org.freedesktop.Secret.Service.Lock "['/org/freedesktop/secrets/collection/login']" >/dev/null
}

tests 'SecretsInTheFile.*'
tests 'SecretsWithoutKeyRing.are_kept*' DBUS_SESSION_BUS_ADDRESS="$no_bus"
start_keyring password
tests 'SecretsWithKeyRing.go_there*'
stop_keyring
tests 'SecretsWithoutKeyRing.change_in*' DBUS_SESSION_BUS_ADDRESS="$no_bus"
start_keyring password
tests 'SecretsWithKeyRing.that_were*'
lock_keyring
tests 'SecretsWithoutAnswer.*'
stop_keyring
start_keyring password
kill -STOP "$keyring"
tests 'SecretsWithoutAnswer.*'
kill -CONT "$keyring"
stop_keyring
tests 'PowerWithLogin.*' DBUS_SYSTEM_BUS_ADDRESS="$DBUS_SESSION_BUS_ADDRESS"
tests 'PowerWithoutLogin.*' DBUS_SYSTEM_BUS_ADDRESS="$DBUS_SESSION_BUS_ADDRESS"
tests 'PowerWithoutLogin.*' DBUS_SYSTEM_BUS_ADDRESS="$no_bus"
