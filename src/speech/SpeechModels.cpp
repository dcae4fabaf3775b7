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
    std::error_code unknown; // a folder that is not there is the loader's to report
    const std::pair key(std::filesystem::weakly_canonical(folder, unknown), threads);
    std::shared_ptr<Entry> entry;
    {
        const std::lock_guard guard(lock);
        auto& known = entries[key];
        if (!known) known = std::make_shared<Entry>();
        entry = known;
    }
    const std::lock_guard loading(entry->loading);
    {
        const std::lock_guard guard(lock);
        if (auto models = entry->models.lock()) return models;
    }
    auto models = std::make_shared<const SpeechModels>(runtime, folder, threads);
    const std::lock_guard guard(lock);
    entry->models = models;
    return models;
}

void SpeechModelCache::forget(const SpeechModels& broken) {
    const std::lock_guard guard(lock);
    for (const auto& [key, entry] : entries)
        if (entry->models.lock().get() == &broken) entry->models.reset();
}

} // namespace tavrin
