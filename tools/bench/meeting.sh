#!/usr/bin/env bash
# What a meeting costs: meeting.sh [pipewire|pulseaudio]. First the real program, watched from outside, on private sound
# services, a private session bus and a screen in memory: how soon its window is up, how late its lines are, what its
# threads use. Then tavrin-meeting-bench: an hour on virtual time, and the stages of capture, each alone.
# TAVRIN_BUILD names the build folder, TAVRIN_MODELS says where the speech model is. Ends with 0 if all bars are held.
set -euo pipefail
cd "$(dirname "$(readlink -f "$0")")/../.."
kind=${1:-pipewire}
export TAVRIN_MODELS=${TAVRIN_MODELS:-${XDG_DATA_HOME:-$HOME/.local/share}/TavrinAssistant/OnDeviceModels}
clips=/usr/share/pocketsphinx/test/data/librivox
# shellcheck source=tools/demo/program.sh
. tools/demo/program.sh
bench=$PWD/${TAVRIN_BUILD:-build/release}/bin/tavrin-meeting-bench
starts=5
quiet_seconds=20

watcher() { python3 tools/bench/meeting.py "$@"; }
load() { cut -d' ' -f1 /proc/loadavg; }
middle() { sort -n | sed -n "$(((starts + 1) / 2))p"; }

# Two people by turns, five seconds after each.
make_talk() {
  local number=0 clip lane me=() them=()
  local format=(-r 48000 -c 1 -b 16) out=$folder/talk
  mkdir -p "$out"
  sox -n "${format[@]}" "$out/gap.wav" trim 0 5
  for clip in "$clips"/*.wav; do
    number=$((number + 1))
    sox "$clip" "${format[@]}" "$out/me-$number.wav" norm -6
    flite -voice rms -t "$(sed -n "${number}p" tests/data/sentences.txt)" -o "$out/spoken.wav"
    sox "$out/spoken.wav" "${format[@]}" "$out/them-$number.wav" norm -6
    for lane in me them; do
      sox -n "${format[@]}" "$out/rest-$lane-$number.wav" trim 0 "$(soxi -D "$out/$lane-$number.wav")"
    done
    me+=("$out/me-$number.wav" "$out/gap.wav" "$out/rest-them-$number.wav" "$out/gap.wav")
    them+=("$out/rest-me-$number.wav" "$out/gap.wav" "$out/them-$number.wav" "$out/gap.wav")
  done
  sox "${me[@]}" "$out/me.wav"
  sox "${them[@]}" "$out/them.wav"
}

# Milliseconds from the command to a window that the window manager shows.
start_and_see() {
  local begin=${EPOCHREALTIME/./} end
  sound_spawn program "$program"
  until [ -n "$(xdotool search --onlyvisible --name '^Tavrin Assistant$' 2>/dev/null)" ]; do
    [ $((${EPOCHREALTIME/./} - begin)) -lt 20000000 ] || { echo "no window comes up" >&2; return 1; }
  done
  end=${EPOCHREALTIME/./}
  echo $(((end - begin) / 1000))
}

measure_starts() {
  local i times=()
  for ((i = 0; i < starts; ++i)); do
    times+=("$(start_and_see)")
    sound_until 10 act quit
    sound_until 10 sound_is_gone "$(cat "$SOUND_FOLDER/pids/program")" || { echo "the program does not end" >&2; return 1; }
  done
  echo "  milliseconds from the command to the window: ${times[*]}"
  echo "bar|program start to its window, median of $starts|$(printf '%s\n' "${times[@]}" | middle)|300|0|ms" >>"$figures"
}

play_talk() {
  local player
  sound_play_microphone tavrin_microphone "$folder/talk/me.wav" & player=$!
  sound_play_speaker tavrin_speaker "$folder/talk/them.wav" && wait "$player"
}

says_recording() { tail -n "+$marked" "$SOUND_FOLDER/program.log" | grep -q 'status: Recording$'; }
both_are_recorded() { [ "$(find "$(recordings)" -name '*.pcm' -size +0 | wc -l)" = 2 ]; }
measure_meeting() {
  local pid prefix watching seen=$folder/seen
  mkdir -p "$seen"
  start_program && mark || return 1
  act start-recording && await 60 says_recording || return 1
  pid=$(cat "$SOUND_FOLDER/pids/program")
  sound_until 5 both_are_recorded || { echo "no sound is recorded" >&2; return 1; }
  prefix=$(find "$(recordings)" -name '*-me.pcm')
  prefix=${prefix%me.pcm}
  python3 tools/bench/meeting.py watch "$prefix" "$seen/lines" & watching=$!
  sleep 3
  watcher threads "$pid" "$seen/quiet0"; sleep "$quiet_seconds"; watcher threads "$pid" "$seen/quiet1"
  echo "  the load in silence is $(load)"
  watcher threads "$pid" "$seen/talk0"
  play_talk || return 1
  watcher threads "$pid" "$seen/talk1"
  sleep 5
  echo "figure|program: memory after the talk|$(awk '/VmRSS/ { print $2 * 1024 / 1e6 }' "/proc/$pid/status")|1|MB" >>"$figures"
  end_meeting || return 1
  kill "$watching"
  wait "$watching" || true
  watcher judge "$prefix" "$seen/lines" "$seen"/{quiet0,quiet1,talk0,talk1} "$figures"
}

real_program() {
  printf '\nthe real program on %s\n\n' "$kind"
  echo "  the load before is $(load); from 1 on, times are too long and not to be trusted"
  sound_start "$kind" "$folder/services" && start_screen && sound_spawn openbox openbox && install_program "$TAVRIN_MODELS" &&
    make_talk && measure_starts && measure_meeting || return 1
  echo
  echo "  the load after is $(load)"
}

clean_up() {
  stop_program "$folder/services"
  if sound_use "$folder/services"; then sound_end TERM openbox; fi
  rm -rf "$folder"
}

folder=$(mktemp -d "${TMPDIR:-/tmp}/tavrin-meeting.XXXXXX")
figures=$folder/figures
trap clean_up EXIT
: >"$figures"
real_program || { tail -n 20 "$SOUND_FOLDER/program.log" >&2; exit 1; }
QT_QPA_PLATFORM=offscreen "$bench" "$folder" "$figures"
