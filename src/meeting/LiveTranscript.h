#pragma once

#include "dictation/text/VocabularyCorrector.h"
#include "meeting/OpenMeeting.h"
#include "meeting/SessionState.h"
#include "support/async/Executor.h"
#include "support/async/TaskScope.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace tavrin {

/// A text as the engine gave it and where it belongs, on its way into the transcript.
struct NewLine {
    std::string text;
    std::string speakerLabel;
    Date date;
    std::optional<SpeakerIndex> themSpeakerIndex{};
    std::optional<SpeakerIndex> meSpeakerIndex{};
    /// Takes words off that the microphone heard from the loudspeaker. Asked for where the other side's lines stand.
    bool applyEchoGuard = false;
    bool sortAfterInsert = true;
};

/// What a line is corrected from.
struct HeardText {
    std::string text;
    bool isCorrected = false; ///< by rules that are not known any more
};

/// The one way into the transcript: what is heard is cleaned, corrected by the user's vocabulary and freed of echo,
/// and stands as an ordered line on screen and on disk.
///
/// Thread:   main executor only (checked); long corrections are worked out on `background`.
/// Cost:     linear in the lines.
/// Lifetime: dependencies, state and meeting outlive it.
class LiveTranscript final {
public:
    struct Dependencies {
        Executor& main;
        Executor& background;
        /// The user's corrections as they are now. May be empty, or give nothing: nothing is corrected.
        std::function<std::shared_ptr<const VocabularyCorrector>()> vocabulary{};
        /// Told of all lines whenever one was put in its place: who speaks is counted from them. May be empty.
        std::function<void(std::span<const TranscriptSegment>)> recountSpeakers{};
        /// Writes a line into the meeting's diagnostics; it holds no words. May be empty.
        std::function<void(std::string)> note{};
    };

    /// Lines of the other side so far before or after a line may be what its microphone heard.
    static constexpr Duration echoWindow = std::chrono::seconds(50);

    LiveTranscript(Dependencies dependencies, SessionState& state, OpenMeeting& meeting);

    /// Adds a line where its date puts it. A text that is noise, echo or nothing adds none.
    void addSegment(NewLine line);

    /// Corrects the lines that stand by the vocabulary as it is now, from what they said before any correction; those
    /// that come meanwhile come corrected. A line of an earlier run, or one that lost an echo, says already what the
    /// corrections of then made of it: only what they did not make is corrected.
    Task<void> applyVocabulary();

    void clear();
    /// Puts back the lines of an earlier run.
    void restore(const std::vector<PersistedTranscriptSegment>& lines);

    /// Lines in the form for files.
    [[nodiscard]] std::vector<PersistedTranscriptSegment> persisted() const;

    // The serial chain of results of the Them lane: one after another, in the order in which they came.

    void enqueueThemResult(NewLine line, std::uint64_t generation, std::optional<std::string> meetingID);
    /// Ends when the chain is empty.
    Task<void> themResultsDone();
    [[nodiscard]] bool hasThemResults() const { return themResultChain.isActive(); }
    void cancelThemResults();

    void note(std::string line) const {
        if (use.note) use.note(std::move(line));
    }

    /// Whether a result of that generation and meeting may still enter.
    [[nodiscard]] bool isValid(std::uint64_t generation, const std::optional<std::string>& meetingID) const;

private:
    [[nodiscard]] bool mayBeEcho(const NewLine& line) const;
    [[nodiscard]] std::string withoutEcho(const std::string& text, Date date) const;
    void put(TranscriptSegment segment, bool sortAfterInsert);

    const Dependencies use;
    SessionState& state;
    OpenMeeting& meeting;
    std::int64_t nextSegmentOrder = 0;
    SegmentId nextId = 1;
    std::map<SegmentId, HeardText> heard; // of each line that stands
    TaskHandle themResultChain;
    TaskScope tasks; // last: dies first
};

} // namespace tavrin
