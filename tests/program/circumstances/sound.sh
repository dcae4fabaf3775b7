# Sound servers and devices that come and go.

no_sound_server() {
  sound_kill
  rm -f "$PULSE_RUNTIME_PATH/native" "$XDG_RUNTIME_DIR"/pipewire-0*
  started_program
  mark
  act start-recording
  errors_with "sound server"
  nothing_recorded
  sound_revive
  sleep 3
  begin_live_meeting
  awaits_growth 10
  end_meeting
}

no_microphone() {
  sound_remove tavrin_microphone
  started_program
  mark
  act start-recording
  errors_with "The microphone input format is unavailable."
  nothing_recorded
}

microphone_unplugged() {
  started_program
  begin_echo_meeting
  burst
  sleep 1
  sound_remove echo_one
  sleep 2
  sound_add_echo echo_two
  sound_default_microphone echo_two
  local from
  from=$(now)
  awaits_growth 15
  tell "both lanes go on $(calculate "$(now) - $from") s after the new microphone"
  sleep 2
  burst
  sleep 1
  lives
  end_meeting
  judge_bursts
}

default_output_changed() {
  started_program
  begin_live_meeting
  make_material
  burst
  sleep 1
  sound_add_speaker tavrin_other
  sound_default_speaker tavrin_other
  sleep 3
  burst tavrin_other
  sleep 1
  sound_default_speaker tavrin_speaker
  sleep 3
  burst
  sleep 1
  end_meeting
  # The microphone hears nothing of it: the lane's own time line is compared with itself.
  lanes bursts "$(meeting_file them.pcm)" "$(meeting_file them.pcm)" "${moments[@]}"
}

# What comes after a trouble: sound in both lanes, at its time.
goes_on_after() {
  local from=$1
  awaits_growth 20
  tell "both lanes go on $(calculate "$(now) - $from") s after the server"
  sleep 3
  burst
  sleep 1
  lives
  end_meeting
  judge_bursts
}

server_killed() {
  local from
  started_program
  begin_echo_meeting
  burst
  sleep 1
  sound_kill
  sleep 2
  sound_revive
  sound_add_echo echo_one
  sound_default_microphone echo_one
  from=$(now)
  goes_on_after "$from"
}

server_stopped() {
  local from
  started_program
  begin_echo_meeting
  burst
  sleep 1
  sound_freeze
  sleep 20
  lives
  sound_thaw
  from=$(now)
  goes_on_after "$from"
}
