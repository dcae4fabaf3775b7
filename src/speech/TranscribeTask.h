#pragma once

#include "speech/SpeechModels.h"

#include <atomic>
#include <cstddef>
#include <span>

namespace tavrin {

/// Samples done of samples to do, readable from any thread.
struct WorkProgress {
    std::atomic<std::size_t> total{0};
    std::atomic<std::size_t> completed{0};
};

/// One walk over an audio array in windows of 30 s: encode, decode, retry where the result looks bad, find segments.
/// One thread; the models may be shared with others.
class TranscribeTask final {
public:
    /// `progress`, if given, gets this walk's samples added and must outlive it.
    explicit TranscribeTask(const SpeechModels& speechModels, WorkProgress* walked = nullptr);

    /// Transcribes 16 kHz mono from -1 to 1. Blocks. A callback that says false ends the walk with what is decoded, the
    /// window under way included. Throws SpeechError ("Audio samples are nil" for an empty array)
    /// and ModelRuntimeError.
    [[nodiscard]] TranscriptionResult run(std::span<const float> audio, const DecodingOptions& options,
                                          const TranscriptionCallback& callback = {});

    /// Called with the segments of each window, on the walking thread.
    SegmentDiscoveryCallback segmentDiscoveryCallback;

private:
    struct Clip {
        std::size_t begin, end;
    };
    [[nodiscard]] static std::vector<Clip> seekClips(std::size_t samples, const DecodingOptions& options);
    /// False if the callback stopped it: then nothing follows.
    [[nodiscard]] bool walkClip(std::span<const float> audio, const Clip& clip, const DecodingOptions& options,
                                const TranscriptionCallback& callback, TranscriptionResult& result);
    [[nodiscard]] EncodedWindow encode(std::span<const float> samples, bool shortContext);
    [[nodiscard]] DecodingResult decodeWindow(std::span<const float> samples, const DecodingOptions& options,
                                              const TranscriptionCallback& callback);
    [[nodiscard]] DecodingResult decodeWithFallback(const EncodedWindow& window, const DecodingOptions& options,
                                                    const TranscriptionCallback& callback);
    [[nodiscard]] bool isRestWorthWalking(std::span<const float> rest, const DecodingOptions& options) const;

    const SpeechModels& models;
    WorkProgress* progress;
    TranscriptionTimings timings;
    int windowId = 0;
};

} // namespace tavrin
