#!/usr/bin/env bash
# Gives the transcribe program good and bad input as a user would: command_line.sh PROGRAM
# Needs TAVRIN_TEST_MODEL and TAVRIN_TEST_SPEECH.
set -euo pipefail
program=$(readlink -f "$1")
model=$TAVRIN_TEST_MODEL
speech=$TAVRIN_TEST_SPEECH/human/sense_and_sensibility_01_austen_64kb-0880.wav
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
faults=0

fault() { echo "FAULT: $*"; faults=$((faults + 1)); }
# expect NAME STATUS OUT-PATTERN ERR-PATTERN ARGUMENT...: an empty pattern stands for no output at all.
expect() {
  local name=$1 status=$2 out=$3 err=$4 got=0
  shift 4
  timeout 120 "$program" --model "$model" "$@" >out 2>err </dev/null || got=$?
  [ "$got" = "$status" ] || fault "$name: exit status $got instead of $status; $(head -c 300 err)"
  matches "$out" out || fault "$name: printed \"$(head -c 300 out)\""
  matches "$err" err || fault "$name: said \"$(head -c 300 err)\""
}
matches() { if [ -z "$1" ]; then [ ! -s "$2" ]; else grep -qE -- "$1" "$2"; fi; }

sentence='^He was not an ill-disposed young man\.$'

# Good input, in all shapes.
expect "a file" 0 "$sentence" "" "$speech"
expect "two files" 0 '^== .*0880.wav ==$' "" "$speech" "$speech"
sox "$speech" -r 8000 -e unsigned -b 8 eight.wav
expect "8 bits at 8 kHz" 0 'young man' "" eight.wav
sox "$speech" -r 96000 -b 24 -c 6 surround.wav
expect "5.1 at 96 kHz" 0 'young man'  "" surround.wav
sox "$speech" speech.flac
expect "FLAC" 0 "$sentence" "" speech.flac
sox "$speech" speech.ogg
expect "Ogg" 0 'young man' "" speech.ogg
sox "$speech" -e floating-point -b 32 float.wav
expect "floating point" 0 "$sentence" "" float.wav
expect "SRT" 0 '^00:00:0[0-9],[0-9]{3} --> 00:00:0[0-9],[0-9]{3}$' "" --format srt "$speech"
expect "VTT" 0 '^WEBVTT$' "" --format vtt "$speech"
expect "JSON with words" 0 '"word": "young"' "" --format json --words "$speech"
python3 -c 'import json,sys; d=json.load(open("out")); assert len(d["segments"][0]["words"]) == 7 and d["language"] == "en", d' || fault "the JSON"
timeout 120 "$program" --model "$model" - <"$speech" >out 2>err || fault "standard input: $(cat err)"
matches "$sentence" out || fault "standard input: $(cat out)"
sox -n -r 16000 -c 1 -b 16 silence.wav trim 0 20
expect "silence" 0 "" "" silence.wav
sox -n -r 16000 -c 1 -b 16 click.wav synth 0.001 square 1 pad 2 2
expect "one click" 0 "" "" click.wav
sox -n -r 16000 -c 1 -b 16 none.wav trim 0 0
expect "a file of no samples" 0 "" "" none.wav
# Floats that are no numbers and huge ones.
python3 - <<'PY'
import math, struct
samples = [math.nan, 1e38, -1e38, math.inf] * 16000
data = struct.pack(f"<{len(samples)}f", *samples)
open("wild.wav", "wb").write(b"RIFF" + struct.pack("<I", 36 + len(data)) + b"WAVEfmt " +
                             struct.pack("<IHHIIHH", 16, 3, 1, 16000, 64000, 4, 32) + b"data" + struct.pack("<I", len(data)) + data)
PY
expect "NaN and huge samples" 0 "" "" wild.wav

# Bad input: an error with the file's name, exit status 1.
: >empty.wav
expect "an empty file" 1 "" 'empty\.wav: not an audio or video file' empty.wav
echo "not sound at all" >text.wav
expect "text" 1 "" 'text\.wav: ' text.wav
head -c 4000 /dev/urandom >noise.mp3
expect "random bytes" 1 "" 'noise\.mp3: ' noise.mp3
expect "no such file" 1 "" 'missing\.wav: No such file' missing.wav
expect "a folder" 1 "" 'tavrin transcribe: \.: ' .
head -c 60000 "$speech" >cut.wav
expect "a file cut off" 1 '^He was' 'cut\.wav: the file is cut off: its last 35724 bytes' cut.wav
head -c 10000 speech.flac >cut.flac
expect "a FLAC file cut off" 1 'He was' 'cut\.flac: ' cut.flac
printf 'P6 2 2 255\n............' >picture.ppm
expect "a picture" 1 "" 'picture\.ppm: it has no sound' picture.ppm
expect "a bad and a good file" 1 'young man' 'missing\.wav' missing.wav "$speech"
printf '#EXTM3U\n#EXTINF:9,\nhttp://127.0.0.1:9/x.wav\n' >list.m3u8
expect "a list that points to the network" 1 "" 'list\.m3u8: ' list.m3u8

# Arguments that make no sense: exit status 2.
expect "no file" 2 "" 'no file given'
expect "unknown option" 2 "" 'unknown option "--what"' --what "$speech"
expect "unknown format" 2 "" '--format is' --format doc "$speech"
expect "threads" 2 "" '--threads takes' --threads none "$speech"
expect "a language that the model has not" 1 "" 'knows no language "xx"' --language xx "$speech"

# Broken models.
got=0
env -i HOME="$work" "$program" "$speech" >out 2>err || got=$?
[ "$got" = 1 ] && matches 'Speech model is not installed\.' err || fault "no model: $got $(cat err)"
broken() {
  local name=$1 pattern=$2
  expect "$name" 1 "" "$pattern" --model "$work/model" "$speech"
  rm -rf "$work/model"
}
copy() { cp -r "$model" "$work/model"; chmod -R u+w "$work/model"; }
copy; rm model/AudioEncoder.onnx; broken "no encoder" 'model/AudioEncoder\.onnx: no such file'
copy; rm model/SpeechGate.onnx; broken "no voice activity" 'model/SpeechGate\.onnx: no such file'
copy; rm model/TextDecoder.onnx.data; broken "no weights" 'model/TextDecoder\.onnx'
copy; truncate -s 1000 model/TextDecoder.onnx; broken "a truncated graph" 'model/TextDecoder\.onnx: '
copy; truncate -s 1000000 model/AudioEncoder.onnx.data; broken "truncated weights" 'model/AudioEncoder\.onnx: '
copy; cp model/AudioEncoder.onnx model/TextDecoder.onnx; broken "a foreign graph" 'model/TextDecoder\.onnx: '
copy; echo garbage >model/tokenizer.json; broken "a garbage tokenizer" 'model/tokenizer\.json: '
copy; echo '{}' >model/config.json; broken "an empty configuration" 'model/config\.json: '
copy; sed -i 's/51865/51864/' model/config.json; broken "a configuration of another variant" 'model/'
expect "a model folder that is none" 1 "" 'config\.json' --model "$work/" "$speech"

# No memory for the model.
got=0
(ulimit -v 300000; exec timeout 60 "$program" --model "$model" "$speech") >out 2>err || got=$?
[ "$got" = 1 ] && [ -s err ] && [ ! -s out ] || fault "no memory: exit status $got, $(cat err)"

[ "$faults" = 0 ] || { echo "$faults faults"; exit 1; }
echo "the command line behaves"
