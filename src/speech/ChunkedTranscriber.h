#pragma once

#include "speech/TranscribeTask.h"
#include "speech/VoiceChunker.h"

#include <cstddef>
#include <functional>
#include <span>

namespace tavrin {

/// Transcribes audio of any length in flat memory: cuts it at pauses as it comes, leaves out what holds no speech, and
/// decodes several chunks side by side.
class ChunkedTranscriber final {
public:
    /// `workers` chunks are decoded at a time, each on a thread of its own. The models must outlive the transcriber.
    ChunkedTranscriber(const SpeechModels& models, DecodingOptions options, std::size_t workers);

    /// Fills the buffer with the next samples, 16 kHz mono, and returns how many; 0 at the end. May throw.
    using Source = std::function<std::size_t(std::span<float>)>;
    /// Gets each chunk's result in the order of the audio, with times from its start. `false` ends the transcription.
    using Sink = std::function<bool(const TranscriptionResult&)>;

    /// Runs until the source ends. Source and sink are called on the caller's thread, the callback on the workers'.
    /// Throws what source, sink and engine throw; no worker runs any more then.
    void run(const Source& source, const Sink& sink, const TranscriptionCallback& callback = {});

private:
    [[nodiscard]] TranscriptionResult transcribe(const VoiceChunk& chunk, const TranscriptionCallback& callback) const;

    const SpeechModels& models;
    DecodingOptions options;
    std::size_t workers;
};

} // namespace tavrin
