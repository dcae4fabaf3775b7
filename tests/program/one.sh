#!/usr/bin/env bash
# One circumstance, on services that stand: one.sh NAME FOLDER. Started by run.sh.
set -Eeuo pipefail
cd "$(dirname "$(readlink -f "$0")")/../.."
# shellcheck source=tools/sound/services.sh
. tools/sound/services.sh
sound_use "$2"
DISPLAY=:$(cat "$SOUND_FOLDER/display")
export DISPLAY
for file in tests/program/helpers.sh tests/program/circumstances/*.sh; do
  # shellcheck source=/dev/null
  . "$file"
done
trap 'echo "failed: ${BASH_SOURCE[0]##*/}:$LINENO: $BASH_COMMAND" >&2' ERR
fresh
"$1"
