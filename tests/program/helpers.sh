# Sourced by the circumstances, which run with errexit: a command that fails ends the circumstance.
#
#   fresh                      no file of an earlier run; the speech model and a token, unless without_model, without_token
#   started_program            the program with its words told to screen readers, and with the meeting on the screen
#   shows, awaits_shown SECONDS TEXT     TEXT is on the screen, or comes there
#   begin_echo_meeting, burst  a meeting with one sound for both lanes, and such a sound; its moment goes to $moments
#   judge_bursts               all of them are in both lanes at their time
#   lane_seconds LANE          length of a lane's file; awaits_growth SECONDS: both lanes go on
#   tell, at_most NAME VALUE LIMIT UNIT  what was measured, and whether it may be so much
# shellcheck source=tools/demo/program.sh
. tools/demo/program.sh

here=tests/program
lanes() { python3 "$here/lanes.py" "$@"; }
screen_text=$PWD/${TAVRIN_BUILD:-build/release}/bin/tavrin-screen-text
material=$SOUND_FOLDER/material

tell() { echo "  $*"; }
fail() { echo "$*" >&2; return 1; }
now() { date +%s.%N; }
calculate() { awk "BEGIN { printf \"%.2f\", $1 }"; }
holds() { awk "BEGIN { exit !($1) }"; }
at_most() {
  tell "$1: $2 $4 (at most $3 $4)"
  holds "$2 <= $3" || fail "$1 is $2 $4, more than $3 $4"
}

data_folder() { echo "$XDG_DATA_HOME/TavrinAssistant"; }
fresh() {
  rm -rf "$XDG_DATA_HOME" "$XDG_CONFIG_HOME/so.tavrin.TavrinAssistant" "$XDG_CACHE_HOME/so.tavrin.TavrinAssistant"
  mkdir -p -m 700 "$XDG_DATA_HOME" "$XDG_CONFIG_HOME" "$XDG_CACHE_HOME"
  install_program "$TAVRIN_MODELS"
  moments=()
}
without_model() { rm "$(data_folder)/OnDeviceModels/openai_whisper-base"; }
without_token() { rm "$XDG_CONFIG_HOME/so.tavrin.TavrinAssistant/credentials.json"; }

program_pid() { cat "$SOUND_FOLDER/pids/program"; }
lives() { ! sound_is_gone "$(program_pid)" || fail "the program has ended"; }

started_program() {
  start_program QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 "$@"
  await 10 shows_meeting
}
shows_meeting() {
  xdotool search --sync --onlyvisible --name 'Tavrin Assistant' windowfocus --sync key ctrl+3 &&
    sleep 0.3 && shows "Title of the meeting"
}
window_is_there() { xdotool search --onlyvisible --name 'Tavrin Assistant'; }
window_is_away() { ! window_is_there; }
close_window() {
  xdotool search --onlyvisible --name 'Tavrin Assistant' windowfocus --sync
  xdotool key alt+F4 # by itself: what is sent to a window that goes leaves the keys pressed
  sound_until 5 window_is_away || fail "the window does not close"
}
shown() { timeout 5 "$screen_text" "Tavrin Assistant"; }
shows() { shown | grep -qF -- "$1"; }
hides() { ! shows "$1"; }
awaits_shown() {
  sound_until "$1" shows "$2" || { shown >&2; fail "\"$2\" is not shown after $1 s"; }
}
quit_program() {
  local pid
  pid=$(program_pid)
  act quit
  sound_until "${1:-10}" sound_is_gone "$pid" || fail "the program does not end"
}

# The phase of recording with the model loaded; "status: Recording (preparing model)" comes before.
says_recording() { tail -n "+$marked" "$SOUND_FOLDER/program.log" | grep -q 'status: Recording$'; }
begin_live_meeting() {
  begin_meeting
  await 40 says_recording
}

lane_bytes() { stat -c %s "$(meeting_file "$1.pcm")"; }
lane_seconds() { calculate "$(lane_bytes "$1") / 32000"; }
# Both lanes have grown by half a second: the sound goes on.
lanes_beyond() { [ "$(lane_bytes me)" -ge "$1" ] && [ "$(lane_bytes them)" -ge "$2" ]; }
awaits_growth() {
  await "$1" lanes_beyond $(($(lane_bytes me) + 16000)) $(($(lane_bytes them) + 16000))
}
recorded_files() { find "$(recordings)" -type f 2>/dev/null | wc -l; }
nothing_recorded() { [ "$(recorded_files)" = 0 ] || { ls -l "$(recordings)" >&2; fail "files are left"; }; }
errors_with() {
  await 30 says_since "status: Error"
  awaits_shown 10 "$1"
  lives
}

# A tone, then a quarter second of silence for the player to end with.
make_material() {
  [ ! -e "$material/done" ] || return 0
  mkdir -p "$material"
  sox -n -r 48000 -c 1 "$material/burst.wav" synth 0.1 sine 1000 gain -3 pad 0 0.25
  sox -n -r 48000 -c 1 "$material/rhythm.wav" synth 0.1 sine 1000 gain -3 pad 0 0.9 repeat 39
  sox "$TAVRIN_TEST_CLIPS"/librivox/*.wav -r 48000 -c 1 "$material/speech.wav" norm -6 repeat 7
  touch "$material/done"
}

# The microphone hears what the speaker plays: one sound for both lanes.
begin_echo_meeting() {
  make_material
  sound_add_echo echo_one
  sound_default_microphone echo_one
  begin_live_meeting
  sleep 1
}
burst() {
  moments+=("$(now)")
  sound_play_speaker "${1:-tavrin_speaker}" "$material/burst.wav"
}
judge_bursts() { lanes bursts "$(meeting_file me.pcm)" "$(meeting_file them.pcm)" "${moments[@]}"; }
