#pragma once

#include "meeting/LiveTranscript.h"
#include "meeting/SpeechChunker.h"
#include "support/async/TaskScope.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <string>

namespace tavrin {

/// Words that were said in a stretch of time.
struct SpokenStretch {
    Date from;
    Date to;
    std::string text;
    Date date{};              ///< of the line that they make
    std::int64_t samples = 0; ///< of the lane, silence behind the speech among them
    double likeness = 0;      ///< to the other side's sound, see EchoSuppressor
};

/// The text of a chunk with the time in which it was said; `likeness` matters for the microphone's only.
SpokenStretch spoken(const SpeechChunk& chunk, std::string text, double likeness = 0);

/// The microphone's lines on their way into the transcript, where the microphone may hear the loudspeaker.
///
/// A line waits while the other side's words of the same time are still to come, so that the echo test has something
/// to compare it with; where nobody else speaks it passes at once. Lines leave in the order in which they came, at the
/// latest after `longestWait`; one that is no longer valid by then is dropped. What the other side said at that very
/// time is dropped as well, if its sound may be theirs: the echo test of all lines needs four words, and most of them
/// recognised alike. A short answer with a word of the question stays.
/// Thread: main executor only. Lifetime: the transcript outlives it.
class MeLines final {
public:
    static constexpr Duration longestWait = std::chrono::seconds(8);
    static constexpr Duration lookInterval = std::chrono::milliseconds(100);
    /// Sound that is heard from the loudspeaker comes later, by its way and by the room.
    static constexpr Duration latestEcho = std::chrono::milliseconds(500);

    /// Whether words that the other side said up to a date may still come.
    using MayFollow = std::function<bool(Date)>;

    MeLines(Executor& main, LiveTranscript& transcript, MayFollow mayFollow);

    /// A line whose speech lies between the two dates; its label is given here.
    void add(SpokenStretch heard, std::uint64_t generation, std::optional<std::string> meetingID);
    /// What the other side said.
    void themSaid(SpokenStretch heard);
    /// Nothing is waited for any more: what is held enters now.
    void release();
    /// Of lines that wait: they are on no screen and no disk yet.
    [[nodiscard]] std::int64_t heldSamples() const;

private:
    struct Held {
        SpokenStretch heard;
        std::uint64_t generation;
        std::optional<std::string> meetingID;
        Duration waited{};
    };
    Task<void> watch();
    void enterFirst();
    [[nodiscard]] bool isEchoOfThatTime(const SpokenStretch& mine) const;

    LiveTranscript& transcript;
    const MayFollow mayFollow;
    std::deque<Held> held;
    std::deque<SpokenStretch> others; // of the last minute
    TaskScope tasks;                  // last: dies first
};

} // namespace tavrin
