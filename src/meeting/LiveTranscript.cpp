#include "meeting/LiveTranscript.h"

#include "dictation/text/DictationTextCleanup.h"
#include "dictation/text/EchoGuard.h"
#include "support/async/RunOn.h"

#include <algorithm>
#include <chrono>
#include <map>
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

/// A text that differs from the one that stands in a line.
struct Correction {
    SegmentId line;
    std::string before;
    std::string after;
};

std::vector<Correction> correctionsOf(const std::vector<TranscriptSegment>& lines, const VocabularyCorrector& corrector,
                                      const std::stop_token& stop) {
    std::vector<Correction> result;
    for (const TranscriptSegment& line : lines) {
        if (stop.stop_requested()) return {};
        std::string text = corrector.corrected(line.text);
        if (text != line.text) result.push_back({line.id, line.text, std::move(text)});
    }
    return result;
}

/// Lines that are gone, or say something else by now, are left alone.
void enter(const std::vector<Correction>& corrections, std::vector<TranscriptSegment>& lines) {
    std::map<SegmentId, const Correction*> byLine;
    for (const Correction& correction : corrections)
        byLine.emplace(correction.line, &correction);
    for (TranscriptSegment& line : lines) {
        const auto found = byLine.find(line.id);
        if (found != byLine.end() && line.text == found->second->before) line.text = found->second->after;
    }
}

} // namespace

LiveTranscript::LiveTranscript(Dependencies dependencies, SessionState& published, OpenMeeting& openMeeting)
    : use(std::move(dependencies)), state(published), meeting(openMeeting), tasks(use.main) {}

// The way in

void LiveTranscript::addSegment(NewLine line) {
    expectCurrent(use.main);
    TranscriptSegment segment;
    segment.text = finalText(line);
    if (segment.text.empty()) return;
    ++nextSegmentOrder;
    segment.speakerLabel = std::move(line.speakerLabel);
    segment.date = line.date + (nextSegmentOrder * orderStep);
    segment.themSpeakerIndex = line.themSpeakerIndex;
    segment.meSpeakerIndex = line.meSpeakerIndex;
    segment.id = nextId++;
    put(std::move(segment), line.sortAfterInsert);
}

std::string LiveTranscript::finalText(const NewLine& line) const {
    if (line.text.empty()) return {};
    std::string text = cleanMeetingSegment(line.text);
    const auto corrector = use.vocabulary ? use.vocabulary() : nullptr;
    if (corrector && !text.empty()) text = corrector->corrected(text);
    if (text.empty() || !line.applyEchoGuard || line.speakerLabel != meLabel || !mayHearTheOtherSide()) return text;
    return withoutEcho(std::move(text), line.date);
}

bool LiveTranscript::mayHearTheOtherSide() const {
    return *state.systemAudioActive || (meeting.isDraining && meeting.hadSystemAudio);
}

std::string LiveTranscript::withoutEcho(std::string text, Date date) const {
    std::string reference;
    for (const TranscriptSegment& line : *state.segments) {
        if (isMeLine(line) || std::chrono::abs(line.date - date) > echoWindow) continue;
        if (!reference.empty()) reference += ' ';
        reference += line.text;
    }
    if (reference.empty() || !isLikelyEcho(text, reference)) return text;
    return stripEchoedWords(text, reference).value_or(std::string());
}

void LiveTranscript::put(TranscriptSegment segment, bool sortAfterInsert) {
    if (meeting.persistence) meeting.persistence->appendSegment(segment);
    state.segments.edit([&](std::vector<TranscriptSegment>& lines) {
        lines.push_back(std::move(segment));
        if (sortAfterInsert) settleLast(lines);
    });
    if (sortAfterInsert && use.recountSpeakers) use.recountSpeakers(*state.segments);
}

// All lines

Task<void> LiveTranscript::applyVocabulary() {
    expectCurrent(use.main);
    const auto corrector = use.vocabulary ? use.vocabulary() : nullptr;
    if (!corrector || state.segments->empty()) co_return;
    const auto found =
        co_await runOn(use.background, [lines = *state.segments, corrector](const std::stop_token& stop) {
            return correctionsOf(lines, *corrector, stop);
        });
    if (found.empty()) co_return;
    state.segments.edit([&](std::vector<TranscriptSegment>& lines) { enter(found, lines); });
    if (meeting.persistence) meeting.persistence->rewriteSegments(persisted());
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

// Results

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
