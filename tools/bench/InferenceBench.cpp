#include "bench/InferenceBench.h"

#include "bench/LimitGraphs.h"
#include "bench/MemoryReader.h"
#include "bench/Report.h"
#include "bench/Timing.h"
#include "platform/onnx/OnnxModelRuntime.h"
#include "speech/SpeechAudio.h"
#include "speech/SpeechModels.h"

#include <array>

namespace tavrin {

namespace {

constexpr int rounds = 15;
constexpr int stepsPerRound = 15;
constexpr double encoderBar = 1.35, stepBar = 1.6;
/// Much more than any processor's cache.
constexpr std::size_t largeBuffer = std::size_t{1} << 30;
/// Rows of the decoder's cache in use while a step is measured, a common length of text.
constexpr std::size_t rowsInUse = 40;

std::string milliseconds(double seconds) {
    return decimal(1000 * seconds, seconds < 0.01 ? 2 : 1) + " ms";
}

std::string processorText(int threads) {
    return threads == 1 ? "1 thread" : std::to_string(threads) + " threads";
}

/// Single steps of the decoder over one window, always behind the same number of tokens.
class DecoderSteps final {
public:
    DecoderSteps(const ModelGraph& decoder, const SpeechModels& models, const EncodedWindow& window)
        : features(DecoderFeatures::of(decoder, "TextDecoder.onnx")),
          inputs(decoderShape(decoder, features, models.config.textPositions, "TextDecoder.onnx")),
          run(decoder, features, window, inputs, false) {
        inputs.reserve(rowsInUse + 1);
        feed(0, rowsInUse);
        feed(rowsInUse, 1);
    }

    /// Seconds of one token's prediction.
    double step() {
        return secondsOf([&] { feed(rowsInUse, 1); });
    }
    /// Seconds of a prompt of so many tokens at the text's start.
    double prompt(std::size_t tokens) {
        feed(0, tokens);
        return medianSeconds(7, [&] { feed(0, tokens); });
    }
    /// Bytes of the keys and values that a step reads.
    [[nodiscard]] std::size_t cacheBytes() const {
        return 2 * inputs.shape.layers * inputs.shape.heads * inputs.cacheCapacity * inputs.shape.headSize *
               sizeof(float);
    }

private:
    void feed(std::size_t behind, std::size_t tokens) {
        constexpr std::int32_t anyWord = 1000;
        inputs.truncate(behind);
        inputs.inputIds.assign(tokens, anyWord);
        run.predict();
    }

    DecoderFeatures features;
    DecodingInputs inputs;
    DecoderRun run;
};

std::size_t crossBytes(const EncodedWindow& window) {
    std::size_t bytes = 0;
    for (const auto& keys : window.crossKeys)
        bytes += keys.size() * sizeof(keys[0]);
    for (const auto& values : window.crossValues)
        bytes += values.size() * sizeof(values[0]);
    return bytes;
}

/// The decoder's matrices. Its table of positions, of which a step reads one row, does not count.
std::size_t weightBytes(const std::filesystem::path& pack, const ModelConfig& config) {
    return std::filesystem::file_size(pack / "TextDecoder.onnx.data") -
           config.textPositions * config.width * sizeof(float);
}

void tellLimits(const LimitGraphs& limits, Report& report) {
    Table table({"products of one window", "runs", "time", "rate"});
    for (const auto& part : limits.parts())
        table.add({part.name, std::to_string(part.count), milliseconds(part.seconds),
                   decimal(part.operations / part.seconds / 1e9, 0) + " G/s"});
    table.add({"sum", "", milliseconds(limits.windowSeconds()), ""});
    report.table(table);
}

void measureEncoder(ModelRuntime& runtime, const SpeechModels& models, const std::filesystem::path& limitFolder,
                    std::span<const float> speech, int threads, Report& report) {
    const std::string suffix = ", " + processorText(threads);
    report.heading("Encoder on " + processorText(threads) + ": the machine's limit");
    LimitGraphs limits(runtime, limitFolder, threads);
    const auto encode = [&](std::size_t frames) {
        const auto features = models.featureExtractor.logMel(speech.first(frames * samplesPerFrame), frames);
        return secondsOf([&] { (void)models.audioEncoder.encode(features, models.config.melBands, frames); });
    };
    models.audioEncoder.prepareSilence(models.config.melBands);
    const std::size_t whole = models.audioEncoder.windowFrames();
    std::array<std::vector<double>, 3> seconds;
    for (int i = 0; i < rounds; ++i) {
        limits.measure();
        for (std::size_t part = 0; part < seconds.size(); ++part)
            seconds[part].push_back(encode(std::array{whole, whole / 3, whole / 6}[part]));
    }
    tellLimits(limits, report);
    const double encoder = median(seconds[0]), limit = limits.windowSeconds();
    report.remark("encoder, 3000 frames: " + milliseconds(encoder) + ", " + decimal(encoder / limit, 2) +
                  " times the limit; 1000 frames " + milliseconds(median(seconds[1])) + "; 500 frames " +
                  milliseconds(median(seconds[2])));
    report.figure("encoder limit" + suffix, 1000 * limit, 1, "ms");
    report.figure("encoder, 3000 frames" + suffix, 1000 * encoder, 1, "ms");
    report.figure("encoder, 1000 frames" + suffix, 1000 * median(seconds[1]), 1, "ms");
    report.figure("encoder, 500 frames" + suffix, 1000 * median(seconds[2]), 1, "ms");
    report.bar("encoder to its limit" + suffix, encoder / limit, encoderBar, 2, "times");
}

void measureDecoder(ModelRuntime& runtime, const SpeechModels& models, const std::filesystem::path& pack,
                    std::span<const float> speech, int threads, Report& report) {
    const std::string suffix = ", " + processorText(threads);
    report.heading("Decoder on " + processorText(threads));
    const auto graph = runtime.load(pack / "TextDecoder.onnx", threads);
    const std::size_t frames = models.audioEncoder.windowFrames();
    const auto features = models.featureExtractor.logMel(speech.first(frames * samplesPerFrame), frames);
    const auto window = models.audioEncoder.encode(features, models.config.melBands, frames);
    DecoderSteps steps(*graph, models, window);
    const std::size_t bytes = weightBytes(pack, models.config) + crossBytes(window) + steps.cacheBytes();
    MemoryReader memory(bytes, threads);
    std::vector<double> seconds;
    for (int i = 0; i < rounds; ++i) {
        memory.measure();
        for (int j = 0; j < stepsPerRound; ++j)
            seconds.push_back(steps.step());
    }
    const double step = median(seconds), limit = static_cast<double>(bytes) / memory.bytesPerSecond();
    double large = 0;
    {
        MemoryReader reader(largeBuffer, threads);
        for (int i = 0; i < 3; ++i)
            reader.measure();
        large = reader.bytesPerSecond();
    }
    report.remark("a step reads " + decimal(static_cast<double>(bytes) / 1e6, 1) + " MB (weights " +
                  decimal(static_cast<double>(weightBytes(pack, models.config)) / 1e6, 1) + ", audio " +
                  decimal(static_cast<double>(crossBytes(window)) / 1e6, 1) + ", text " +
                  decimal(static_cast<double>(steps.cacheBytes()) / 1e6, 1) + ")");
    report.remark("plain sums over a buffer of that size: " + decimal(memory.bytesPerSecond() / 1e9, 1) +
                  " GB/s (the limit below); over 1 GiB: " + decimal(large / 1e9, 1) + " GB/s");
    report.remark("limit " + milliseconds(limit) + ", token " + milliseconds(step) + ", " + decimal(step / limit, 2) +
                  " times the limit");
    Table prompts({"prompt of", "1 token", "3 tokens", "64 tokens", "200 tokens"});
    prompts.add({"time", milliseconds(steps.prompt(1)), milliseconds(steps.prompt(3)), milliseconds(steps.prompt(64)),
                 milliseconds(steps.prompt(200))});
    report.table(prompts);
    report.figure("read rate, decoder's size" + suffix, memory.bytesPerSecond() / 1e9, 1, "GB/s");
    report.figure("read rate, 1 GiB" + suffix, large / 1e9, 1, "GB/s");
    report.figure("decoder limit" + suffix, 1000 * limit, 2, "ms");
    report.figure("decoder step, 1500 positions" + suffix, 1000 * step, 2, "ms");
    report.bar("decoder step to its limit" + suffix, step / limit, stepBar, 2, "times");
}

} // namespace

void measureInference(const std::filesystem::path& pack, const std::filesystem::path& limits,
                      std::span<const float> speech, int threads, Report& report) {
    OnnxModelRuntime runtime;
    const SpeechModels models(runtime, pack, threads);
    measureEncoder(runtime, models, limits, speech, threads, report);
    measureDecoder(runtime, models, pack, speech, threads, report);
}

} // namespace tavrin
