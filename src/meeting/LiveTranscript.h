#pragma once

#include "meeting/OpenMeeting.h"
#include "meeting/SessionState.h"
#include "support/async/Executor.h"
#include "support/async/TaskScope.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tavrin {

/// A text and where it belongs, on its way into the transcript.
struct NewLine {
    std::string text;
    std::string speakerLabel;
    Date date;
    std::optional<SpeakerIndex> themSpeakerIndex{};
    std::optional<SpeakerIndex> meSpeakerIndex{};
    bool sortAfterInsert = true;
};

/// The one way into the transcript: ordered lines on screen, and each of them on disk.
/// Thread: main executor only (checked). Lifetime: state and meeting outlive it.
class LiveTranscript final {
public:
    LiveTranscript(Executor& main, SessionState& state, OpenMeeting& meeting);

    /// Adds a line where its date puts it. An empty text adds nothing.
    void addSegment(NewLine line);

    void clear();
    /// Puts back the lines of an earlier run.
    void restore(const std::vector<PersistedTranscriptSegment>& lines);

    /// Lines in the form for files.
    [[nodiscard]] std::vector<PersistedTranscriptSegment> persisted() const;

    // The serial chain of results of the Them lane: one after another, in the order in which they came.

    void enqueueThemResult(NewLine line, std::uint64_t generation, std::optional<std::string> meetingID);
    /// Ends when the chain is empty.
    Task<void> themResultsDone();
    void cancelThemResults();

    /// Whether a result of that generation and meeting may still enter.
    [[nodiscard]] bool isValid(std::uint64_t generation, const std::optional<std::string>& meetingID) const;

private:
    Executor& main;
    SessionState& state;
    OpenMeeting& meeting;
    std::int64_t nextSegmentOrder = 0;
    SegmentId nextId = 1;
    TaskHandle themResultChain;
    TaskScope tasks; // last: dies first
};

} // namespace tavrin
