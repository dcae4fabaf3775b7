#pragma once

#include "speech/VoiceActivity.h"

#include <cstddef>
#include <span>
#include <vector>

namespace tavrin {

/// True if the probabilities of an audio's frames hold speech: four frames above one half within a second. Passes
/// single short words; noise, music and clicks do not get there.
[[nodiscard]] bool holdsSpeech(std::span<const float> probabilities) noexcept;

/// A stretch of an audio with speech in it, and pauses of up to two seconds.
struct VoiceChunk {
    /// In samples from the start of the audio.
    std::size_t start = 0;
    std::vector<float> samples;
};

/// Cuts an audio of any length, as it comes, into chunks that fit a window and begin and end in pauses. What lies
/// between them holds no speech. Keeps about a window's samples. Not thread-safe.
class VoiceChunker final {
public:
    explicit VoiceChunker(VoiceActivity activity);

    /// Takes the next samples, 16 kHz; returns the chunks that they complete.
    [[nodiscard]] std::vector<VoiceChunk> push(std::span<const float> samples);
    /// The end of the audio: returns what is left.
    [[nodiscard]] std::vector<VoiceChunk> finish();

private:
    void takeFrame(float probability, std::vector<VoiceChunk>& done);
    void cutLongChunk(std::vector<VoiceChunk>& done);
    void close(std::size_t endFrame, std::vector<VoiceChunk>& done);
    void forgetBefore(std::size_t frame);
    [[nodiscard]] float probabilityAt(std::size_t frame) const { return probabilities[frame - firstFrame]; }

    VoiceActivity activity;
    /// Samples and probabilities from `firstFrame` on; samples may run ahead by less than a frame.
    std::vector<float> probabilities;
    std::vector<float> samples;
    std::size_t firstFrame = 0;
    std::size_t nextFrame = 0;
    std::size_t freeFrame = 0; ///< behind the last chunk: the next one may begin here
    bool isOpen = false;
    std::size_t chunkBegin = 0;
    std::size_t lastSpeech = 0;
};

} // namespace tavrin
