#include "bench/LiveLanes.h"

#include "speech/TranscribeTask.h"
#include "support/async/Sleep.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tavrin {

namespace {

constexpr std::size_t step = 1'600; // 100 ms

/// The samples of a step, as devices give them.
std::vector<std::byte> pcmAt(std::span<const float> samples, std::size_t begin) {
    std::vector<std::byte> pcm;
    for (std::size_t i = begin; i < begin + step; ++i) {
        const float sample = i < samples.size() ? samples[i] : 0.0F;
        const auto value = static_cast<std::int16_t>(std::clamp(std::lround(sample * 32'768), -32'768L, 32'767L));
        pcm.push_back(static_cast<std::byte>(value & 0xFF));
        pcm.push_back(static_cast<std::byte>((value >> 8) & 0xFF));
    }
    return pcm;
}

} // namespace

Transcribe chunkTranscriber(const SpeechModels& models) {
    return [&models](std::vector<float> samples, bool withWords) -> Task<ChunkText> {
        ChunkText said;
        DecodingOptions options;
        options.language = "en";
        options.shortContext = true;
        options.wordTimestamps = withWords;
        if (models.hearsSpeech(samples))
            for (const auto& segment : TranscribeTask(models).run(samples, options).segments) {
                said.text += segment.text;
                for (const WordTiming& word : segment.words.value_or(std::vector<WordTiming>()))
                    said.words.push_back({.text = word.word, .start = word.start, .end = word.end});
            }
        co_return said;
    };
}

LiveLanes::LiveLanes(Transcribe transcribeChunk)
    : transcribe(std::move(transcribeChunk)),
      meLane(meLaneSettings(MeetingEngine::dictation), dependencies(true), callbacks("Me")),
      themLane(themLaneSettings(MeetingEngine::dictation), dependencies(false), callbacks("Them")),
      meLines(time.main(), transcript,
              [this](Date date) { return transcript.hasThemResults() || themLane.mayFollow(date); }) {
    state.status = MeetingStatus{.phase = MeetingStatus::Phase::recording};
    state.systemAudioActive = true;
}

LiveLanes::Lane::Dependencies LiveLanes::dependencies(bool mayHearEcho) {
    Lane::Dependencies result{.main = time.main(),
                              .lane = time.addExecutor(),
                              .clock = time.wallClock(),
                              .transcribe = [this](std::vector<float> samples, bool withWords) -> Task<ChunkText> {
                                  ChunkText said = co_await transcribe(std::move(samples), withWords);
                                  co_await sleepFor(engineTime);
                                  co_return said;
                              },
                              .note = [](const std::string&) {}};
    if (mayHearEcho) result.silenceEcho = [this](SpeechChunk& chunk) { suppressor.silenceEcho(chunk, 0); };
    return result;
}

LiveLanes::Lane::Callbacks LiveLanes::callbacks(std::string_view label) {
    Lane::Callbacks hooks;
    hooks.onResult = [this, label](std::string text, const SpeechChunk& chunk) {
        if (label == meLabel) {
            meLines.add(spoken(chunk, std::move(text), suppressor.likeness(chunk, 0)), 0, {});
        } else {
            meLines.themSaid(spoken(chunk, text));
            transcript.enqueueThemResult(
                {.text = std::move(text), .speakerLabel = std::string(label), .date = chunk.date}, 0, {});
        }
        return true;
    };
    return hooks;
}

void LiveLanes::play(std::span<const float> me, std::span<const float> them) {
    for (std::size_t at = 0; at < std::max(me.size(), them.size()); at += step) {
        meLane.inlet()(pcmAt(me, at));
        reference.append(pcmAt(them, at));
        themLane.inlet()(pcmAt(them, at));
        time.advance(std::chrono::milliseconds(100));
    }
    TaskScope tasks(time.main());
    tasks.spawn([&]() -> Task<void> {
        co_await themLane.flushForFinish();
        co_await meLane.flushForFinish();
        co_await transcript.themResultsDone();
        meLines.release();
    });
    time.advance(std::chrono::seconds(30));
}

} // namespace tavrin
