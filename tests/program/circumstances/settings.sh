# What an earlier run, an earlier version, or somebody else left for the start.

preferences_file() { echo "$XDG_CONFIG_HOME/so.tavrin.TavrinAssistant/preferences.json"; }
# holds_preference KEY JSON
holds_preference() {
  python3 - "$(preferences_file)" "$1" "$2" <<'PY'
import json, sys
found = json.load(open(sys.argv[1], encoding="utf-8")).get(sys.argv[2])
if found != json.loads(sys.argv[3]):
    sys.exit(f"{sys.argv[2]} is {found}, not {sys.argv[3]}")
PY
}

# A meeting of the former program that was cut off, with one line.
make_former_meeting() {
  local id=11111111-2222-3333-4444-555555555555 seconds
  seconds=$(($(date +%s) - 978307200 - 600))
  printf '{"meetingID":"%s","startedAt":%s,"durationSeconds":60,"title":"Former meeting","segments":[],"updatedAt":%s}' \
    "$id" "$seconds" "$seconds" >"$1/$id-checkpoint.json"
  printf '{"speakerLabel":"Me","text":"a line of the former program","date":%s}\n' "$seconds" >"$1/$id-segments.jsonl"
}

former_program_taken_over() {
  local former=$XDG_CONFIG_HOME/so.nimbrel.LorvexAssistant data=$XDG_DATA_HOME/LorvexAssistant before
  mkdir -p "$former" "$data/Notes" "$data/Recordings" "$data/Activity" "$(data_folder)/Notes"
  echo mine >"$data/Notes/note.json"
  make_former_meeting "$data/Recordings"
  cat >"$former/preferences.json" <<'JSON'
{"lorvex.dictationPasteDirectly": false, "lorvex.apiBaseURL": "https://app.lorvex.example/",
 "lorvex.dictationSaveHistoryToTavrin": true, "lorvex.dictationSaveHistoryToLorvex": false}
JSON
  printf '{"tavrin.dictationHotkey": "fn"}' >"$(preferences_file)"
  before=$(sha256sum <"$former/preferences.json")
  started_program
  await 5 says_since "restored a meeting with 1 lines"
  awaits_shown 10 "Brought back from the last time the program ran."
  quit_program
  holds_preference tavrin.didMigrateFromLorvexIdentity true
  holds_preference tavrin.dictationPasteDirectly false
  holds_preference tavrin.dictationSaveHistoryToTavrin false
  holds_preference tavrin.dictationHotkey '"fn"'
  holds_preference tavrin.apiBaseURL '"https://app.tavrin.example"'
  [ "$(sha256sum <"$former/preferences.json")" = "$before" ] || fail "the former preferences were changed"
  # A folder that both have is nobody's to merge.
  test -s "$data/Notes/note.json"
  test -d "$(data_folder)/Activity"
  test ! -e "$data/Activity"
  rm -rf "$former" "$data"
}

damaged_preferences() {
  printf '{"tavrin.dictationHotkey": "fn", "tavrin.lastCli' >"$(preferences_file)"
  started_program
  quit_program
  test -s "$(preferences_file)"
  grep -q 'lastCli$' "$(preferences_file).damaged" || fail "the damaged file is not kept"
  holds_preference tavrin.didMigrateFromLorvexIdentity true
}

# An address for the program, given to a second start, and to the first one.
address_opened() {
  started_program
  mark
  "$program" "tavrinassistant://connect?code=secret-code" "tavrinassistant://second"
  await 5 says_since "an address of the scheme \"tavrinassistant\" was opened"
  quit_program
  started_program
  ! grep -q secret-code "$SOUND_FOLDER/program.log" || fail "the log holds what an address carries"
}
