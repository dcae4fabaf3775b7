#pragma once

#include "platform/ModelRuntime.h"
#include "speech/AudioEncoder.h"
#include "speech/FeatureExtractor.h"
#include "speech/ModelConfig.h"
#include "speech/SegmentSeeker.h"
#include "speech/TextDecoder.h"
#include "speech/Tokenizer.h"
#include "speech/TranscriptionTimings.h"
#include "speech/VoiceActivity.h"

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

namespace tavrin {

/// Everything that a model folder holds, loaded. Immutable; shared by all who transcribe with it, on any thread.
class SpeechModels final {
public:
    /// Loads `folder` for runs on `threads` processors each. Blocks for some tenths of a second. Throws SpeechError or
    /// ModelRuntimeError with the name of the part that is missing, broken or of another variant.
    SpeechModels(ModelRuntime& runtime, const std::filesystem::path& folder, int threads);

    /// A detector for one audio.
    [[nodiscard]] VoiceActivity newVoiceActivity() const { return {voiceGraph, voiceFile}; }
    /// True if `audio` (16 kHz) holds speech at all. Throws ModelRuntimeError.
    [[nodiscard]] bool hearsSpeech(std::span<const float> audio) const;

    TranscriptionTimings loadTimings;
    ModelConfig config;
    Tokenizer tokenizer;
    FeatureExtractor featureExtractor;

private:
    std::shared_ptr<const ModelGraph> decoderGraph;

public:
    TextDecoder textDecoder;
    AudioEncoder audioEncoder;
    SegmentSeeker segmentSeeker;

private:
    std::shared_ptr<const ModelGraph> voiceGraph;
    std::string voiceFile;
};

/// Gives the loaded models of a folder to all who ask, so that several engines share one set of weights. They are
/// unloaded with their last user. Thread-safe; the runtime must outlive it.
class SpeechModelCache final {
public:
    explicit SpeechModelCache(ModelRuntime& models) : runtime(models) {}

    /// As the constructor of SpeechModels. Two callers at once load once; loads of different folders go side by side.
    [[nodiscard]] std::shared_ptr<const SpeechModels> load(const std::filesystem::path& folder, int threads);

    /// Gives these models to nobody else, who then gets others: for models that turned out to be broken. Those who have
    /// them keep them.
    void forget(const SpeechModels& broken);

private:
    struct Entry {
        std::mutex loading; // held by the one who loads
        std::weak_ptr<const SpeechModels> models;
    };

    ModelRuntime& runtime;
    std::mutex lock; // for the map and the entries' models; never held for long
    std::map<std::pair<std::filesystem::path, int>, std::shared_ptr<Entry>> entries;
};

} // namespace tavrin
