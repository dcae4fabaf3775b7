# Sourced by ./tavrin after set-up: builds with sanitizers and runs every test. Says how many passed.
# Reads: cache, python, runtime, models, and the script's functions.

long=${1:-}
material=$cache/speech
quietly "Making speech and noise for the tests" tests/material.sh "$material"
speech_weights
speech_model "$cache/models-full/openai_whisper-base" --precision full

export TAVRIN_TEST_MODEL=$models/openai_whisper-base
export TAVRIN_TEST_FULL_MODEL=$cache/models-full/openai_whisper-base
export TAVRIN_TEST_DATA=$PWD/tests/data
export TAVRIN_TEST_CLIPS=/usr/share/pocketsphinx/test/data
export TAVRIN_TEST_SPEECH=$material
export TAVRIN_TEST_LONG=$long
export TAVRIN_WHEELS=$wheels
export TAVRIN_TEST_PYTHON=$python

build release all
build asan unit_tests fuzzers
build tsan thread_tests

results=$(mktemp -d "${TMPDIR:-/tmp}/tavrin-test.XXXXXX")
# what_failed LOG: what the tests in it say was wrong, or its end.
what_failed() {
  grep -hE -A 6 ': Failure$|ERROR: [A-Z][a-z]+Sanitizer|runtime error:|\*\*\*(Failed|Timeout)' "$1" ||
    grep -h -A 30 '^FAILED' "$1" || tail -n 40 "$1"
}
# suite NAME COMMAND...: one line per suite, its output only if it fails.
suite() {
  local name=$1 log begin=$SECONDS
  shift
  log=$(mktemp "$results/log.XXXXXX")
  if "$@" >"$log" 2>&1; then
    echo "$name" >>"$results/passed"
    say "ok      $name ($((SECONDS - begin)) s)"
  else
    echo "$name" >>"$results/failed"
    say "FAILED  $name ($((SECONDS - begin)) s)"
    what_failed "$log" | head -n 40 | tee -a "$results/why" >&2 || true
  fi
}

export ASAN_OPTIONS=detect_leaks=1:strict_string_checks=1 UBSAN_OPTIONS=print_stacktrace=1 TSAN_OPTIONS=halt_on_error=1:suppressions=$PWD/tests/tsan.supp

# What computes.
calculating() {
  local fuzzer
  suite "edges between folders" python3 tests/edges.py
  suite "unit tests, address and undefined behaviour" ctest --test-dir build/asan -L unit -j "$(nproc)" --output-on-failure
  suite "unit tests, threads" ctest --test-dir build/tsan -L threads -j "$(nproc)" --output-on-failure
  for fuzzer in build/asan/bin/*_fuzzer; do
    suite "fuzzing: $(basename "$fuzzer")" tests/fuzz.sh "$fuzzer" "${long:+300}"
  done
  suite "model tools" "$python" tools/models/test_packs.py
  suite "fuzzing: weight files" "$python" tools/models/fuzz_weights.py "${long:+300}"
  suite "recognition with real models" ctest --test-dir build/release -L models --output-on-failure
  suite "the command line" tests/transcribe/command_line.sh build/release/bin/tavrin-transcribe
}

# What mostly waits, for sound that is played and windows that open.
waiting() {
  suite "microphone and system sound on real servers" tests/sound/run.sh build/release/bin/sound_contract_test
  suite "secrets, power and notifications with real services" ctest --test-dir build/release -L desktop --output-on-failure
  suite "the meeting by keyboard, as a screen reader sees it" tests/desktop/meeting_walk.sh pipewire
  suite "the program in bad circumstances, on PulseAudio" tests/program/run.sh ${long:+--long} --kind pulseaudio
}
living() { suite "the program in bad circumstances, on PipeWire" tests/program/run.sh ${long:+--long} --kind pipewire; }

# Side by side; what computes stands back.
for lane in calculating waiting living; do
  ([ "$lane" != calculating ] || renice -n 10 "$BASHPID" >/dev/null; "$lane"; touch "$results/ended-$lane") &
done
wait
count() { if [ -e "$results/$1" ]; then wc -l <"$results/$1"; else echo 0; fi; }
passed=$(count passed) failed=$(count failed)
echo "$passed passed, $failed failed"
[ ! -e "$results/failed" ] || sed 's/^/  failed: /' "$results/failed"
[ ! -s "$results/why" ] || cat "$results/why"
complete=no
[ "$(find "$results" -name 'ended-*' | wc -l)" != 3 ] || complete=yes
rm -rf "$results"
[ "$failed" = 0 ] && [ "$complete" = yes ]
