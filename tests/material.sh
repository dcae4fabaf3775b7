#!/usr/bin/env bash
# Makes the speech and the noises of the tests and benchmarks: material.sh FOLDER. Repeatable; made once per version.
#   clean/NN.wav, pink15/NN.wav   the sentences of data/sentences.txt, by three voices; with pink noise at 15 dB
#   human/NAME.wav, human/NAME.txt  recorded speech with its words
#   noise/NAME.wav                ten minutes each without a word
#   words/NAME.wav                single short words
#   languages/CODE.wav            a sentence in another language
#   mixed/NAME.wav                two sentences with such a sound before, between, behind and under them
set -euo pipefail
folder=$1
here=$(cd "$(dirname "$0")" && pwd)
version=$(cat "$here/material.sh" "$here/data/sentences.txt" | sha256sum | cut -c1-16)
[ "$(cat "$folder/version" 2>/dev/null)" != "$version" ] || exit 0
part=$folder.part
rm -rf "$part"
mkdir -p "$part"/{clean,pink15,human,words,languages,noise,mixed}
cd "$part"
format=(-r 16000 -c 1 -b 16)

sentences() {
  local voices=(slt rms awb) number=0 sentence name
  while read -r sentence; do
    name=$(printf '%02d' "$number")
    flite -voice "${voices[number % 3]}" -t "$sentence" -o spoken.wav
    sox spoken.wav "${format[@]}" "clean/$name.wav" norm -3
    # Noise at 15 dB below the speech's mean power.
    local level
    level=$(sox "clean/$name.wav" -n stat 2>&1 | awk '/RMS.*amplitude/ { print $3 }')
    sox -R -n "${format[@]}" hiss.wav synth "$(soxi -D "clean/$name.wav")" pinknoise
    local hiss
    hiss=$(sox hiss.wav -n stat 2>&1 | awk '/RMS.*amplitude/ { print $3 }')
    sox -m -v 1 "clean/$name.wav" -v "$(awk "BEGIN { print $level / $hiss * 10 ^ (-15 / 20) }")" hiss.wav "${format[@]}" "pink15/$name.wav"
    number=$((number + 1))
  done <"$here/data/sentences.txt"
}

recorded() {
  local data=/usr/share/pocketsphinx/test/data file name
  for file in "$data"/librivox/*.wav "$data"/cards/*.wav; do
    name=$(basename "$file" .wav)
    sox "$file" "${format[@]}" "human/$name.wav"
    cat "$data"/librivox/transcription "$data"/cards/cards.transcription |
      sed -n "s/^<s> *\(.*[^ ]\) *<\/s> *($name)\$/\1/p" >"human/$name.txt"
  done
  sox -t raw -r 16000 -e signed -b 16 -c 1 "$data/goforward.raw" human/goforward.wav
  echo "go forward ten meters" >human/goforward.txt
  sox -t raw -r 16000 -e signed -b 16 -c 1 "$data/something.raw" human/something.wav
  echo "go somewhere and do something" >human/something.txt
}

short() {
  local word voice
  for word in yes no okay hello stop thanks right sure maybe hi; do
    for voice in slt rms; do
      flite -voice "$voice" -t "$word" -o spoken.wav
      sox spoken.wav "${format[@]}" "words/$word-$voice.wav" norm -6
    done
  done
  espeak-ng -v de -s 140 -w spoken.wav "Guten Morgen, wir haben heute leider nicht genug Zeit, um alle Fragen zu beantworten."
  sox spoken.wav "${format[@]}" languages/de.wav norm -3
}

# Sounds without speech, SECONDS long, into FOLDER; several levels follow one another in each.
noises() {
  local seconds=$1 to=$2 third=$(($1 / 3)) name level
  sox -R -n "${format[@]}" "$to/silence.wav" trim 0 "$seconds" 2>/dev/null || sox -n "${format[@]}" "$to/silence.wav" synth "$seconds" sine 0 vol 0
  for name in white pink brown; do
    local parts=()
    for level in -40 -20 -6; do
      sox -R -n "${format[@]}" "$name$level.wav" synth "$third" "${name}noise" gain "$level"
      parts+=("$name$level.wav")
    done
    sox "${parts[@]}" "$to/$name.wav"
  done
  local parts=()
  for level in -40 -20 -6; do
    sox -n "${format[@]}" "hum$level.wav" synth "$third" sine 50 synth sine mix 100 synth sine mix 150 gain -n "$level"
    # A chord of three notes every two seconds, struck and fading.
    sox -n "${format[@]}" chord.wav synth 2 pluck C4 synth pluck mix E4 synth pluck mix G4 fade t 0.01 2 0.8 gain -n "$level"
    sox chord.wav "${format[@]}" "chords$level.wav" repeat $((third / 2 - 1))
    # Clicks of a keyboard at uneven distances.
    sox -R -n "${format[@]}" click.wav synth 0.012 whitenoise highpass 1500 fade t 0 0.012 0.010 gain -n "$level"
    sox click.wav "${format[@]}" word.wav pad 0 0.11 repeat 4
    sox click.wav "${format[@]}" pause.wav pad 0.3 0.27
    sox word.wav pause.wav word.wav word.wav pause.wav pause.wav "${format[@]}" typing.wav
    sox typing.wav "${format[@]}" "clicks$level.wav" repeat "$third" trim 0 "$third"
  done
  for name in hum chords clicks; do sox "$name-40.wav" "$name-20.wav" "$name-6.wav" "$to/$name.wav"; done
  rm -f ./*.wav
}

mixtures() {
  local file name
  mkdir short
  noises 30 short
  sox human/sense_and_sensibility_01_austen_64kb-0880.wav "${format[@]}" first.wav norm -6
  sox human/sense_and_sensibility_01_austen_64kb-0930.wav "${format[@]}" second.wav norm -6
  sox -n "${format[@]}" gap.wav trim 0 8
  sox gap.wav first.wav gap.wav second.wav gap.wav speech.wav
  for file in short/*.wav; do
    name=$(basename "$file" .wav)
    # Loud between the sentences, 26 dB below under them.
    sox "$file" around.wav trim 10 8
    sox around.wav first.wav around.wav second.wav around.wav "mixed/around-$name.wav"
    sox "$file" long.wav trim 10 10 repeat 4 trim 0 "$(soxi -D speech.wav)" gain -20
    sox -m -v 1 speech.wav -v 1 long.wav "${format[@]}" "mixed/under-$name.wav"
  done
  rm -rf short ./*.wav
}

sentences
recorded
short
noises 600 noise
mixtures
rm -f ./*.wav
echo "$version" >version
cd /
rm -rf "$folder"
mv "$part" "$folder"
