# Starts, ends and sudden deaths.

second_start() {
  local from first
  started_program
  first=$(program_pid)
  close_window
  from=$(now)
  timeout 10 "$program"
  at_most "the second start" "$(calculate "$(now) - $from")" 3 s
  sound_until 5 window_is_there || fail "the window is not raised"
  [ "$(program_pid)" = "$first" ]
  lives
  if DBUS_SESSION_BUS_ADDRESS=unix:path=$XDG_RUNTIME_DIR/none timeout 10 "$program" 2>"$SOUND_FOLDER/second.log"; then
    fail "without a session bus a second one runs"
  fi
  grep -q "is running already" "$SOUND_FOLDER/second.log"
  lives
  quit_program
}

# From a terminal that belongs to no desktop.
no_screen() {
  local status=0
  env -u DISPLAY -u WAYLAND_DISPLAY timeout 10 "$program" 2>"$SOUND_FOLDER/second.log" || status=$?
  [ "$status" = 1 ] || fail "it ends with $status"
  grep -q "needs a desktop" "$SOUND_FOLDER/second.log"
}

# A desktop that starts its tray after the program: the icon comes, tells of the recording, and brings the window back.
tray_comes_later() {
  local icon idle
  started_program
  close_window
  sound_spawn player-tray trayer --expand true
  sound_until 5 tray_icon || fail "the tray has no icon"
  icon=$(tray_icon)
  idle=$(picture_of "$icon")
  begin_meeting
  sound_until 5 looks_other_than "$icon" "$idle" || fail "the icon does not tell of the recording"
  xdotool mousemove --window "$icon" 8 8 click 1
  sound_until 5 window_is_there || fail "a click on the icon does not open the window"
  end_meeting
  quit_program
}
tray_icon() { xdotool search --onlyvisible --classname tavrin-assistant; }
picture_of() { import -window "$1" rgb:- | sha256sum; }
looks_other_than() { [ "$(picture_of "$1")" != "$2" ]; }

# What the desktop's menu of actions starts: a recording, in the program that runs or in a new one.
recording_by_option() {
  local first
  mark
  sound_spawn program "$program" --start-recording
  await 40 says_recording
  first=$(program_pid)
  [ "$(stat -c %a "$(data_folder)/running.lock")" = 600 ] || fail "others may read the lock"
  end_meeting
  mark
  timeout 10 "$program" --start-recording
  await 30 says_since "status: Recording"
  [ "$(program_pid)" = "$first" ]
  end_meeting
  refuses_option --record
  quit_program
  refuses_option --record
}
refuses_option() {
  local status=0
  timeout 10 "$program" "$1" 2>"$SOUND_FOLDER/second.log" || status=$?
  [ "$status" = 2 ] || fail "an unknown option ends it with $status"
  grep -qF "unknown option \"$1\"" "$SOUND_FOLDER/second.log"
}

# Seconds since the moment at which the log has told of the running capture.
capture_began() {
  local line
  line=$(tail -n "+$marked" "$SOUND_FOLDER/program.log" | grep -m 1 "awaiting IOProc callbacks")
  date -d "${line:0:23}" +%s.%N
}

play_speech() {
  make_material
  sound_spawn player-me paplay --device=tavrin_microphone_feed --latency-msec=200 \
    --property=node.link-group=tavrin_microphone "$material/speech.wav"
  sound_spawn player-them paplay --device=tavrin_speaker --latency-msec=200 "$material/speech.wav"
}

# Lines of the segments log that are whole.
whole_lines() {
  python3 - "$1" <<'PY'
import json, pathlib, sys
path, whole = pathlib.Path(sys.argv[1]), 0
for line in path.read_bytes().split(b"\n") if path.exists() else []:
    try:
        whole += "text" in json.loads(line)
    except ValueError:
        pass
print(whole)
PY
}
restored_lines() { tail -n "+$marked" "$SOUND_FOLDER/program.log" | sed -n 's/.*restored a meeting with \([0-9]*\) lines.*/\1/p'; }

sounds_of_all() { (cd "$(recordings)" && sha256sum -- *.pcm); }

# The next start finds the meeting with its lines, and no sound of any meeting is gone.
judge_restored() {
  local written sounds
  written=$(whole_lines "$(meeting_file segments.jsonl)")
  sounds=$(sounds_of_all)
  [ -z "$(find "$(recordings)" -type f ! -perm 600)" ] || fail "others may read files of the meeting"
  start_program
  await 20 says_since "restored a meeting with"
  tell "restored $(restored_lines) lines of $written"
  [ "$(restored_lines)" -ge "$written" ]
  [ "$(sounds_of_all)" = "$sounds" ] || fail "the next start has changed sound that was there"
}

# At most a second of each lane is lost, and what is there is sound: judge_sound MOMENT-OF-DEATH MOMENT-OF-BEGIN
judge_sound() {
  local lane
  for lane in me them; do
    at_most "the end of $lane that is not in the file" "$(calculate "$1 - $2 - $(lane_seconds "$lane")")" 1 s
    [ $(($(lane_bytes "$lane") % 2)) = 0 ] || tell "the last sample of $lane is cut, as a crash may do"
    ! holds "$(lane_seconds "$lane") > 3" || lanes sounds "$(meeting_file "$lane.pcm")"
  done
}

killed_at_random() {
  local times=8 number begun died
  [ -z "$TAVRIN_TEST_LONG" ] || times=50
  play_speech
  start_program
  for ((number = 1; number <= times; ++number)); do
    ! sound_is_gone "$(cat "$SOUND_FOLDER/pids/player-me")" || play_speech
    begin_meeting
    begun=$(capture_began)
    # Mostly within the first seconds; now and then while lines are being written.
    if [ $((number % 4)) = 0 ]; then await 30 test -s "$(meeting_file segments.jsonl)"; else sleep 0.5; fi
    sleep "$(awk "BEGIN { srand($RANDOM); printf \"%.2f\", 7.5 * rand() }")"
    kill -KILL "$(program_pid)"
    died=$(now)
    tell "killed $(calculate "$died - $begun") s after capture began"
    judge_sound "$died" "$begun"
    judge_restored
  done
  [ "$(find "$(recordings)" -name '*-me.pcm' | wc -l)" = "$times" ] || fail "the sound of an earlier meeting is gone"
}

# Asked to end in the middle of a meeting, by the desktop or by its own action.
ended_while_recording() {
  local how pid begun died
  play_speech
  start_program
  for how in quit SIGTERM; do
    begin_live_meeting
    begun=$(capture_began)
    sleep 6
    pid=$(program_pid)
    died=$(now)
    if [ "$how" = quit ]; then act quit; else kill -TERM "$pid"; fi
    sound_until 10 sound_is_gone "$pid" || fail "the program does not end"
    at_most "the end by $how" "$(calculate "$(now) - $died")" 3 s
    judge_sound "$died" "$begun"
    judge_restored
  done
}
