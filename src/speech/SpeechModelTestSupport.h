#pragma once

#include "platform/fake/FakeModelRuntime.h"
#include "speech/TestTokenizer.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace tavrin {

/// A speech model of a few kilobytes that says what it is told, a byte a token. Loud samples are speech to it. It
/// serves one decoding at a time. Its graphs are added to a runtime; its folders hold all that the engine reads of a
/// model's files. Thread: set up on one; its graphs run on any.
class ScriptedSpeechModel final {
public:
    enum class Languages : std::uint8_t { onlyEnglish, several };

    static constexpr float never = -30.0F;

    /// What the decoder says of a window.
    struct Window {
        std::vector<int> tokens;   // up to the end
        float confidence = -never; // logit of each token over all others
    };

    explicit ScriptedSpeechModel(FakeModelRuntime& runtime, Languages known = Languages::several)
        : isMultilingual(known == Languages::several) {
        addVoiceGate(runtime);
        addEncoder(runtime);
        addDecoder(runtime);
    }

    /// Makes the model folder and gives it back.
    std::filesystem::path install(const std::filesystem::path& folder) const {
        std::filesystem::create_directories(folder);
        for (const char* part : {"MelSpectrogram.onnx", "AudioEncoder.onnx", "TextDecoder.onnx"})
            std::ofstream(folder / part) << "scripted";
        std::ofstream(folder / "tokenizer.json") << test::tinyTokenizerText();
        TokenizerJson config{{"dims",
                              {{"mel_bands", 80},
                               {"audio_positions", 1500},
                               {"text_positions", 448},
                               {"width", 1},
                               {"heads", 1},
                               {"decoder_layers", 1},
                               {"vocabulary", vocabulary()}}}};
        if (isMultilingual) config["lang_ids"] = {languageToken("en"), languageToken("de"), languageToken("fr")};
        std::ofstream(folder / "config.json") << config;
        return folder;
    }

    /// What the next windows say, one after another; windows beyond them say nothing.
    void say(std::vector<std::string> windows) {
        const std::scoped_lock guard(lock);
        texts.assign(windows.begin(), windows.end());
    }

    [[nodiscard]] int timeToken(double seconds) const {
        return tokenizer.special().timeTokenBegin + static_cast<int>(std::lround(seconds * 50));
    }

    /// How many frames each window had that was encoded since the last call.
    [[nodiscard]] std::vector<std::size_t> takeEncodedFrames() {
        const std::scoped_lock guard(lock);
        return std::exchange(encodedFrames, {});
    }

    /// The language tokens that were fed, as codes, in the order of the windows.
    [[nodiscard]] std::vector<std::string> languagesFed() const {
        const std::scoped_lock guard(lock);
        return fedLanguages;
    }

    /// Asked at the beginning of each decoding in place of what say() was told. Set before use.
    std::function<Window()> script;

    static std::vector<float> speech(std::size_t samples = 80'000) { return std::vector<float>(samples, 0.5F); }
    static std::vector<float> silence(std::size_t samples = 80'000) { return std::vector<float>(samples, 0.0F); }

    /// How likely German is against French, whose logit is 0; with several languages. Set before use.
    float germanLogit = never;
    /// How likely silence is against a token of logit 0. Set before use.
    float silenceLogit = never;
    /// Called before each prediction, on the decoding thread. Set before use.
    std::function<void()> onPrediction;

private:
    [[nodiscard]] std::int64_t vocabulary() const { return static_cast<std::int64_t>(tokenizer.size()); }
    [[nodiscard]] int languageToken(const std::string& code) const { return tokenizer.languageTokens().at(code); }

    static void addVoiceGate(FakeModelRuntime& runtime) {
        using enum ElementType;
        const std::vector<std::int64_t> state{1, 1, 128};
        const auto listen = [](FakeModelRuntime::Tensors& tensors) {
            const auto frames = tensors.input<float>("input");
            const auto probabilities = tensors.output<float>("speech_probs");
            const std::size_t length = frames.size() / probabilities.size();
            for (std::size_t i = 0; i < probabilities.size(); ++i)
                probabilities[i] = std::ranges::max(frames.subspan(i * length, length)) > 0.1F ? 1.0F : 0.0F;
        };
        runtime.addGraph("SpeechGate.onnx",
                         {.inputs = {{"input", float32, {-1, -1}}, {"h", float32, state}, {"c", float32, state}},
                          .outputs = {{"speech_probs", float32, {-1}}, {"hn", float32, state}, {"cn", float32, state}},
                          .compute = listen});
    }

    void addEncoder(FakeModelRuntime& runtime) {
        using enum ElementType;
        const auto encode = [this](FakeModelRuntime::Tensors& tensors) {
            const std::scoped_lock guard(lock);
            encodedFrames.push_back(tensors.input<float>("melspectrogram_features").size() / 80);
        };
        runtime.addGraph("AudioEncoder.onnx", {.inputs = {{"melspectrogram_features", float32, {1, 80, 1, -1}}},
                                               .outputs = {{"encoder_output_embeds", float32, {1, -1, 1}},
                                                           {"cross_key_0", float16, {1, 1, -1, 1}},
                                                           {"cross_value_0", float16, {1, 1, -1, 1}}},
                                               .compute = encode});
    }

    void addDecoder(FakeModelRuntime& runtime) {
        using enum ElementType;
        const std::vector<std::int64_t> cache{1, 1, -1, 1};
        runtime.addGraph("TextDecoder.onnx",
                         {.inputs = {{"input_ids", int32, {1, -1}},
                                     {"cache_length", int32, {1}},
                                     {"key_cache", float32, cache},
                                     {"value_cache", float32, cache},
                                     {"decoder_key_padding_mask", float32, {1, -1}},
                                     {"cross_key_0", float16, cache},
                                     {"cross_value_0", float16, cache}},
                          .outputs = {{"logits", float32, {1, 1, vocabulary()}},
                                      {"key_cache_updates", float32, cache},
                                      {"value_cache_updates", float32, cache}},
                          .compute = [this](FakeModelRuntime::Tensors& tensors) { predict(tensors); }});
    }

    /// A time, the characters, a later time.
    Window nextText() {
        Window said{.tokens = {timeToken(0)}};
        if (texts.empty()) return said;
        const auto text = tokenizer.encode(texts.front());
        said.tokens.insert(said.tokens.end(), text.begin(), text.end());
        said.tokens.push_back(timeToken(1));
        texts.pop_front();
        return said;
    }

    void predict(FakeModelRuntime::Tensors& tensors) {
        if (onPrediction) onPrediction();
        const auto fed = tensors.input<std::int32_t>("input_ids");
        const auto position = static_cast<std::size_t>(tensors.input<std::int32_t>("cache_length").front());
        const auto logits = tensors.output<float>("logits");
        const auto logitOf = [&](int token) -> float& { return logits[static_cast<std::size_t>(token)]; };
        const std::scoped_lock guard(lock);
        if (position == 0) {
            window = script ? script() : nextText();
            promptLength.reset();
        }
        if (position > 0 ? fed.size() > 1 : !isMultilingual) promptLength = position + fed.size();
        noteLanguage(fed);
        std::ranges::fill(logits, -window.confidence);
        if (!promptLength) {
            logitOf(languageToken("fr")) = 0;
            logitOf(languageToken("de")) = germanLogit;
        } else {
            const std::size_t next = position + fed.size() - *promptLength;
            logitOf(next < window.tokens.size() ? window.tokens[next] : tokenizer.special().endToken) = 0;
        }
        if (position == 0) logitOf(tokenizer.special().noSpeechToken) = silenceLogit;
    }

    void noteLanguage(std::span<const std::int32_t> fed) {
        for (const auto& [code, token] : tokenizer.languageTokens())
            if (std::ranges::find(fed, token) != fed.end()) fedLanguages.push_back(code);
    }

    const Tokenizer tokenizer = test::tinyTokenizer();
    const bool isMultilingual;
    mutable std::mutex lock; // for all below
    std::deque<std::string> texts;
    Window window;
    std::optional<std::size_t> promptLength; // unknown until the language is chosen
    std::vector<std::size_t> encodedFrames;
    std::vector<std::string> fedLanguages;
};

} // namespace tavrin
