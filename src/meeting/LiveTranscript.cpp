#include "meeting/LiveTranscript.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace tavrin {

namespace {

/// Keeps lines of one date in the order in which they came.
constexpr Duration orderStep = std::chrono::milliseconds(1);

/// Puts the last line where its date belongs, behind those of the same date.
void settleLast(std::vector<TranscriptSegment>& lines) {
    const auto last = std::prev(lines.end());
    const auto place = std::upper_bound(lines.begin(), last, last->date,
                                        [](Date date, const TranscriptSegment& line) { return date < line.date; });
    std::rotate(place, last, lines.end());
}

} // namespace

LiveTranscript::LiveTranscript(Executor& mainExecutor, SessionState& published, OpenMeeting& openMeeting)
    : main(mainExecutor), state(published), meeting(openMeeting), tasks(mainExecutor) {}

void LiveTranscript::addSegment(NewLine line) {
    expectCurrent(main);
    if (line.text.empty()) return;
    ++nextSegmentOrder;
    TranscriptSegment segment;
    segment.speakerLabel = std::move(line.speakerLabel);
    segment.text = std::move(line.text);
    segment.date = line.date + (nextSegmentOrder * orderStep);
    segment.themSpeakerIndex = line.themSpeakerIndex;
    segment.meSpeakerIndex = line.meSpeakerIndex;
    segment.id = nextId++;
    if (meeting.persistence) meeting.persistence->appendSegment(segment);
    state.segments.edit([&](std::vector<TranscriptSegment>& lines) {
        lines.push_back(std::move(segment));
        if (line.sortAfterInsert) settleLast(lines);
    });
}

void LiveTranscript::clear() {
    state.segments = {};
    nextSegmentOrder = 0;
}

void LiveTranscript::restore(const std::vector<PersistedTranscriptSegment>& lines) {
    std::vector<TranscriptSegment> segments;
    segments.reserve(lines.size());
    for (const PersistedTranscriptSegment& line : lines)
        segments.push_back({line, nextId++});
    std::ranges::sort(segments, {}, [](const TranscriptSegment& line) { return std::pair(line.date, line.id); });
    nextSegmentOrder = static_cast<std::int64_t>(segments.size());
    state.segments = std::move(segments);
}

std::vector<PersistedTranscriptSegment> LiveTranscript::persisted() const {
    return {state.segments->begin(), state.segments->end()};
}

bool LiveTranscript::isValid(std::uint64_t generation, const std::optional<std::string>& meetingID) const {
    return (state.status->isCapturing() || meeting.isDraining) && generation == meeting.transcriptWorkGeneration &&
           meetingID == meeting.meetingID;
}

void LiveTranscript::enqueueThemResult(NewLine line, std::uint64_t generation, std::optional<std::string> meetingID) {
    themResultChain = tasks.spawn([this, before = themResultChain, entry = std::move(line), generation,
                                   id = std::move(meetingID)]() mutable -> Task<void> {
        co_await before.completion();
        if (isValid(generation, id)) addSegment(std::move(entry));
    });
}

Task<void> LiveTranscript::themResultsDone() {
    co_await TaskHandle(themResultChain).completion();
}

void LiveTranscript::cancelThemResults() {
    tasks.clear();
    themResultChain = {};
}

} // namespace tavrin
