#!/usr/bin/env bash
# The real program in bad circumstances, on private sound services, a private session bus and a screen in memory:
#   run.sh [--long] [--kind pipewire|pulseaudio] [NAME...]
# Without names all of them; each is a function below circumstances/. TAVRIN_BUILD names the build folder; TAVRIN_MODELS
# and TAVRIN_TEST_CLIPS say where the speech model and the recorded speech are. Prints what was measured; ends with 0 only
# if every circumstance was run and went as it should.
set -euo pipefail
cd "$(dirname "$(readlink -f "$0")")/../.."
export TAVRIN_MODELS=${TAVRIN_MODELS:-${XDG_DATA_HOME:-$HOME/.local/share}/TavrinAssistant/OnDeviceModels}
export TAVRIN_TEST_CLIPS=${TAVRIN_TEST_CLIPS:-/usr/share/pocketsphinx/test/data}
export TAVRIN_TEST_LONG=${TAVRIN_TEST_LONG:-}
# shellcheck source=tools/demo/program.sh
. tools/demo/program.sh

build=${TAVRIN_BUILD:-build/release}
# A folder that was configured before the packages for tests were there does not know the tool yet.
[ -x "$build/bin/tavrin-screen-text" ] || { cmake "$build" && cmake --build "$build" --target tavrin-screen-text; } >&2 || {
  echo "tavrin-screen-text cannot be built; is libatspi2.0-dev installed?" >&2
  exit 2
}
[ -x "$program" ] || { echo "$program is not built" >&2; exit 2; }

# The most seconds of each, on a machine that is busy with other things.
on_pipewire="no_sound_server:60 no_microphone:60 microphone_unplugged:90 default_output_changed:90 server_killed:90
  server_stopped:120 disk_full:150 recordings_not_writable:90 second_start:60 no_screen:20 tray_comes_later:90
  recording_by_option:150 killed_at_random:900 model_missing:60 model_broken:90 token_missing:60 log_without_words:120
  ended_while_recording:120 idle_cost:200
  former_program_taken_over:60 damaged_preferences:60 address_opened:60"
on_pulseaudio="microphone_unplugged:90 server_killed:90"

kinds="pipewire pulseaudio" names=
while [ $# -gt 0 ]; do
  case $1 in
    --long) TAVRIN_TEST_LONG=1 ;;
    --kind) kinds=$2; shift ;;
    *) names+=" $1" ;;
  esac
  shift
done

for name in $names; do
  [[ " $(echo $on_pipewire) " == *" $name:"* ]] || { echo "no such circumstance: $name" >&2; exit 2; }
done
wanted() { [ -z "$names" ] || [[ " $names " == *" $1 "* ]]; }
# A circumstance that mounts gets a view of the file system of its own.
isolation() {
  [ "$1" = disk_full ] || return 0
  if [ "$(id -u)" = 0 ]; then echo unshare --mount --propagation unchanged; else echo unshare --map-root-user --mount; fi
}

# shellcheck disable=SC2046
run_one() {
  local name=$1 kind=$2 limit=$3 log=$SOUND_FOLDER/logs/$1.txt begin=$SECONDS verdict=FAILED
  mkdir -p "$SOUND_FOLDER/logs"
  : >"$SOUND_FOLDER/program.log"
  # A screen for each: keys that one has pressed are nobody else's.
  { (sound_reset) && start_screen && sound_spawn openbox openbox; } >"$log" 2>&1 && timeout -k 5 "$limit" $(isolation "$name") tests/program/one.sh "$name" "$SOUND_FOLDER" \
    >>"$log" 2>&1 && verdict=ok
  end_spawned
  printf '%-7s %s on %s (%s s)\n' "$verdict" "$name" "$kind" "$((SECONDS - begin))"
  grep '^  ' "$log" || true
  run=$((run + 1))
  [ "$verdict" = FAILED ] || return 0
  failed=$((failed + 1))
  sed 's/^/    /' "$log"
  echo "    ---- the program's log"
  tail -n 40 "$SOUND_FOLDER/program.log" 2>/dev/null | sed 's/^/    /'
}

# What a circumstance leaves running, whether it was through or not.
end_spawned() {
  local name
  for name in $(sound_names); do
    case $name in program* | player*) sound_end KILL "$name" ;; esac
  done
  sound_end TERM openbox screen
  rm -f "$SOUND_FOLDER/display"
}

run_kind() {
  local kind=$1 entry list=$on_pipewire
  [ "$kind" = pipewire ] || list=$on_pulseaudio
  sound_start "$kind" "$folder" || return 1
  for entry in $list; do
    ! wanted "${entry%:*}" || run_one "${entry%:*}" "$kind" "${entry#*:}"
  done
}

clean_up() {
  sound_use "$folder" || return 0
  end_spawned
  sound_stop "$folder"
  [ "$failed" != 0 ] || rm -rf "$folder"
}

run=0 failed=0
for kind in $kinds; do
  folder=$(mktemp -d "${TMPDIR:-/tmp}/tavrin-program.XXXXXX")
  trap clean_up EXIT
  run_kind "$kind" || { failed=$((failed + 1)); echo "FAILED  the services of $kind; see $folder"; }
  clean_up
  trap - EXIT
done
[ "$run" -gt 0 ] || { echo "nothing was run on $kinds:$names" >&2; exit 2; }
echo "$run circumstances, $failed failed"
[ "$failed" = 0 ]
