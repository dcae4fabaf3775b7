# Sourced by the demonstration and by tests: the real program on private sound services, a private session bus and a
# screen in memory. After sound_start KIND FOLDER:
#
#   start_screen                a screen, and a session bus where there is none yet
#   install_program MODELS      the speech model and a token, where the program looks for them
#   start_program [NAME=VALUE]...   the program itself; returns when its window is up
#   act ACTION                  start-recording, pause, resume, stop or quit, by the desktop's own interface
#   mark; says_since TEXT       whether the log has such a line since the last mark
#   await SECONDS COMMAND...    tries until it succeeds; else tells the end of the log and fails
#   begin_meeting, end_meeting  the actions, with waiting for what they lead to
#   meeting_file NAME           a file of the newest meeting, such as me.pcm
#   stop_program FOLDER         ends everything that was started
# shellcheck source=tools/sound/services.sh
. tools/sound/services.sh

program=$PWD/${TAVRIN_BUILD:-build/release}/bin/tavrin-assistant

start_screen() {
  [ -S "$XDG_RUNTIME_DIR/bus" ] || {
    sound_spawn dbus dbus-daemon --session --nofork --nopidfile "--address=$DBUS_SESSION_BUS_ADDRESS"
    sound_until 5 test -S "$XDG_RUNTIME_DIR/bus" || { sound_fail "the bus does not come up"; return 1; }
  }
  sound_spawn screen Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3>"$SOUND_FOLDER/display"
  sound_until 10 test -s "$SOUND_FOLDER/display" || { sound_fail "no screen comes up"; return 1; }
  DISPLAY=:$(cat "$SOUND_FOLDER/display")
  export DISPLAY
}

install_program() {
  local data=$XDG_DATA_HOME/TavrinAssistant configuration=$XDG_CONFIG_HOME/so.tavrin.TavrinAssistant
  mkdir -p -m 700 "$data/OnDeviceModels" "$configuration"
  ln -sfn "$1/openai_whisper-base" "$data/OnDeviceModels/openai_whisper-base"
  printf '{"so.tavrin.TavrinAssistant": {"TavrinAPIToken": "tavrin_demo"}}\n' >"$configuration/credentials.json"
  chmod 600 "$configuration/credentials.json"
}

log_lines() { cat "$SOUND_FOLDER/program.log" 2>/dev/null | wc -l; }
mark() { marked=$(($(log_lines) + 1)); }
says_since() { tail -n "+$marked" "$SOUND_FOLDER/program.log" | grep -qF -- "$1"; }
await() {
  sound_until "$@" && return 0
  echo "\"${*:2}\" did not come within $1 s; the log ends with" >&2
  tail -n 20 "$SOUND_FOLDER/program.log" >&2
  return 1
}

start_program() {
  mark
  sound_spawn program env "TAVRIN_HEARTBEAT=$SOUND_FOLDER/heartbeat.txt" "$@" "$program"
  await 20 says_since "the window is up"
}

act() {
  gdbus call --session --timeout 5 --dest so.tavrin.TavrinAssistant --object-path /so/tavrin/TavrinAssistant \
    --method org.freedesktop.Application.ActivateAction "$1" '[]' '{}' >/dev/null
}

begin_meeting() {
  mark
  act start-recording && await 30 says_since "status: Recording" && await 30 says_since "awaiting IOProc callbacks"
}
end_meeting() {
  mark
  act stop && await 60 says_since "status: Idle"
}

recordings() { echo "$XDG_DATA_HOME/TavrinAssistant/Recordings"; }
meeting_file() {
  local checkpoint
  checkpoint=$(find "$(recordings)" -name '*-checkpoint.json' -printf '%T@ %p\n' 2>/dev/null | sort -n | tail -n 1 | cut -d' ' -f2-)
  echo "${checkpoint%checkpoint.json}$1"
}

stop_program() {
  sound_use "$1" || return 0
  sound_end TERM program screen
  sound_stop "$1" || true
}
