#include "speech/VoiceChunker.h"

#include "speech/SpeechAudio.h"

#include <algorithm>
#include <limits>

namespace tavrin {

namespace {

constexpr float speechProbability = 0.5F;
/// Speech that goes on counts as such down to here.
constexpr float fadingProbability = 0.35F;
constexpr std::size_t leastSpeechFrames = 4;
constexpr std::size_t framesPerSecond = speechSampleRate / VoiceActivity::frameSamples; // 31
constexpr std::size_t leadFrames = framesPerSecond / 3;
constexpr std::size_t tailFrames = framesPerSecond / 2;
constexpr std::size_t longestPauseFrames = 2 * framesPerSecond;
constexpr std::size_t longestChunkFrames = 27 * framesPerSecond;
/// A chunk that must be cut in the midst of speech is cut at the quietest place behind this.
constexpr std::size_t earliestCutFrames = 17 * framesPerSecond;

} // namespace

bool holdsSpeech(std::span<const float> probabilities) noexcept {
    std::size_t count = 0;
    for (std::size_t i = 0; i < probabilities.size(); ++i) {
        if (i >= framesPerSecond && probabilities[i - framesPerSecond] > speechProbability) --count;
        if (probabilities[i] > speechProbability && ++count >= leastSpeechFrames) return true;
    }
    return false;
}

VoiceChunker::VoiceChunker(VoiceActivity detector) : activity(std::move(detector)) {}

std::vector<VoiceChunk> VoiceChunker::push(std::span<const float> fresh) {
    std::vector<VoiceChunk> done;
    samples.insert(samples.end(), fresh.begin(), fresh.end());
    const std::size_t known = (nextFrame - firstFrame) * VoiceActivity::frameSamples;
    const std::size_t whole = (samples.size() - known) / VoiceActivity::frameSamples * VoiceActivity::frameSamples;
    const auto heard = activity.probabilities(std::span(samples).subspan(known, whole));
    probabilities.insert(probabilities.end(), heard.begin(), heard.end());
    while (nextFrame < firstFrame + probabilities.size())
        takeFrame(probabilityAt(nextFrame), done);
    // What may still become part of a chunk stays.
    forgetBefore(isOpen ? chunkBegin : std::max(freeFrame, nextFrame - std::min(nextFrame, leadFrames)));
    return done;
}

std::vector<VoiceChunk> VoiceChunker::finish() {
    const std::size_t rest = samples.size() % VoiceActivity::frameSamples;
    const std::vector<float> silence(rest == 0 ? 0 : VoiceActivity::frameSamples - rest, 0.0F);
    auto done = push(silence);
    if (isOpen) close(std::min(nextFrame, lastSpeech + tailFrames), done);
    return done;
}

void VoiceChunker::takeFrame(float probability, std::vector<VoiceChunk>& done) {
    const std::size_t frame = nextFrame++;
    if (!isOpen) {
        if (probability <= speechProbability) return;
        isOpen = true;
        chunkBegin = std::max(freeFrame, frame - std::min(frame, leadFrames));
        lastSpeech = frame;
        return;
    }
    if (probability > speechProbability || (probability > fadingProbability && lastSpeech + 1 == frame))
        lastSpeech = frame;
    if (frame - lastSpeech > longestPauseFrames)
        close(lastSpeech + tailFrames, done);
    else if (frame - chunkBegin >= longestChunkFrames)
        cutLongChunk(done);
}

void VoiceChunker::cutLongChunk(std::vector<VoiceChunk>& done) {
    // The quietest fifth of a second, the latest where several are alike.
    constexpr std::size_t half = 3;
    std::size_t best = nextFrame - 1;
    float least = std::numeric_limits<float>::infinity();
    for (std::size_t frame = chunkBegin + earliestCutFrames; frame + half < nextFrame; ++frame) {
        float sum = 0;
        for (std::size_t near = frame - half; near <= frame + half; ++near)
            sum += probabilityAt(near);
        if (sum <= least) least = sum, best = frame;
    }
    const std::size_t speech = lastSpeech;
    close(best, done);
    if (speech < best) return;
    isOpen = true;
    chunkBegin = best;
    lastSpeech = speech;
}

void VoiceChunker::close(std::size_t endFrame, std::vector<VoiceChunk>& done) {
    isOpen = false;
    const auto begin = static_cast<std::ptrdiff_t>(chunkBegin - firstFrame);
    const auto end = static_cast<std::ptrdiff_t>(endFrame - firstFrame);
    if (holdsSpeech(std::span(probabilities).subspan(chunkBegin - firstFrame, endFrame - chunkBegin))) {
        constexpr std::ptrdiff_t frame = VoiceActivity::frameSamples;
        const auto last = std::min(static_cast<std::ptrdiff_t>(samples.size()), end * frame);
        done.push_back({.start = chunkBegin * VoiceActivity::frameSamples,
                        .samples = {samples.begin() + begin * frame, samples.begin() + last}});
    }
    freeFrame = endFrame;
}

void VoiceChunker::forgetBefore(std::size_t frame) {
    const auto frames = static_cast<std::ptrdiff_t>(frame - firstFrame);
    if (frames <= 0) return;
    probabilities.erase(probabilities.begin(), probabilities.begin() + frames);
    samples.erase(samples.begin(), samples.begin() + frames * static_cast<std::ptrdiff_t>(VoiceActivity::frameSamples));
    firstFrame = frame;
}

} // namespace tavrin
