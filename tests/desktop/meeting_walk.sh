#!/usr/bin/env bash
# A meeting by keyboard alone in the real program, on private sound services, a private session bus and a screen in
# memory; after each step, what assistive technology is told: meeting_walk.sh [pipewire|pulseaudio]
# TAVRIN_BUILD names the build folder; TAVRIN_MODELS and TAVRIN_TEST_CLIPS say where the speech model and the recorded
# speech are. Goes on after a fault, so that one run tells all; ends with 0 only if there was none.
set -euo pipefail
cd "$(dirname "$(readlink -f "$0")")/../.."
kind=${1:-pipewire}
export TAVRIN_MODELS=${TAVRIN_MODELS:-${XDG_DATA_HOME:-$HOME/.local/share}/TavrinAssistant/OnDeviceModels}
clips=${TAVRIN_TEST_CLIPS:-/usr/share/pocketsphinx/test/data}/librivox
# shellcheck source=tools/demo/program.sh
. tools/demo/program.sh
eye_program=$PWD/${TAVRIN_BUILD:-build/release}/bin/tavrin-desktop-eye

# ---- asking and pressing --------------------------------------------------------------------------------------------

my_word=young their_word=made
faults=0
fault() { faults=$((faults + 1)); printf 'FAULT  %s\n' "$*"; }
# check TEXT COMMAND...: a fault unless the command comes to succeed within some seconds.
check() {
  local text=$1
  shift
  if sound_until 8 "$@"; then printf 'ok     %s\n' "$text"; else fault "$text"; fi
}
eye() { timeout 10 "$eye_program" "$program_pid" "$@"; }
lacks() { ! eye has "$@"; }
reads() { eye text "$1" "$2" | grep -qF -- "$3"; }
press() { xdotool key --clearmodifiers --delay 30 "$@"; sleep 0.1; }
button() { eye has "push button" "$1" "${2:-}" || eye has button "$1" "${2:-}"; }
no_button() { ! button "$1"; }
# Presses Tab, or what is named, until the focus stands on a part of that name.
tab_to() {
  local wanted=$1 key=${2:-Tab} i
  for ((i = 0; i < 24; ++i)); do
    ! eye focused | grep -qxE "[a-z ]+\|$wanted" || return 0
    press "$key"
  done
  fault "\"$wanted\" cannot be reached with $key"
}

# ---- rules that hold in every state ---------------------------------------------------------------------------------

everything_has_a_name() {
  local unnamed
  unnamed=$(eye unnamed || true)
  if [ -z "$unnamed" ]; then echo "ok     $1: what takes the focus has a name"; else fault "$1: without a name: $unnamed"; fi
}

# From where it is around once: what Tab visits, in its order, has to be what is read from top to bottom.
tab_follows_reading() {
  local state=$1 before
  for _ in 1 2 3; do
    before=$(eye controls)
    tab_around || { fault "$state: nothing takes the focus"; return; }
    # A notice that came meanwhile makes another page of it.
    [ "$before" != "$expected" ] || break
  done
  if [ "$circle" = "$expected" ]; then echo "ok     $state: Tab follows reading through $(wc -l <<<"$expected") parts"
  else
    fault "$state: Tab does not follow reading (left: Tab, right: as read)"
    diff --side-by-side --width=100 <(echo "$circle") <(echo "$expected") || true
  fi
}
# The circle of Tab, begun where reading begins, and what is read.
tab_around() {
  local first now visited=() i=0
  press Tab
  first=$(eye focused) || return 1
  now=$first
  while [ ${#visited[@]} -lt 40 ]; do
    visited+=("$now")
    press Tab
    now=$(eye focused || echo nothing)
    [ "$now" != "$first" ] || break
  done
  expected=$(eye controls)
  while [ $i -lt ${#visited[@]} ] && [ "${visited[i]}" != "$(head -n 1 <<<"$expected")" ]; do i=$((i + 1)); done
  circle=$(printf '%s\n' "${visited[@]:i}" "${visited[@]:0:i}" | sed '/^$/d')
}

# ---- the walk -------------------------------------------------------------------------------------------------------

make_speech() {
  sox "$clips"/sense_and_sensibility_01_austen_64kb-0880.wav -r 48000 -c 1 "$SOUND_FOLDER/me.wav" norm -6 pad 0 1
  sox "$clips"/sense_and_sensibility_01_austen_64kb-0930.wav -r 48000 -c 1 "$SOUND_FOLDER/them.wav" norm -6 pad 0 1
}

idle_page() {
  xdotool search --sync --onlyvisible --pid "$program_pid" --name 'Tavrin Assistant' windowactivate --sync
  press ctrl+3
  check "Ctrl+3 shows the meeting" button "Start Recording"
  check "the status is told" eye has label Idle
  check "the microphone is told" reads label Microphone tavrin_microphone
  check "the speaker is told" reads label Speaker tavrin_speaker
  everything_has_a_name idle
  tab_follows_reading idle
}

start_by_tab() {
  tab_to "Start Recording"
  press space
  check "the start button starts" button Pause
  check "the status says so" eye has label Recording
  check "the focus goes on to the button in its place" button Pause STATE=focused
  check "Stop is there" button Stop
  check "Start Recording is gone" no_button "Start Recording"
}

elapsed() { eye text label "Elapsed time" | grep -m 1 -E '^[0-9]+:[0-9]{2}(:[0-9]{2})?$'; }
elapsed_goes_on() {
  local before after
  before=$(elapsed) || { fault "the elapsed time cannot be read"; return; }
  sleep 2.2
  after=$(elapsed)
  if [ "$before" != "$after" ]; then echo "ok     the elapsed time runs ($before, $after)"; else fault "the elapsed time stands at $after"; fi
}
elapsed_stands() {
  local before after
  before=$(elapsed) || { fault "the elapsed time cannot be read"; return; }
  sleep 2.2
  after=$(elapsed)
  if [ "$before" = "$after" ]; then echo "ok     the elapsed time stands ($after)"; else fault "the elapsed time runs while paused"; fi
}

level() { eye text "progress bar" "$1" | grep -m 1 -E '^[0-9.]+$'; }
# Distinct values of a meter while sound plays, then its rest.
meters_move() {
  local name values=() others=() player speaker
  sound_play_microphone tavrin_microphone "$SOUND_FOLDER/me.wav" & player=$!
  sound_play_speaker tavrin_speaker "$SOUND_FOLDER/them.wav" & speaker=$!
  while kill -0 "$player" 2>/dev/null; do
    values+=("$(level 'Level of your microphone' || echo none)")
    others+=("$(level 'Level of the other participants' || echo none)")
  done
  wait "$player" "$speaker" || true
  judge_meter "your microphone" "${values[@]}"
  judge_meter "the other participants" "${others[@]}"
  for name in 'Level of your microphone' 'Level of the other participants'; do
    check "\"$name\" rests in silence" is_level "$name" 0
  done
}
is_level() { [ "$(level "$1")" = "$2" ]; }
judge_meter() {
  local name=$1 kinds
  shift
  kinds=$(printf '%s\n' "$@" | sort -n | uniq | grep -cv none || true)
  if [ "$kinds" -ge 4 ]; then echo "ok     the meter of $name moved through $kinds values"
  else fault "the meter of $name had only $kinds values: $(printf '%s\n' "$@" | sort | uniq -c | tr '\n' ' ')"; fi
}

title_by_keyboard() {
  tab_to "Title of the meeting" shift+Tab
  xdotool type --delay 15 "Shelves and prices"
  press Return
  check "the title is as typed" reads text "Title of the meeting" "Shelves and prices"
}

title_is_kept() { grep -q "Shelves and prices" "$(meeting_file checkpoint.json)"; }

transcript() { eye text "document frame" Transcript || eye text document Transcript; }
transcript_says() { transcript | grep -qiF -- "$1"; }
transcript_is_read() {
  check "the transcript tells what I said" transcript_says "$1"
  check "the transcript tells what they said" transcript_says "$2"
}

words_by_keyboard() {
  tab_to Transcript
  press ctrl+Right
  check "the arrow keys lead to a word" stands_on_word
  press Return
  check "Enter opens the correction beside it" eye has text "What was heard"
  check "and the word stands in it" holds_word
  check "the focus waits for the right word" eye has text "What it should be" STATE=focused
  everything_has_a_name "the correction"
  press Escape
  check "Esc closes it" lacks text "What was heard"
  check "the focus is back" focus_is_on Transcript
  press ctrl+f
  check "Ctrl+F opens the search" eye has text "Find in the transcript" STATE=focused
  xdotool type --delay 15 "$1"
  check "the search counts" reads text "Find in the transcript" "1 of "
  press Escape
  check "Esc closes the search" lacks text "Find in the transcript"
  check "the place of a word on the screen is told" eye word Transcript "$1"
}
stands_on_word() { word=$(eye caret Transcript | head -n 1) && [ -n "$word" ]; }
holds_word() { reads text "What was heard" "$word"; }
focus_is_on() { eye focused | grep -qE "\|$1\$"; }

pause_and_resume() {
  press ctrl+p
  check "Ctrl+P pauses" button Resume
  check "the status says so" eye has label Paused
  check "Pause is gone" no_button Pause
  check "the title is kept" title_is_kept
  check "the meters are gone" lacks "progress bar" "Level of your microphone"
  elapsed_stands
  everything_has_a_name paused
  press ctrl+p
  check "Ctrl+P goes on" button Pause
  check "the meters are back" eye has "progress bar" "Level of your microphone"
  elapsed_goes_on
}

stop_and_quit() {
  press ctrl+r
  check "Ctrl+R stops" button New
  check "the transcript can be exported" button Export
  await 30 says_since "status: Idle" || fault "the meeting does not come to an end"
  check "the status says so" eye has label Idle
  transcript_is_read "$1" "$2"
  everything_has_a_name "a meeting that has ended"
  tab_follows_reading "a meeting that has ended"
  press ctrl+q
  check "Ctrl+Q ends the program" sound_is_gone "$program_pid"
}

walk() {
  sound_start "$kind" "$folder" && start_screen && sound_spawn openbox openbox && install_program "$TAVRIN_MODELS" || return 1
  sound_until 5 has_window_manager || { fault "no window manager"; return 1; }
  make_speech
  start_program QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1 LANGUAGE=C || return 1
  program_pid=$(cat "$SOUND_FOLDER/pids/program")
  idle_page
  mark
  start_by_tab
  await 40 says_recording || fault "the meeting does not go live"
  everything_has_a_name recording
  tab_follows_reading recording
  elapsed_goes_on
  timeout 60 "$eye_program" "$program_pid" hears Transcript "$their_word" >/dev/null & ear=$!
  meters_move
  title_by_keyboard
  transcript_is_read "$my_word" "$their_word"
  if wait "$ear"; then echo "ok     a new line is told as it comes"; else fault "no new line is told"; fi
  words_by_keyboard "$my_word"
  pause_and_resume
  stop_and_quit "$my_word" "$their_word"
}
says_recording() { tail -n "+$marked" "$SOUND_FOLDER/program.log" | grep -q 'status: Recording$'; }
has_window_manager() { xprop -root _NET_SUPPORTING_WM_CHECK | grep -q 'window id'; }

clean_up() {
  stop_program "$folder"
  sound_use "$folder" && sound_end TERM openbox || true
  if [ "$faults" = 0 ]; then rm -rf "$folder"; else echo "the logs lie in $folder"; fi
}

folder=$(mktemp -d "${TMPDIR:-/tmp}/tavrin-walk.XXXXXX")
trap clean_up EXIT
begin=$SECONDS
walk || faults=$((faults + 1))
echo "$faults faults in $((SECONDS - begin)) s"
[ "$faults" = 0 ]
