#!/usr/bin/env bash
# Runs a fuzzer for some seconds: fuzz.sh PROGRAM [SECONDS]. Fails with the input that broke it.
set -euo pipefail
program=$(readlink -f "$1") seconds=${2:-6}
here=$(cd "$(dirname "$0")" && pwd)
name=$(basename "$program" _fuzzer)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/corpus"
printf '{}' >"$work/corpus/empty"
dictionary=()
[ ! -e "$here/fuzz/$name.dict" ] || dictionary=(-dict="$here/fuzz/$name.dict")
cd "$work"
"$program" -max_total_time="$seconds" -max_len=60000 -rss_limit_mb=4096 -timeout=20 -print_final_stats=1 "${dictionary[@]}" corpus
