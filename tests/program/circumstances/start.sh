# Meetings that cannot begin.

model_missing() {
  without_model
  started_program
  mark
  act start-recording
  awaits_shown 10 "Speech models have to be installed before your first recording."
  lives
  nothing_recorded
}

# A model that looks complete, and whose weights are cut short.
model_broken() {
  local folder
  folder=$(data_folder)/OnDeviceModels/openai_whisper-base
  without_model
  cp -rL "$TAVRIN_MODELS/openai_whisper-base" "$folder"
  truncate -s 1M "$folder/AudioEncoder.onnx.data"
  started_program
  mark
  act start-recording
  errors_with "openai_whisper-base"
  judge_undone_start
}

# What was heard before a start fails is kept from half a second on.
judge_undone_start() {
  if [ "$(recorded_files)" = 0 ]; then
    tell "nothing was heard before the start failed, and nothing is left"
    return 0
  fi
  tell "heard before the start failed, and kept: $(lane_seconds me) s and $(lane_seconds them) s"
  holds "$(lane_seconds me) >= 0.5 || $(lane_seconds them) >= 0.5"
  test -s "$(meeting_file checkpoint.json)"
}

token_missing() {
  without_token
  started_program
  mark
  act start-recording
  errors_with "Tavrin API token not set."
  nothing_recorded
}
