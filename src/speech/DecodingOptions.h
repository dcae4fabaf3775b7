#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tavrin {

enum class DecodingTask : std::uint8_t { transcribe, translate };

/// How a long audio array is split before it is decoded: `vad` cuts it at pauses between speech.
enum class ChunkingStrategy : std::uint8_t { vad };

/// What a caller asks of one transcription. The defaults are the engine's.
struct DecodingOptions {
    /// The log (level debug) also gets a line per token: its place, never what it is.
    bool verbose = false;
    DecodingTask task = DecodingTask::transcribe;
    /// Two-letter code; none: detected if asked for, else English.
    std::optional<std::string> language;
    float temperature = 0.0F;
    float temperatureIncrementOnFallback = 0.2F;
    int temperatureFallbackCount = 5;
    /// The most tokens sampled for a window.
    int sampleLength = 224;
    /// How many of the likeliest tokens a draw at a temperature above 0 chooses from.
    int topK = 5;
    bool usePrefillPrompt = true;
    /// The prompt's keys and values are computed once per window and kept for its retries.
    bool usePrefillCache = true;
    bool detectLanguage = false;
    /// Leaves special and time tokens out of the segments' tokens, too. Their texts never hold any.
    bool skipSpecialTokens = false;
    bool withoutTimestamps = false;
    bool wordTimestamps = false;
    /// Seconds; the first time token of a window is not above it.
    std::optional<float> maxInitialTimestamp;
    /// Samples; a window's seek never moves further than this.
    std::optional<int> maxWindowSeek;
    /// Seconds, pairs of start and end; a last start without an end runs to the end of the audio.
    std::vector<float> clipTimestamps;
    /// Seconds; a rest of a clip that is not longer than this is not decoded as a window of its own.
    float windowClipTime = 1.0F;
    /// Text said before the audio, as tokens; the last 223 count.
    std::optional<std::vector<int>> promptTokens;
    /// What the text of each window begins with, as tokens.
    std::optional<std::vector<int>> prefixTokens;
    bool suppressBlank = false;
    /// Tokens never sampled, in addition to those that only steer. Brackets, colons and the like are said at times.
    std::vector<int> suppressTokens;
    std::optional<float> compressionRatioThreshold = 2.4F;
    std::optional<float> logProbThreshold = -1.0F;
    std::optional<float> firstTokenLogProbThreshold = -1.5F;
    std::optional<float> noSpeechThreshold = 0.6F;
    /// How many parts of a chunked audio are decoded at a time.
    int concurrentWorkerCount = 16;
    std::optional<ChunkingStrategy> chunkingStrategy;
    /// Encodes short audio with a short context completed by silence, which is several times faster.
    bool shortContext = true;
};

} // namespace tavrin
