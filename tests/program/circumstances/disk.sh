# Disks that take nothing.

# In a view of the file system of its own: the data folder is a small disk.
disk_full() {
  mount --make-rprivate / 2>/dev/null || true # not a mount of its own everywhere
  mount -t tmpfs -o size=8m,mode=700 tavrin-test "$XDG_DATA_HOME"
  install_program "$TAVRIN_MODELS"
  started_program
  begin_echo_meeting
  sound_spawn player paplay --device=tavrin_speaker --latency-msec=200 "$material/rhythm.wav"
  sleep 4
  # A part of a block stays to the file that has it: the disk is full some seconds later.
  head -c 16m /dev/zero >"$XDG_DATA_HOME/filler" 2>/dev/null || true
  local from
  from=$(now)
  await 30 says_since "wait in memory"
  awaits_shown 10 "be saved right now"
  sleep 10
  lives
  rm "$XDG_DATA_HOME/filler"
  await 10 says_since "What waited in memory is saved."
  tell "the disk took nothing for $(calculate "$(now) - $from") s"
  sound_until 10 hides "be saved right now"
  sleep 4
  # No burst is cut by the end of the meeting.
  sound_end TERM player
  sleep 1
  end_meeting
  [ "$(stat -f -c %T "$XDG_DATA_HOME")" = tmpfs ]
  holds "$(lane_seconds me) >= 18"
  lanes regular "$(meeting_file me.pcm)" "$(meeting_file them.pcm)" 1
}

recordings_not_writable() {
  mkdir -p "$(data_folder)"
  echo "in its place" >"$(recordings)"
  started_program
  mark
  begin_live_meeting
  says_since "a meeting has no archive"
  awaits_shown 10 "The live transcript goes on"
  make_material
  sound_spawn player paplay --device=tavrin_speaker --latency-msec=200 "$material/speech.wav"
  await 60 shows "Them"
  lives
  end_meeting
  [ "$(cat "$(recordings)")" = "in its place" ]
}
