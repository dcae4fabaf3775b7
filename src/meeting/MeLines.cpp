#include "meeting/MeLines.h"

#include "audio/PcmFormat.h"
#include "dictation/text/EchoGuard.h"
#include "meeting/EchoSuppressor.h"
#include "support/async/Sleep.h"

#include <algorithm>
#include <utility>

namespace tavrin {

namespace {

constexpr Duration remembered = std::chrono::minutes(1);

/// At least half of the first lies in the second.
bool isDuring(const SpokenStretch& mine, const SpokenStretch& theirs) {
    const Date from = std::max(mine.from, theirs.from), to = std::min(mine.to, theirs.to + MeLines::latestEcho);
    return 2 * to.secondsSince(from) >= mine.to.secondsSince(mine.from);
}

} // namespace

SpokenStretch spoken(const SpeechChunk& chunk, std::string text, double likeness) {
    const auto before = [&](std::size_t samples) {
        const std::chrono::duration<double> length(static_cast<double>(samples) / pcmSampleRate);
        return chunk.date - std::chrono::duration_cast<Duration>(length);
    };
    return {.from = before(chunk.samples.size()),
            .to = before(chunk.trailingSilence),
            .text = std::move(text),
            .date = chunk.date,
            .samples = static_cast<std::int64_t>(chunk.samples.size()),
            .likeness = likeness};
}

MeLines::MeLines(Executor& main, LiveTranscript& liveTranscript, MayFollow wordsMayFollow)
    : transcript(liveTranscript), mayFollow(std::move(wordsMayFollow)), tasks(main) {}

void MeLines::add(SpokenStretch heard, std::uint64_t generation, std::optional<std::string> meetingID) {
    const bool mustWait = !held.empty() || mayFollow(heard.to);
    held.push_back({std::move(heard), generation, std::move(meetingID)});
    if (!mustWait)
        enterFirst();
    else if (tasks.isEmpty())
        tasks.spawn(watch());
}

void MeLines::themSaid(SpokenStretch heard) {
    const Date now = heard.to;
    others.push_back(std::move(heard));
    while (now - others.front().to > remembered)
        others.pop_front();
}

Task<void> MeLines::watch() {
    while (!held.empty()) {
        co_await sleepFor(lookInterval);
        for (Held& each : held)
            each.waited += lookInterval;
        while (!held.empty() && (held.front().waited >= longestWait || !mayFollow(held.front().heard.to)))
            enterFirst();
    }
}

void MeLines::enterFirst() {
    Held first = std::move(held.front());
    held.pop_front();
    if (!transcript.isValid(first.generation, first.meetingID)) return;
    if (isEchoOfThatTime(first.heard)) return transcript.note("live_echo_dropped label=Me reason=time");
    transcript.addSegment({.text = std::move(first.heard.text),
                           .speakerLabel = std::string(meLabel),
                           .date = first.heard.date,
                           .applyEchoGuard = true});
}

bool MeLines::isEchoOfThatTime(const SpokenStretch& mine) const {
    if (mine.likeness < EchoSuppressor::someLikeness) return false;
    std::string theirs;
    for (const SpokenStretch& stretch : others)
        if (isDuring(mine, stretch)) theirs += ' ' + stretch.text;
    return isHeardIn(mine.text, theirs);
}

std::int64_t MeLines::heldSamples() const {
    std::int64_t samples = 0;
    for (const Held& each : held)
        samples += each.heard.samples;
    return samples;
}

void MeLines::release() {
    tasks.clear();
    while (!held.empty())
        enterFirst();
}

} // namespace tavrin
