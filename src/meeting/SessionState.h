#pragma once

#include "meeting/MeetingStatus.h"
#include "meeting/TranscriptSegment.h"
#include "support/observe/Published.h"

#include <optional>
#include <string>
#include <vector>

namespace tavrin {

/// What views read of the meeting. Thread: main executor only. Written by the session and its collaborators.
struct SessionState {
    explicit SessionState(Executor& main)
        : status(main), segments(main), interimPartial(main), processingStatusMessage(main), transcriptTitle(main),
          meetingDate(main), systemAudioNotice(main), saveNotice(main), microphoneNotice(main), systemAudioActive(main),
          micAudioLevel(main), systemAudioLevel(main), transcriptionBacklogSeconds(main),
          isRecoveringArchivedTranscript(main), isRestored(main), showWhisperModelSetup(main),
          viewingHistoryMeetingID(main) {}

    Published<MeetingStatus> status;
    Published<std::vector<TranscriptSegment>> segments;
    /// The one grey line under the transcript.
    Published<std::string> interimPartial;
    /// The status line while loading or finishing.
    Published<std::optional<std::string>> processingStatusMessage;
    Published<std::string> transcriptTitle;
    Published<std::string> meetingDate;
    /// A warning about capture: microphone only, quiet microphone.
    Published<std::optional<std::string>> systemAudioNotice;
    /// The recording cannot be saved at the moment.
    Published<std::optional<std::string>> saveNotice;
    /// The microphone is gone at the moment.
    Published<std::optional<std::string>> microphoneNotice;
    Published<bool> systemAudioActive;
    /// Smoothed meters, 0 to 1.
    Published<float> micAudioLevel;
    Published<float> systemAudioLevel;
    /// Live audio not yet transcribed, both lanes added.
    Published<double> transcriptionBacklogSeconds;
    Published<bool> isRecoveringArchivedTranscript;
    /// The transcript on screen was brought back from disk at launch.
    Published<bool> isRestored;
    /// Asks the main window for the model set-up sheet.
    Published<bool> showWhisperModelSetup;
    Published<std::optional<std::string>> viewingHistoryMeetingID;
};

} // namespace tavrin
