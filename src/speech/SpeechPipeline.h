#pragma once

#include "speech/TranscribeTask.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace tavrin {

/// Where a part of the model may run. Here everything means the processor.
enum class ComputeUnits : std::uint8_t { cpuOnly, cpuAndGPU, cpuAndNeuralEngine, all };

struct ModelComputeOptions {
    ComputeUnits melCompute = ComputeUnits::cpuAndGPU;
    ComputeUnits audioEncoderCompute = ComputeUnits::cpuAndNeuralEngine;
    ComputeUnits textDecoderCompute = ComputeUnits::cpuAndNeuralEngine;

    [[nodiscard]] static ModelComputeOptions onProcessor() noexcept {
        return {ComputeUnits::cpuOnly, ComputeUnits::cpuOnly, ComputeUnits::cpuOnly};
    }
};

struct SpeechPipelineConfig {
    /// The variant's name, for messages.
    std::string model;
    std::filesystem::path modelFolder;
    ModelComputeOptions computeOptions;
    /// Processors that one window uses.
    int threads = 1;
    /// All of its transcriptions are verbose; see DecodingOptions.
    bool verbose = false;
    /// Runs each model once while loading, so that the first window is not the slow one.
    bool prewarm = false;
    bool load = true;
};

enum class ModelState : std::uint8_t { unloaded, loading, prewarming, loaded };

/// The front object of recognition: owns a share of the models and hands audio to tasks.
///
/// `transcribe` may be called from several threads at once; all of it blocks.
class SpeechPipeline final {
public:
    /// With `load` set, loads the models. Throws SpeechError ("Model folder is not set.") and ModelRuntimeError.
    SpeechPipeline(SpeechPipelineConfig config, SpeechModelCache& cache,
                   std::function<void(ModelState)> modelStateCallback = {});

    void loadModels();
    /// Computes what the first short audio would else wait for. Blocks for a window's encoding the first time, and not
    /// after. Throws SpeechError before the models are loaded, and ModelRuntimeError.
    void prepare() const;
    [[nodiscard]] ModelState modelState() const noexcept { return state; }
    /// The loaded models. Throws SpeechError before they are.
    [[nodiscard]] const SpeechModels& models() const;

    /// Transcribes 16 kHz mono from -1 to 1. With a chunking strategy: one result a chunk, decoded side by side and
    /// possibly none; else one result. The callback is called on the decoding threads.
    [[nodiscard]] std::vector<TranscriptionResult> transcribe(std::span<const float> audioArray,
                                                              const DecodingOptions& decodeOptions,
                                                              const TranscriptionCallback& callback = {});

    /// Language of the first window. Throws SpeechError with an English-only model.
    [[nodiscard]] DecodingResult detectLanguage(std::span<const float> audioArray) const;

    /// What the last finished transcription took.
    [[nodiscard]] TranscriptionTimings currentTimings() const;
    [[nodiscard]] const WorkProgress& progress() const noexcept { return walked; }

    /// Set before use; called on the transcribing thread.
    SegmentDiscoveryCallback segmentDiscoveryCallback;

private:
    void setState(ModelState next);
    void prewarm() const;

    SpeechPipelineConfig config;
    SpeechModelCache& cache;
    std::function<void(ModelState)> modelStateCallback;
    ModelState state = ModelState::unloaded;
    std::shared_ptr<const SpeechModels> loaded;
    WorkProgress walked;
    mutable std::mutex timingsLock;
    TranscriptionTimings timings;
};

} // namespace tavrin
