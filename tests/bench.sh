# Sourced by ./tavrin after set-up: measures. Takes accuracy, lane, quiet, echo, speech, growth, text or meeting, or nothing for all;
# "growth --long" adds three hours. Fails if a bar is not held.
# Reads: cache, python, runtime, models, and the script's functions.

material=$cache/speech
pack=$models/openai_whisper-base
quietly "Making speech for the benchmarks" tests/material.sh "$material"
build release tavrin-bench

# measure NAME [OPTION]...: one benchmark with what all of them take.
measure() {
  printf '\n==== %s ====\n' "$1"
  "build/release/bin/tavrin-bench" "$@" --pack "$pack" --speech "$material" --sentences tests/data/sentences.txt
}

# benchmark NAME [OPTION]...: what it needs, then the benchmark.
benchmark() {
  case $1 in
    accuracy)
      speech_model "$cache/models-full/openai_whisper-base" --precision full &&
        measure accuracy --full "$cache/models-full/openai_whisper-base" ;;
    speech)
      quietly "Making the graphs of the machine's limits" "$python" tools/models/limits.py "$pack" --out "$cache/limits-base" &&
        measure speech --limits "$cache/limits-base" ;;
    lane | quiet | echo) measure "$1" ;;
    growth) measure "$@" ;;
    text)
      printf '\n==== text ====\n'
      build/release/bin/tavrin-bench text ;;
    meeting)
      build release tavrin-assistant tavrin-meeting-bench
      printf '\n==== meeting ====\n'
      TAVRIN_MODELS=$models tools/bench/meeting.sh "${@:2}" ;;
    *) die "bench takes accuracy, lane, quiet, echo, speech, growth, text or meeting" ;;
  esac
}

if [ $# -gt 0 ]; then
  benchmark "$@"
else
  say "Other programs that compute now make the figures worse; the load is $(cut -d' ' -f1 /proc/loadavg)."
  missed=0
  for name in accuracy lane quiet echo speech growth text meeting; do benchmark "$name" || missed=$((missed + 1)); done
  [ "$missed" = 0 ] || die "$missed of 8 benchmarks did not hold their bars"
fi
