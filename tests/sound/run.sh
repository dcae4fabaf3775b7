#!/usr/bin/env bash
# Runs the sound tests against each kind of sound server in turn: run.sh PROGRAM [ARGUMENT...]
# KINDS names the kinds, all by default.
set -euo pipefail
program=$(readlink -f "$1")
shift
services=$(readlink -f "$(dirname "$0")/../../tools/sound/services.sh")
export TAVRIN_TEST_SOUND_SERVICES=$services
# shellcheck source=tools/sound/services.sh
. "$services"
failed=0
for kind in ${KINDS:-pipewire pulseaudio}; do
  folder=$(mktemp -d "${TMPDIR:-/tmp}/tavrin-sound.XXXXXX")
  trap 'sound_stop "$folder" || true; rm -rf "$folder"' EXIT
  echo "== $kind"
  # Without PipeWire the best way is the monitor, so one of the two is enough.
  if [ "$kind" = pipewire ]; then filter='*'; else filter='-*/monitor'; fi
  if ! sound_start "$kind" "$folder" || ! timeout 180 "$program" "--gtest_filter=$filter" "$@"; then
    failed=1
    tail -n 20 "$folder"/*.log || true
  fi
  sound_stop "$folder"
  rm -rf "$folder"
  trap - EXIT
done
exit "$failed"
