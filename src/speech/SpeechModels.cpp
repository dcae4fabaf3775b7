#include "speech/SpeechModels.h"

#include "speech/SpeechError.h"
#include "speech/VoiceChunker.h"

namespace tavrin {

namespace {

std::shared_ptr<const ModelGraph> timedLoad(ModelRuntime& runtime, const std::filesystem::path& file, int threads,
                                            double& seconds) {
    const StageTimer timer(seconds);
    return runtime.load(file, threads);
}

Tokenizer timedTokenizer(const std::filesystem::path& folder, const ModelConfig& config, double& seconds) {
    const StageTimer timer(seconds);
    const auto file = folder / "tokenizer.json";
    auto tokenizer = Tokenizer::load(file);
    config.checkTokenizer(tokenizer, file.string());
    return tokenizer;
}

} // namespace

SpeechModels::SpeechModels(ModelRuntime& runtime, const std::filesystem::path& folder, int threads)
    : config(ModelConfig::load(folder / "config.json")),
      tokenizer(timedTokenizer(folder, config, loadTimings.tokenizerLoadTime)), featureExtractor(config.melBands),
      decoderGraph(timedLoad(runtime, folder / "TextDecoder.onnx", threads, loadTimings.decoderLoadTime)),
      textDecoder(decoderGraph, config, tokenizer, (folder / "TextDecoder.onnx").string()),
      audioEncoder(timedLoad(runtime, folder / "AudioEncoder.onnx", threads, loadTimings.encoderLoadTime),
                   config.audioPositions, textDecoder.needsEmbeds(), (folder / "AudioEncoder.onnx").string()),
      segmentSeeker(tokenizer), voiceFile((folder / "SpeechGate.onnx").string()) {
    voiceGraph = runtime.load(voiceFile, 1);
    (void)newVoiceActivity();
    if (!std::filesystem::exists(folder / "MelSpectrogram.onnx"))
        throw SpeechError((folder / "MelSpectrogram.onnx").string() + ": no such file");
    loadTimings.modelLoading =
        loadTimings.tokenizerLoadTime + loadTimings.encoderLoadTime + loadTimings.decoderLoadTime;
}

bool SpeechModels::hearsSpeech(std::span<const float> audio) const {
    return holdsSpeech(newVoiceActivity().probabilitiesOf(audio));
}

std::shared_ptr<const SpeechModels> SpeechModelCache::load(const std::filesystem::path& folder, int threads) {
    const std::lock_guard guard(lock);
    std::error_code unknown; // a folder that is not there is the loader's to report
    auto& entry = loaded[{std::filesystem::weakly_canonical(folder, unknown), threads}];
    if (auto models = entry.lock()) return models;
    auto models = std::make_shared<const SpeechModels>(runtime, folder, threads);
    entry = models;
    return models;
}

} // namespace tavrin
