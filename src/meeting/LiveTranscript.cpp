#include "meeting/LiveTranscript.h"

#include "dictation/text/DictationTextCleanup.h"
#include "dictation/text/EchoGuard.h"
#include "support/async/RunOn.h"
#include "support/text/Unicode.h"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <utility>

namespace tavrin {

namespace {

/// Keeps lines of one date in the order in which they came.
constexpr Duration orderStep = std::chrono::milliseconds(1);

/// By date; lines of one date as they came.
void sortLines(std::vector<TranscriptSegment>& lines) {
    std::ranges::sort(lines, {}, [](const TranscriptSegment& line) { return std::pair(line.date, line.id); });
}

/// Puts the last line where its date belongs, behind those of the same date; all of them, if they came without.
void settleLast(std::vector<TranscriptSegment>& lines) {
    const auto earlier = [](const TranscriptSegment& a, const TranscriptSegment& b) { return a.date < b.date; };
    const auto last = std::prev(lines.end());
    if (std::is_sorted(lines.begin(), last, earlier))
        std::rotate(std::upper_bound(lines.begin(), last, *last, earlier), last, lines.end());
    else
        sortLines(lines);
}

/// A text that differs from the one that stands in a line.
struct Correction {
    SegmentId line;
    std::string before;
    std::string after;
};

std::vector<Correction> correctionsOf(const std::vector<TranscriptSegment>& lines,
                                      const std::map<SegmentId, HeardText>& heard, const VocabularyCorrector& corrector,
                                      const std::stop_token& stop) {
    std::vector<Correction> result;
    for (const TranscriptSegment& line : lines) {
        if (stop.stop_requested()) return {};
        const HeardText& origin = heard.at(line.id);
        std::string text = corrector.corrected(origin.text, origin.isCorrected);
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
    HeardText origin{.text = cleanMeetingSegment(line.text)};
    const auto corrector = use.vocabulary ? use.vocabulary() : nullptr;
    TranscriptSegment segment;
    segment.text = corrector ? corrector->corrected(origin.text) : origin.text;
    if (mayBeEcho(line) && !segment.text.empty()) {
        std::string own = withoutEcho(segment.text, line.date);
        if (own != segment.text) origin = {.text = own, .isCorrected = true};
        segment.text = std::move(own);
    }
    if (segment.text.empty()) return;
    ++nextSegmentOrder;
    segment.speakerLabel = std::move(line.speakerLabel);
    segment.date = line.date + (nextSegmentOrder * orderStep);
    segment.themSpeakerIndex = line.themSpeakerIndex;
    segment.meSpeakerIndex = line.meSpeakerIndex;
    segment.id = nextId++;
    heard.emplace(segment.id, std::move(origin));
    put(std::move(segment), line.sortAfterInsert);
}

bool LiveTranscript::mayBeEcho(const NewLine& line) const {
    const bool mayHearTheOtherSide = *state.systemAudioActive || (meeting.isDraining && meeting.hadSystemAudio);
    return line.applyEchoGuard && line.speakerLabel == meLabel && mayHearTheOtherSide;
}

std::string LiveTranscript::withoutEcho(const std::string& text, Date date) const {
    std::string reference;
    for (const TranscriptSegment& line : *state.segments) {
        if (isMeLine(line) || std::chrono::abs(line.date - date) > echoWindow) continue;
        if (!reference.empty()) reference += ' ';
        reference += line.text;
    }
    if (reference.empty() || !isLikelyEcho(text, reference)) return text;
    std::string own = stripEchoedWords(text, reference).value_or(std::string());
    if (own != text)
        note(fmt::format("live_echo_{} label=Me reason=words words={} kept={}", own.empty() ? "dropped" : "cut",
                         words(text).size(), words(own).size()));
    return own;
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
        co_await runOn(use.background, [lines = *state.segments, origins = heard, corrector](const auto& stop) {
            return correctionsOf(lines, origins, *corrector, stop);
        });
    if (found.empty()) co_return;
    state.segments.edit([&](std::vector<TranscriptSegment>& lines) { enter(found, lines); });
    if (meeting.persistence) meeting.persistence->rewriteSegments(persisted());
}

void LiveTranscript::clear() {
    state.segments = {};
    heard.clear();
    nextSegmentOrder = 0;
}

void LiveTranscript::restore(const std::vector<PersistedTranscriptSegment>& lines) {
    std::vector<TranscriptSegment> segments;
    segments.reserve(lines.size());
    heard.clear();
    for (const PersistedTranscriptSegment& line : lines) {
        heard.emplace(nextId, HeardText{.text = line.text, .isCorrected = true});
        segments.push_back({line, nextId++});
    }
    sortLines(segments);
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
