# Sourced by ./tavrin after set-up: shows a meeting on a machine without sound hardware or a screen.
#   ./tavrin demo [pipewire|pulseaudio|both] [--long | --leak]
# --long: ten minutes between the clicks; --leak: a talk of five minutes in which the microphone hears the speaker.
# Private sound services, a private session bus and a screen in memory; two voices played into a virtual microphone and
# a virtual speaker; the real program between them. Ends with figures, and with 0 only if all of them are as they should be.
# shellcheck source=tools/demo/program.sh
. tools/demo/program.sh

kinds="pipewire pulseaudio" long= leak=
for argument in "$@"; do
  case $argument in
    both) ;;
    pipewire | pulseaudio) kinds=$argument ;;
    --long) long=1 ;;
    --leak) leak=1 ;;
    *) die "demo takes pipewire, pulseaudio or both, and --long or --leak" ;;
  esac
done
judge=$PWD/${TAVRIN_BUILD:-build/release}/bin/tavrin-demo-judge
transcribe=$PWD/${TAVRIN_BUILD:-build/release}/bin/tavrin-transcribe
clips=/usr/share/pocketsphinx/test/data/librivox
sentences=$PWD/tests/data/sentences.txt
demo=$(mktemp -d "${TMPDIR:-/tmp}/tavrin-demo.XXXXXX")

# ---- what is played -------------------------------------------------------------------------------------------------

# Two people by turns: recorded speech for Me, a synthetic voice for Them; 48 kHz for the devices, raw 16 kHz to compare.
make_voices() {
  local out=$demo/voices number=0 clip name
  mkdir -p "$out"
  : >"$out/me.txt"; : >"$out/them.txt"
  local me=() them=()
  sox -n -r 16000 -c 1 -b 16 "$out/gap.wav" trim 0 1.2
  for clip in "$clips"/*.wav; do
    name=$(basename "$clip" .wav)
    sox "$clip" -r 16000 -c 1 -b 16 "$out/me-$number.wav" norm -6
    sed -n "s/^<s> *\(.*[^ ]\) *<\/s> *($name)\$/\1/p" "$clips/transcription" >>"$out/me.txt"
    them_says "$number" "$((number + 1))"
    take_turns "$number"
    number=$((number + 1))
  done
  if [ -n "$leak" ]; then more_turns; fi
  join_voices
}

# them_says NUMBER SENTENCE, me_says NUMBER SENTENCE: a synthetic voice says a line of the sentences.
them_says() { speak them rms "$@"; }
me_says() { speak me slt "$@"; }
speak() {
  local who=$1 voice=$2 number=$3 sentence
  sentence=$(sed -n "$4p" "$sentences")
  flite -voice "$voice" -t "$sentence" -o "$out/spoken.wav"
  echo "$sentence" >>"$out/$who.txt"
  sox "$out/spoken.wav" -r 16000 -c 1 -b 16 "$out/$who-$number.wav" norm -6
}

# Me, then Them, each while the other one is silent.
take_turns() {
  local who
  for who in me them; do
    sox -n -r 16000 -c 1 -b 16 "$out/rest-$who-$1.wav" trim 0 "$(soxi -D "$out/$who-$1.wav")"
  done
  me+=("$out/me-$1.wav" "$out/gap.wav" "$out/rest-them-$1.wav" "$out/gap.wav")
  them+=("$out/rest-me-$1.wav" "$out/gap.wav" "$out/them-$1.wav" "$out/gap.wav")
}

# Until five minutes are full. What one of them says the other one never does.
more_turns() {
  local line=0
  while [ "$number" -lt 33 ]; do
    me_says "$number" "$((7 + (line % 17) * 2))"
    them_says "$number" "$((8 + (line % 16) * 2))"
    take_turns "$number"
    number=$((number + 1)) line=$((line + 1))
  done
}

# The lanes as they are played, and what is heard of them from a file.
join_voices() {
  local lane
  sox "${me[@]}" "$out/me-16k.wav"
  sox "${them[@]}" "$out/them-16k.wav"
  for lane in me them; do
    sox "$out/$lane-16k.wav" -r 48000 "$out/$lane.wav"
    sox "$out/$lane-16k.wav" -t raw "$out/$lane.s16"
    "$transcribe" "$out/$lane-16k.wav" >"$out/$lane-file.txt"
  done
  [ -n "$leak" ] || return 0
  "$judge" live "$models/openai_whisper-base" "$out/me-16k.wav" >"$out/me-live.txt"
  # 12 dB weaker and 60 ms late.
  sox "$out/them.wav" "$out/leak.wav" pad 0.06 gain -12
  sox -m -v 1 "$out/me.wav" -v 1 "$out/leak.wav" "$out/leaking.wav"
  mv "$out/leaking.wav" "$out/me.wav"
}

# A click a second after the beginning and one shortly before the end.
make_clicks() {
  local seconds=$1
  sox -n -r 48000 -c 1 "$demo/click.wav" synth 0.02 sine 1000 gain -3
  sox -n -r 48000 -c 1 "$demo/between.wav" trim 0 "$seconds"
  sox -n -r 48000 -c 1 "$demo/second.wav" trim 0 1
  sox "$demo/second.wav" "$demo/click.wav" "$demo/between.wav" "$demo/click.wav" "$demo/second.wav" "$demo/clicks.wav"
}

# ---- what happens ---------------------------------------------------------------------------------------------------

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


# A meeting around a command: meeting COMMAND...
meeting() {
  local shown=0 player
  begin_meeting || return 1
  sleep 2
  "$@" &
  player=$!
  while kill -0 "$player" 2>/dev/null; do
    shown=$(print_lines "$(meeting_file segments.jsonl)" "$shown")
    sleep 1
  done
  wait "$player" || { say "demo: the sound could not be played"; return 1; }
  sleep 3
  end_meeting || return 1
  shown=$(print_lines "$(meeting_file segments.jsonl)" "$shown")
}

play_voices() {
  local other
  sound_play_microphone tavrin_microphone "$demo/voices/me.wav" &
  other=$!
  sound_play_speaker tavrin_speaker "$demo/voices/them.wav" && wait "$other"
}

# Against the same sound as a file; the microphone that hears the speaker, against the same voice alone.
judge_voices() {
  local lane=$1 label=$2 way="the same sound as a file" baseline=$1-file points=5 segments
  if [ "$lane$leak" = me1 ]; then way="the same voice alone, live" baseline=me-live points=3; fi
  segments=$(meeting_file segments.jsonl)
  heard "$segments" "$label" >"$folder/$lane.txt"
  "$judge" lane "$label" "$demo/voices/$lane.txt" "$folder/$lane.txt" "$way" "$demo/voices/$baseline.txt" "$points" \
    "$demo/voices/$lane.s16" "$(meeting_file "$lane.pcm")" >&2
}

# Nothing that the other side said may come back as Me.
judge_echo() {
  local segments
  segments=$(meeting_file segments.jsonl)
  python3 - "$segments" >"$folder/me-lines.txt" <<'PY'
import json, sys
for line in open(sys.argv[1], encoding="utf-8"):
    entry = json.loads(line)
    if entry["speakerLabel"] == "Me":
        print(entry["text"])
PY
  "$judge" echo "$demo/voices/me.txt" "$demo/voices/them.txt" "$folder/me-lines.txt" >&2
}

# The microphone hears the speaker: the same clicks come into both lanes.
click_meeting() {
  sound_add_echo echo_microphone && sound_default_microphone echo_microphone || return 1
  meeting sound_play_speaker tavrin_speaker "$demo/clicks.wav" || return 1
  "$judge" clicks 2 "$(meeting_file me.pcm)" "$(meeting_file them.pcm)" >&2
}

# What a virtual machine's host kept of the processors, in hundredths of a second.
stolen() { awk '$1 == "cpu" { print $9 + 0 }' /proc/stat; }

# A busy machine makes gaps by itself: it lets the window's loop sleep longer than it asked. What counts is how long the
# loop was ever away once there was something to do.
judge_heartbeat() {
  local gap turn
  gap=$(sed -n 's/^worst_gap_ms //p' "$folder/heartbeat.txt")
  turn=$(sed -n 's/^longest_turn_ms //p' "$folder/heartbeat.txt")
  say "  the window's longest gap between two beats of 10 ms: ${gap:-unknown} ms, kept by the program: $(printf %.1f "${turn:-nan}") ms"
  [ -n "$turn" ] && awk "BEGIN { exit !($turn > 0 && $turn <= 50) }"
}

one_demo() {
  local kind=$1 fine=0 before
  before=$(stolen)
  folder=$demo/$kind
  say "A meeting on $kind"
  sound_start "$kind" "$folder" && start_screen && install_program "$models" && start_program || return 1
  meeting play_voices && judge_voices me Me && judge_voices them Them || fine=1
  if [ -n "$leak" ]; then judge_echo || fine=1; else click_meeting || fine=1; fi
  act quit || fine=1
  await 10 test -s "$folder/heartbeat.txt" && judge_heartbeat || fine=1
  say "  kept from this machine by its host meanwhile: $((($(stolen) - before) * 10)) ms of a processor"
  say "  recordings: $XDG_DATA_HOME/TavrinAssistant/Recordings"
  return $fine
}

make_voices
make_clicks "$([ -n "$long" ] && echo 600 || echo 15)"
result=0
for kind in $kinds; do
  (
    trap 'stop_program "$folder"' EXIT
    one_demo "$kind"
  ) || { result=1; say "The demo on $kind FAILED."; }
done
say "The files lie in $demo."
[ "$result" = 0 ] || die "the demo failed"
say "The demo is fine."
