#include "meeting/LaneDrain.h"

#include "support/async/Race.h"

#include <utility>

namespace tavrin {

namespace {

constexpr Duration flushLimit = std::chrono::seconds(2);
constexpr Duration chainLimit = std::chrono::seconds(2);

Task<void> flush(WhisperStreamProcessor* me, WhisperStreamProcessor* them) {
    if (me != nullptr) co_await me->flushForFinish();
    if (them != nullptr) co_await them->flushForFinish();
}

/// Lets results in for as long as it lives.
class Draining final {
public:
    explicit Draining(OpenMeeting& open) : meeting(open) { meeting.isDraining = true; }
    Draining(const Draining&) = delete;
    Draining& operator=(const Draining&) = delete;
    ~Draining() { meeting.isDraining = false; }

private:
    OpenMeeting& meeting;
};

} // namespace

Task<DrainCounts> drainLanes(EndedLanes lanes, OpenMeeting& meeting, LiveTranscript& transcript) {
    DrainCounts counts{.transcribed = lanes.base, .dropped = {}, .pending = {}};
    const Draining draining(meeting);
    co_await race(flush(lanes.me.get(), lanes.them.get()), flushLimit);
    const auto read = [](std::unique_ptr<WhisperStreamProcessor>& lane, std::int64_t& transcribed,
                         std::int64_t& dropped, std::int64_t& pending) {
        if (!lane) return;
        transcribed += lane->completedSampleCount();
        dropped = lane->droppedSampleCount();
        pending = lane->pendingSampleCount();
        lane->cancel();
    };
    read(lanes.me, counts.transcribed.me, counts.dropped.me, counts.pending.me);
    read(lanes.them, counts.transcribed.them, counts.dropped.them, counts.pending.them);
    co_await race(transcript.themResultsDone(), chainLimit);
    if (lanes.meLines != nullptr) lanes.meLines->release();
    transcript.cancelThemResults();
    co_return counts;
}

} // namespace tavrin
