# Sourced by ./tavrin after set-up: shows a meeting on a machine without sound hardware or a screen.
#   ./tavrin demo [pipewire|pulseaudio|both] [--long]
# Private sound services, a private session bus and a screen in memory; two voices played into a virtual microphone and
# a virtual speaker; the real program between them. Ends with figures, and with 0 only if all of them are as they should be.
# shellcheck source=tools/sound/services.sh
. tools/sound/services.sh

kinds="pipewire pulseaudio" long=
for argument in "$@"; do
  case $argument in
    both) ;;
    pipewire | pulseaudio) kinds=$argument ;;
    --long) long=1 ;;
    *) die "demo takes pipewire, pulseaudio or both, and --long" ;;
  esac
done
program=$PWD/${TAVRIN_BUILD:-build/release}/bin/tavrin-assistant
judge=$PWD/${TAVRIN_BUILD:-build/release}/bin/tavrin-demo-judge
transcribe=$PWD/${TAVRIN_BUILD:-build/release}/bin/tavrin-transcribe
clips=/usr/share/pocketsphinx/test/data/librivox
sentences=$PWD/tests/data/sentences.txt
demo=$(mktemp -d "${TMPDIR:-/tmp}/tavrin-demo.XXXXXX")

# ---- what is played -------------------------------------------------------------------------------------------------

# Two people by turns: recorded speech for Me, a synthetic voice for Them; 48 kHz for the devices, raw 16 kHz to compare.
make_voices() {
  local out=$demo/voices number=0 clip name length
  mkdir -p "$out"
  : >"$out/me.txt"; : >"$out/them.txt"
  local me=() them=()
  sox -n -r 16000 -c 1 -b 16 "$out/gap.wav" trim 0 1.2
  for clip in "$clips"/*.wav; do
    name=$(basename "$clip" .wav)
    sox "$clip" -r 16000 -c 1 -b 16 "$out/me-$number.wav" norm -6
    sed -n "s/^<s> *\(.*[^ ]\) *<\/s> *($name)\$/\1/p" "$clips/transcription" >>"$out/me.txt"
    flite -voice rms -t "$(sed -n "$((number + 1))p" "$sentences")" -o "$out/spoken.wav"
    sed -n "$((number + 1))p" "$sentences" >>"$out/them.txt"
    sox "$out/spoken.wav" -r 16000 -c 1 -b 16 "$out/them-$number.wav" norm -6
    for length in me them; do
      sox -n -r 16000 -c 1 -b 16 "$out/rest-$length-$number.wav" trim 0 "$(soxi -D "$out/$length-$number.wav")"
    done
    me+=("$out/me-$number.wav" "$out/gap.wav" "$out/rest-them-$number.wav" "$out/gap.wav")
    them+=("$out/rest-me-$number.wav" "$out/gap.wav" "$out/them-$number.wav" "$out/gap.wav")
    number=$((number + 1))
  done
  local lane
  sox "${me[@]}" "$out/me-16k.wav"
  sox "${them[@]}" "$out/them-16k.wav"
  for lane in me them; do
    sox "$out/$lane-16k.wav" -r 48000 "$out/$lane.wav"
    sox "$out/$lane-16k.wav" -t raw "$out/$lane.s16"
    "$transcribe" "$out/$lane-16k.wav" >"$out/$lane-file.txt"
  done
}

# A click a second after the beginning and one shortly before the end.
make_clicks() {
  local seconds=$1
  sox -n -r 48000 -c 1 "$demo/click.wav" synth 0.02 sine 1000 gain -3
  sox -n -r 48000 -c 1 "$demo/between.wav" trim 0 "$seconds"
  sox -n -r 48000 -c 1 "$demo/second.wav" trim 0 1
  sox "$demo/second.wav" "$demo/click.wav" "$demo/between.wav" "$demo/click.wav" "$demo/second.wav" "$demo/clicks.wav"
}

# ---- the program ----------------------------------------------------------------------------------------------------

# An action of the running program, by the desktop's own interface.
act() {
  gdbus call --session --timeout 3 --dest so.tavrin.TavrinAssistant --object-path /so/tavrin/TavrinAssistant \
    --method org.freedesktop.Application.ActivateAction "$1" '[]' '{}' >/dev/null
}
program_says() { grep -qF "$1" "$folder/program.log"; }
says_since() { tail -n "+$1" "$folder/program.log" | grep -qF "$2"; }
await() { sound_until "$1" "${@:2}" || { say "demo: \"${*:2}\" did not come within $1 s"; tail -n 20 "$folder/program.log" >&2; return 1; }; }

start_program() {
  local data=$XDG_DATA_HOME/TavrinAssistant configuration=$XDG_CONFIG_HOME/so.tavrin.TavrinAssistant
  mkdir -p -m 700 "$data/OnDeviceModels" "$configuration"
  ln -sfn "$models/openai_whisper-base" "$data/OnDeviceModels/openai_whisper-base"
  printf '{"so.tavrin.TavrinAssistant": {"TavrinAPIToken": "tavrin_demo"}}\n' >"$configuration/credentials.json"
  chmod 600 "$configuration/credentials.json"
  [ -S "$XDG_RUNTIME_DIR/bus" ] || {
    sound_spawn dbus dbus-daemon --session --nofork --nopidfile "--address=$DBUS_SESSION_BUS_ADDRESS"
    sound_until 5 test -S "$XDG_RUNTIME_DIR/bus" || return 1
  }
  sound_spawn screen Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3>"$folder/display"
  sound_until 10 test -s "$folder/display" || { say "demo: no screen"; return 1; }
  DISPLAY=:$(cat "$folder/display") TAVRIN_HEARTBEAT=$folder/heartbeat.txt sound_spawn program "$program"
  await 20 program_says "the window is up"
}

# Prints each line of the transcript once.
print_lines() {
  python3 - "$1" "$2" <<'PY'
import json, sys
path, shown = sys.argv[1], int(sys.argv[2])
try:
    lines = [line for line in open(path, encoding="utf-8").read().split("\n")[:-1]]
except OSError:
    lines = []
for line in lines[shown:]:
    entry = json.loads(line)
    print(f'  {entry["speakerLabel"]:>4}: {entry["text"]}', file=sys.stderr)
print(len(lines))
PY
}

# What was heard of one lane, as text.
heard() {
  python3 - "$1" "$2" <<'PY'
import json, sys
lines = [json.loads(line) for line in open(sys.argv[1], encoding="utf-8") if line.strip()]
print(" ".join(line["text"] for line in sorted(lines, key=lambda line: line["date"]) if line["speakerLabel"] == sys.argv[2]))
PY
}

newest() { find "$XDG_DATA_HOME/TavrinAssistant/Recordings" -name "*$1" -printf '%T@ %p\n' | sort -n | tail -n 1 | cut -d' ' -f2-; }

# A meeting around a command: meeting COMMAND...
meeting() {
  local from shown=0 player
  from=$(($(wc -l <"$folder/program.log") + 1))
  act start-recording || return 1
  await 30 says_since "$from" "status: Recording" || return 1
  await 30 says_since "$from" "awaiting IOProc callbacks" || return 1
  sleep 2
  "$@" &
  player=$!
  while kill -0 "$player" 2>/dev/null; do
    shown=$(print_lines "$(newest -segments.jsonl)" "$shown")
    sleep 1
  done
  wait "$player" || { say "demo: the sound could not be played"; return 1; }
  sleep 3
  from=$(($(wc -l <"$folder/program.log") + 1))
  act stop || return 1
  await 60 says_since "$from" "status: Idle" || return 1
  shown=$(print_lines "$(newest -segments.jsonl)" "$shown")
}

play_voices() {
  local other
  sound_play_microphone tavrin_microphone "$demo/voices/me.wav" &
  other=$!
  sound_play_speaker tavrin_speaker "$demo/voices/them.wav" && wait "$other"
}

judge_voices() {
  local lane=$1 label=$2 segments
  segments=$(newest -segments.jsonl)
  heard "$segments" "$label" >"$folder/$lane.txt"
  "$judge" lane "$label" "$demo/voices/$lane.txt" "$folder/$lane.txt" "$demo/voices/$lane-file.txt" \
    "$demo/voices/$lane.s16" "$(newest "-$lane.pcm")" >&2
}

# The microphone hears the speaker: the same clicks come into both lanes.
click_meeting() {
  sound_add_echo echo_microphone && sound_default_microphone echo_microphone || return 1
  meeting sound_play_speaker tavrin_speaker "$demo/clicks.wav" || return 1
  "$judge" clicks 2 "$(newest -me.pcm)" "$(newest -them.pcm)" >&2
}

judge_heartbeat() {
  local worst
  worst=$(sed -n 's/^worst_gap_ms //p' "$folder/heartbeat.txt")
  say "  the window's longest gap between two beats of 10 ms: ${worst:-unknown} ms"
  [ -n "$worst" ] && awk "BEGIN { exit !($worst <= 50) }"
}

one_demo() {
  local kind=$1 fine=0
  folder=$demo/$kind
  say "A meeting on $kind"
  sound_start "$kind" "$folder" || return 1
  start_program || return 1
  meeting play_voices && judge_voices me Me && judge_voices them Them || fine=1
  click_meeting || fine=1
  act quit || fine=1
  await 10 test -s "$folder/heartbeat.txt" && judge_heartbeat || fine=1
  say "  recordings: $XDG_DATA_HOME/TavrinAssistant/Recordings"
  return $fine
}

make_voices
make_clicks "$([ -n "$long" ] && echo 600 || echo 15)"
result=0
for kind in $kinds; do
  (
    trap 'sound_end TERM program screen; sound_stop "$folder" 2>/dev/null || true' EXIT
    one_demo "$kind"
  ) || { result=1; say "The demo on $kind FAILED."; }
done
say "The files lie in $demo."
[ "$result" = 0 ] || die "the demo failed"
say "The demo is fine."
