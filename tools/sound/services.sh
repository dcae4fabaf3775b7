#!/usr/bin/env bash
# Sourced by tests and demonstrations: private sound services with a virtual speaker and a virtual microphone.
#
#   sound_start KIND FOLDER          KIND is pipewire or pulseaudio; exports what clients need to find the services
#   sound_use FOLDER                 exports the same in another shell
#   sound_stop FOLDER                ends what was started, and nothing else
#   sound_kill | sound_revive        the server dies at once | stands again, with its virtual devices
#   sound_freeze | sound_thaw        the server stops answering | goes on
#   sound_stall                      the server answers, but no sound comes from tavrin_microphone; until sound_reset
#   sound_add_speaker NAME [PROPERTY=VALUE]    ... stays until sound_remove NAME
#   sound_add_microphone NAME        ... what is played into NAME comes out of it: sound_play_microphone NAME FILE
#   sound_add_echo NAME              a microphone that hears what tavrin_speaker plays
#   sound_remove NAME                unplugs a speaker or microphone
#   sound_default_speaker NAME, sound_default_microphone NAME
#   sound_reset                      the two virtual devices, as defaults, and nothing else, whatever was done before
#   sound_play_speaker NAME FILE.wav, sound_play_microphone NAME FILE.wav     return when it has been played
#
# There are tavrin_speaker and tavrin_microphone from the start; they are the defaults. Sockets, settings and logs live
# below FOLDER. Waiting is bounded; every function returns non-zero with a line on the error stream when it fails.

sound_rate=48000

sound_fail() { echo "sound: $*" >&2; return 1; }

# sound_until SECONDS COMMAND...: tries every 20 ms.
sound_until() {
  local end=$((SECONDS + $1))
  shift
  until "$@" >/dev/null 2>&1; do
    [ "$SECONDS" -lt "$end" ] || return 1
    sleep 0.02
  done
}

# sound_spawn NAME COMMAND...: in the background, with its log and its process id below the folder.
sound_spawn() {
  local name=$1
  shift
  setsid "$@" >>"$SOUND_FOLDER/$name.log" 2>&1 </dev/null &
  echo $! >"$SOUND_FOLDER/pids/$name"
  disown
}

# sound_end SIGNAL NAME...: ends processes of ours and waits until they are gone.
sound_end() {
  local signal=$1 name pid
  shift
  for name in "$@"; do
    [ -f "$SOUND_FOLDER/pids/$name" ] || continue
    pid=$(cat "$SOUND_FOLDER/pids/$name")
    kill -CONT "$pid" 2>/dev/null || true
    kill "-$signal" "$pid" 2>/dev/null || true
    sound_until 3 sound_is_gone "$pid" || kill -KILL "$pid" 2>/dev/null || true
    rm -f "$SOUND_FOLDER/pids/$name"
  done
}
sound_is_gone() { ! kill -0 "$1" 2>/dev/null || grep -q '^State:[[:space:]]*Z' "/proc/$1/status" 2>/dev/null; }

sound_names() { (cd "$SOUND_FOLDER/pids" && ls); }
sound_servers() {
  if [ "$SOUND_KIND" = pipewire ]; then echo pipewire-pulse wireplumber pipewire; else echo pulseaudio; fi
}

sound_use() {
  SOUND_FOLDER=$(readlink -f "$1")
  [ -f "$SOUND_FOLDER/kind" ] || { sound_fail "no services in $1"; return 1; }
  SOUND_KIND=$(cat "$SOUND_FOLDER/kind")
  export SOUND_FOLDER SOUND_KIND
  export HOME=$SOUND_FOLDER/home XDG_RUNTIME_DIR=$SOUND_FOLDER/run
  export XDG_CONFIG_HOME=$HOME/config XDG_STATE_HOME=$HOME/state XDG_CACHE_HOME=$HOME/cache XDG_DATA_HOME=$HOME/data
  export PIPEWIRE_RUNTIME_DIR=$XDG_RUNTIME_DIR PULSE_RUNTIME_PATH=$XDG_RUNTIME_DIR/pulse
  export PULSE_SERVER=unix:$XDG_RUNTIME_DIR/pulse/native
  export DBUS_SESSION_BUS_ADDRESS=unix:path=$XDG_RUNTIME_DIR/bus
  unset PIPEWIRE_REMOTE PULSE_SINK PULSE_SOURCE PULSE_COOKIE DISPLAY
}

sound_start() {
  local kind=$1 folder=$2 program
  case $kind in
  pipewire) set -- dbus-daemon pipewire wireplumber pipewire-pulse pactl pacat ;;
  pulseaudio) set -- pulseaudio pactl pacat ;;
  *) sound_fail "there is no kind \"$kind\""; return 1 ;;
  esac
  for program in "$@"; do
    command -v "$program" >/dev/null || { sound_fail "$program is not installed"; return 1; }
  done
  # The path of a socket has at most 107 bytes.
  [ "${#folder}" -le 80 ] || { sound_fail "the folder's name is too long: $folder"; return 1; }
  mkdir -p "$folder"/{home,pids} && mkdir -p -m 700 "$folder/run" && mkdir -p -m 700 "$folder/run/pulse" || return 1
  echo "$kind" >"$folder/kind"
  sound_use "$folder" || return 1
  if [ "$kind" = pipewire ]; then
    sound_spawn dbus dbus-daemon --session --nofork --nopidfile "--address=$DBUS_SESSION_BUS_ADDRESS"
    sound_until 5 test -S "$XDG_RUNTIME_DIR/bus" || { sound_fail "the bus does not come up"; return 1; }
    sound_without_bluetooth
  fi
  sound_revive
}

# The session manager asks the login manager who may use Bluetooth, and leaves where there is none. For its two kinds of
# settings.
sound_without_bluetooth() {
  local settings=$XDG_CONFIG_HOME/wireplumber
  mkdir -p "$settings/bluetooth.lua.d" "$settings/wireplumber.conf.d"
  echo 'bluez_monitor.enabled = false' >"$settings/bluetooth.lua.d/51-none.lua"
  echo 'wireplumber.profiles = { main = { hardware.bluetooth = disabled } }' >"$settings/wireplumber.conf.d/none.conf"
}

sound_revive() {
  rm -f "$PULSE_RUNTIME_PATH/native" "$XDG_RUNTIME_DIR"/pipewire-0*
  if [ "$SOUND_KIND" = pipewire ]; then
    sound_spawn pipewire pipewire
    sound_until 5 test -S "$XDG_RUNTIME_DIR/pipewire-0" || { sound_fail "pipewire does not come up"; return 1; }
    sound_spawn wireplumber wireplumber
    sound_spawn pipewire-pulse pipewire-pulse
  else
    sound_spawn pulseaudio pulseaudio -n --daemonize=no --exit-idle-time=-1 --realtime=no --high-priority=no \
      --use-pid-file=no --log-target=stderr -L "module-native-protocol-unix socket=$PULSE_RUNTIME_PATH/native auth-anonymous=1"
  fi
  sound_until 10 timeout 2 pactl info || { sound_fail "$SOUND_KIND does not answer; see the logs in $SOUND_FOLDER"; return 1; }
  sound_add_speaker tavrin_speaker && sound_default_speaker tavrin_speaker &&
    sound_add_microphone tavrin_microphone && sound_default_microphone tavrin_microphone
}

sound_has() { timeout 2 pactl list short "$1" | cut -f2 | grep -qxF "$2"; }

# A null sink that is kept awake: an idle one renders ahead, and sound played into it would come too early.
sound_null_sink() {
  local module
  module=$(timeout 5 pactl load-module module-null-sink "sink_name=$1" "rate=$sound_rate" channels=2 \
    "sink_properties='device.description=$1 ${3:-}'") || { sound_fail "cannot make $1"; return 1; }
  echo "$module" >>"$SOUND_FOLDER/$2.modules"
  sound_until 5 sound_has sinks "$1" || { sound_fail "$1 does not appear"; return 1; }
  sound_spawn "silence-$1" pacat --playback "--device=$1" --latency-msec=200 --client-name=silence \
    --property=node.link-group=silence --rate="$sound_rate" --channels=2 --format=s16le /dev/zero
}

sound_add_speaker() { rm -f "$SOUND_FOLDER/$1.modules"; sound_null_sink "$1" "$1" "${2:-}"; }

sound_add_microphone() {
  local module
  rm -f "$SOUND_FOLDER/$1.modules"
  sound_null_sink "$1_feed" "$1" || return 1
  module=$(timeout 5 pactl load-module module-remap-source "source_name=$1" "master=$1_feed.monitor" \
    "source_properties=device.description=$1") || { sound_fail "cannot make $1"; return 1; }
  echo "$module" >>"$SOUND_FOLDER/$1.modules"
  sound_until 5 sound_has sources "$1" || sound_fail "$1 does not appear"
}

# A microphone that hears what tavrin_speaker plays, at once.
sound_add_echo() {
  timeout 5 pactl load-module module-remap-source "source_name=$1" master=tavrin_speaker.monitor \
    "source_properties=device.description=$1" >"$SOUND_FOLDER/$1.modules" || { sound_fail "cannot make $1"; return 1; }
  sound_until 5 sound_has sources "$1" || sound_fail "$1 does not appear"
}

sound_remove() {
  local module
  [ -f "$SOUND_FOLDER/$1.modules" ] || { sound_fail "there is no $1"; return 1; }
  for module in $(tac "$SOUND_FOLDER/$1.modules"); do
    timeout 5 pactl unload-module "$module" || sound_fail "cannot remove $1" || return 1
  done
  rm -f "$SOUND_FOLDER/$1.modules"
  sound_end TERM "silence-$1" "silence-$1_feed"
}

# A session manager that has just started does not take defaults yet, or takes one and forgets it.
sound_default_speaker() {
  sound_until 15 sound_make_default sink "$1" || sound_fail "$1 does not become the default"
}
sound_default_microphone() {
  sound_until 15 sound_make_default source "$1" || sound_fail "$1 does not become the default"
}
sound_make_default() { timeout 5 pactl "set-default-$1" "$2" && sound_until 1 sound_is_default "$1" "$2"; }
sound_is_default() { [ "$(timeout 2 pactl "get-default-$1")" = "$2" ]; }

sound_is_up() {
  local name
  for name in $(sound_servers); do
    [ -f "$SOUND_FOLDER/pids/$name" ] && ! sound_is_gone "$(cat "$SOUND_FOLDER/pids/$name")" || return 1
  done
}
sound_reset() {
  local name
  sound_is_up || { sound_kill && sound_revive; return; }
  sound_thaw
  [ "$SOUND_KIND" = pipewire ] || pactl suspend-source tavrin_microphone 0 2>/dev/null || true
  for name in "$SOUND_FOLDER"/*.modules; do
    name=$(basename "$name" .modules)
    case $name in tavrin_speaker | tavrin_microphone | '*') ;; *) sound_remove "$name" || return 1 ;; esac
  done
  [ -f "$SOUND_FOLDER/tavrin_speaker.modules" ] || sound_add_speaker tavrin_speaker || return 1
  [ -f "$SOUND_FOLDER/tavrin_microphone.modules" ] || sound_add_microphone tavrin_microphone || return 1
  pactl set-sink-mute tavrin_speaker 0 && sound_default_speaker tavrin_speaker &&
    sound_default_microphone tavrin_microphone
}

sound_play_speaker() { paplay "--device=$1" --latency-msec=200 "$2"; }
# The link group says that this stream is part of a device: it is nothing that the computer plays to its user.
sound_play_microphone() { paplay "--device=$1_feed" --latency-msec=200 "--property=node.link-group=$1" "$2"; }

sound_players() { sound_names | grep '^silence-' || true; }
# shellcheck disable=SC2046
sound_kill() {
  sound_end KILL $(sound_servers)
  sound_end TERM $(sound_players)
  rm -f "$SOUND_FOLDER"/*.modules
}
sound_signal() {
  local name
  for name in $(sound_servers); do kill "-$1" "$(cat "$SOUND_FOLDER/pids/$name")" || return 1; done
}
sound_freeze() { sound_signal STOP; }
sound_thaw() { sound_signal CONT; }
sound_stall() {
  if [ "$SOUND_KIND" = pipewire ]; then kill -STOP "$(cat "$SOUND_FOLDER/pids/pipewire")"
  else pactl suspend-source tavrin_microphone 1; fi
}

# shellcheck disable=SC2046
sound_stop() {
  sound_use "$1" || return 1
  sound_end TERM $(sound_players) $(sound_servers) dbus
}
