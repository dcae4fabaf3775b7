#include "platform/fake/FakeModelRuntime.h"
#include "speech/ChunkedTranscriber.h"
#include "speech/FastMath.h"
#include "speech/SpeechAudio.h"
#include "speech/SpeechError.h"
#include "speech/SpeechPipeline.h"
#include "speech/TestTokenizer.h"
#include "speech/TranscribeTask.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <cmath>
#include <fstream>
#include <mutex>

namespace tavrin {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr std::int64_t layers = 1, heads = 2, headSize = 4, width = 8;

/// What the scripted decoder says of a window, by the loudness of its first second (the encoder carries it through).
struct Script {
    std::vector<int> tokens;
    /// Logit of the scripted token over all others; a small one makes poor probabilities.
    float confidence = 20;
    float noSpeechLogit = -20;
};

/// A model of a few hundred tokens whose decoder follows scripts, so that every rule of the walk can be provoked.
class TranscribeTaskTest : public testing::Test {
protected:
    TranscribeTaskTest() : folder((std::filesystem::temp_directory_path() / "tavrin-XXXXXX").string()) {
        mkdtemp(folder.data());
        std::ofstream(folder + "/tokenizer.json") << test::tinyTokenizerText();
        const auto size = test::tinyTokenizer().size();
        std::ofstream(folder + "/config.json")
            << R"({"variant": "tiny", "lang_ids": [1], "dims": {"mel_bands": 80, "audio_positions": 1500, "text_positions": 448, "width": 8,)"
            << R"("heads": 2, "encoder_layers": 1, "decoder_layers": 1, "vocabulary": )" << size << "}}";
        std::ofstream(folder + "/MelSpectrogram.onnx") << "unused";
        addEncoder();
        addDecoder(static_cast<std::int64_t>(size));
        addVoiceActivity();
        models = std::make_unique<SpeechModels>(runtime, folder, 1);
    }
    ~TranscribeTaskTest() override { std::filesystem::remove_all(folder); }

    /// Carries the loudest feature of the first frames in the first cross key.
    void addEncoder() {
        runtime.addGraph("AudioEncoder.onnx",
                         {{{"melspectrogram_features", ElementType::float32, {1, 80, 1, -1}}},
                          {{"encoder_output_embeds", ElementType::float32, {1, -1, width}},
                           {"cross_key_0", ElementType::float16, {1, heads, -1, headSize}},
                           {"cross_value_0", ElementType::float16, {1, heads, -1, headSize}}},
                          [this](FakeModelRuntime::Tensors& tensors) {
                              const auto features = tensors.input<float>("melspectrogram_features");
                              encodedFrames.push_back(features.size() / 80);
                              const auto keys = tensors.output<std::uint16_t>("cross_key_0");
                              std::ranges::fill(keys, std::uint16_t{0});
                              std::ranges::fill(tensors.output<std::uint16_t>("cross_value_0"), std::uint16_t{0});
                              keys[0] = maximum(features) > -1 ? std::uint16_t{1} : std::uint16_t{0};
                          }});
    }

    void addDecoder(std::int64_t vocabulary) {
        runtime.addGraph("TextDecoder.onnx",
                         {{{"input_ids", ElementType::int32, {1, -1}},
                           {"cache_length", ElementType::int32, {1}},
                           {"key_cache", ElementType::float32, {layers, heads, -1, headSize}},
                           {"value_cache", ElementType::float32, {layers, heads, -1, headSize}},
                           {"decoder_key_padding_mask", ElementType::float32, {1, -1}},
                           {"cross_key_0", ElementType::float16, {1, heads, -1, headSize}},
                           {"cross_value_0", ElementType::float16, {1, heads, -1, headSize}}},
                          {{"logits", ElementType::float32, {1, 1, vocabulary}},
                           {"key_cache_updates", ElementType::float32, {layers, heads, -1, headSize}},
                           {"value_cache_updates", ElementType::float32, {layers, heads, -1, headSize}}},
                          [this](FakeModelRuntime::Tensors& tensors) { decode(tensors); }});
    }

    void decode(FakeModelRuntime::Tensors& tensors) {
        const std::lock_guard guard(lock);
        const auto ids = tensors.input<std::int32_t>("input_ids");
        const auto length = tensors.input<std::int32_t>("cache_length")[0];
        const auto logits = tensors.output<float>("logits");
        std::ranges::fill(logits, 0.0F);
        const auto& special = models->tokenizer.special();
        if (length == 0) decodings.push_back(static_cast<int>(ids.size()));
        if (ids.back() == special.startOfTranscriptToken) {
            const auto& next = scripts[std::min(window, scripts.size() - 1)];
            logits[static_cast<std::size_t>(special.noSpeechToken)] = next.noSpeechLogit;
            logits[static_cast<std::size_t>(models->tokenizer.languageTokens().at("de"))] = 30;
            return;
        }
        const std::size_t fed = static_cast<std::size_t>(length) + ids.size();
        if (ids.size() > 1) promptLength = fed;
        const std::size_t step = fed - promptLength;
        const auto& script = scripts[std::min(window, scripts.size() - 1)];
        const bool ends = step >= script.tokens.size();
        logits[static_cast<std::size_t>(ends ? special.endToken : script.tokens[step])] = script.confidence;
    }

    /// Frames louder than a trifle are speech.
    void addVoiceActivity() {
        runtime.addGraph("SpeechGate.onnx", {{{"input", ElementType::float32, {-1, 576}},
                                              {"h", ElementType::float32, {1, 1, 128}},
                                              {"c", ElementType::float32, {1, 1, 128}}},
                                             {{"speech_probs", ElementType::float32, {-1}},
                                              {"hn", ElementType::float32, {1, 1, 128}},
                                              {"cn", ElementType::float32, {1, 1, 128}}},
                                             [](FakeModelRuntime::Tensors& tensors) {
                                                 const auto input = tensors.input<float>("input");
                                                 const auto probabilities = tensors.output<float>("speech_probs");
                                                 for (std::size_t i = 0; i < probabilities.size(); ++i)
                                                     probabilities[i] =
                                                         maximum(input.subspan(i * 576, 576)) > 0.1F ? 0.9F : 0.05F;
                                             }});
    }

    static std::vector<float> tone(double seconds) {
        std::vector<float> samples(static_cast<std::size_t>(seconds * speechSampleRate));
        for (std::size_t i = 0; i < samples.size(); ++i)
            samples[i] = 0.5F * std::sin(static_cast<float>(i) * 0.3F);
        return samples;
    }
    static std::vector<float> silence(double seconds) {
        return std::vector<float>(static_cast<std::size_t>(seconds * speechSampleRate));
    }

    int at(double seconds) const {
        return models->tokenizer.special().timeTokenBegin + static_cast<int>(std::lround(seconds * 50));
    }

    TranscriptionResult run(const std::vector<float>& audio, const DecodingOptions& options = {},
                            const TranscriptionCallback& callback = {}) {
        TranscribeTask task(*models);
        task.segmentDiscoveryCallback = [this](const auto&) { ++window; };
        return task.run(audio, options, callback);
    }

    std::string folder;
    FakeModelRuntime runtime;
    std::unique_ptr<SpeechModels> models;
    std::mutex lock;
    std::vector<Script> scripts;
    std::size_t window = 0, promptLength = 0;
    std::vector<std::size_t> encodedFrames;
    std::vector<int> decodings;
};

TEST_F(TranscribeTaskTest, short_audio_is_encoded_with_a_short_context_and_silence_once) {
    scripts = {{.tokens = {at(0), 'h', 'i', at(1)}}};
    EXPECT_EQ(run(tone(1)).text, "hi");
    EXPECT_THAT(encodedFrames, ElementsAre(1000, 3000)); // ten seconds; the silent window
    encodedFrames.clear();
    EXPECT_EQ(run(tone(11)).text, "hi");
    EXPECT_THAT(encodedFrames, ElementsAre(1300));
    encodedFrames.clear();
    EXPECT_EQ(run(tone(29)).text, "hi");
    EXPECT_THAT(encodedFrames, ElementsAre(3000));
}

TEST_F(TranscribeTaskTest, a_loop_in_the_short_context_is_decoded_again_with_the_whole_window) {
    std::vector<int> loop{at(0)};
    for (int i = 0; i < 200; ++i)
        loop.push_back("la "[i % 3]);
    scripts = {{.tokens = loop}};
    const auto result = run(tone(1));
    EXPECT_THAT(encodedFrames, testing::Contains(3000U));
    // The short context stops at 28 tokens; the whole window loops at every temperature.
    EXPECT_EQ(decodings.size(), 2U);
    EXPECT_EQ(result.timings.totalDecodingFallbacks, 6);
    EXPECT_FLOAT_EQ(result.segments.at(0).temperature, 1.0F);
    EXPECT_GT(result.segments.at(0).compressionRatio, 2.4F);
}

TEST_F(TranscribeTaskTest, poor_probabilities_are_retried_at_rising_temperatures_and_the_last_is_kept) {
    scripts = {{.tokens = {'x', 'y'}, .confidence = 1}};
    DecodingOptions options;
    options.withoutTimestamps = true;
    options.firstTokenLogProbThreshold.reset();
    options.temperatureFallbackCount = 2;
    const auto result = run(tone(29), options);
    EXPECT_EQ(result.timings.totalDecodingFallbacks, 2);
    EXPECT_EQ(result.timings.totalEncodingRuns, 1);
    EXPECT_EQ(decodings.size(), 1U); // the prompt's keys and values serve the retries
    EXPECT_EQ(run(tone(29), options).segments.size(), result.segments.size());
    options.usePrefillCache = false;
    decodings.clear();
    (void)run(tone(29), options);
    EXPECT_EQ(decodings.size(), 3U);
}

TEST(FallbackTest, the_first_test_that_hits_decides) {
    struct Case {
        const char* rule;
        float first, noSpeech, ratio, average;
        bool needsFallback;
        std::string reason;
    };
    const Case cases[]{
        {"all well", -0.1F, 0.1F, 1.5F, -0.5F, false, ""},
        {"a doubtful first token, even in silence", -1.6F, 0.9F, 1, -0.5F, true, "firstTokenLogProbThreshold"},
        {"silence, though it repeats itself", -0.1F, 0.61F, 3, -2, false, "silence"},
        {"just no silence", -0.1F, 0.6F, 1, -0.5F, false, ""},
        {"repetition before probability", -0.1F, 0.1F, 2.41F, -2, true, "compressionRatioThreshold"},
        {"just no repetition", -0.1F, 0.1F, 2.4F, -1, false, ""},
        {"low average", -0.1F, 0.1F, 1, -1.01F, true, "logProbThreshold"},
    };
    for (const auto& [rule, first, noSpeech, ratio, average, needsFallback, reason] : cases) {
        const DecodingResult result{
            .avgLogProb = average, .noSpeechProb = noSpeech, .compressionRatio = ratio, .firstTokenLogProb = first};
        const auto fallback = fallbackOf(result, {});
        EXPECT_EQ(fallback.needsFallback, needsFallback) << rule;
        EXPECT_EQ(fallback.fallbackReason, reason) << rule;
    }
    DecodingOptions none;
    none.firstTokenLogProbThreshold = none.noSpeechThreshold = none.compressionRatioThreshold = none.logProbThreshold =
        std::nullopt;
    EXPECT_FALSE(fallbackOf({.avgLogProb = -9, .noSpeechProb = 1, .compressionRatio = 9, .firstTokenLogProb = -9}, none)
                     .needsFallback);
}

TEST_F(TranscribeTaskTest, a_silent_window_gives_no_text_and_no_retry) {
    scripts = {{.tokens = {at(0), 'x', at(20)}, .noSpeechLogit = 40}};
    const auto result = run(tone(29));
    EXPECT_EQ(result.text, "");
    EXPECT_TRUE(result.segments.empty());
    EXPECT_EQ(result.timings.totalDecodingFallbacks, 0);
    EXPECT_EQ(result.timings.totalDecodingLoops, 0);
}

TEST_F(TranscribeTaskTest, windows_follow_one_another_to_the_end_of_each_clip) {
    scripts = {{.tokens = {at(0), 'a', at(10), at(10), 'b', at(20), at(20)}},
               {.tokens = {at(0), 'c', at(30)}},
               {.tokens = {at(0), 'd', at(1)}}};
    const auto result = run(tone(65));
    // The first stops at the pair at 20 s, the second takes its whole window, the rest of 15 s ends it.
    EXPECT_EQ(result.text, "abcd");
    EXPECT_FLOAT_EQ(result.segments.at(2).start, 20);
    EXPECT_FLOAT_EQ(result.segments.at(3).start, 50);
    EXPECT_EQ(result.segments.at(3).id, 3);
    EXPECT_FLOAT_EQ(result.seekTime.value(), 65);

    window = 0;
    scripts = {{.tokens = {at(0), 'e', at(1)}}};
    DecodingOptions options;
    options.clipTimestamps = {1, 2, 50}; // the last runs to the end
    const auto clipped = run(tone(60), options);
    EXPECT_EQ(clipped.text, "ee");
    EXPECT_FLOAT_EQ(clipped.segments.at(0).start, 1);
    EXPECT_FLOAT_EQ(clipped.segments.at(1).start, 50);
}

TEST_F(TranscribeTaskTest, a_rest_of_a_window_is_decoded_only_if_someone_speaks_in_it) {
    scripts = {{.tokens = {at(0), 'a', at(4), at(4)}}, {.tokens = {at(0), 'b', at(2)}}};
    auto audio = tone(4);
    const auto pause = silence(8);
    audio.insert(audio.end(), pause.begin(), pause.end());
    EXPECT_EQ(run(audio).text, "a");
    window = 0;
    const auto more = tone(2);
    audio.insert(audio.end(), more.begin(), more.end());
    EXPECT_EQ(run(audio).text, "ab");
}

TEST_F(TranscribeTaskTest, a_callback_stops_a_window) {
    scripts = {{.tokens = {at(0), 'a', 'b', 'c', 'd', at(5)}}};
    std::vector<std::string> seen;
    const auto result = run(tone(29), {}, [&](const TranscriptionProgress& progress) -> std::optional<bool> {
        seen.push_back(progress.text);
        return progress.text != "ab";
    });
    EXPECT_THAT(seen, ElementsAre("", "a", "ab"));
    EXPECT_EQ(result.text, "ab");
    EXPECT_EQ(result.timings.totalDecodingFallbacks, 0);
}

TEST_F(TranscribeTaskTest, chunks_are_cut_at_pauses_and_come_back_in_order_with_their_times) {
    scripts = {{.tokens = {at(0), 'a', at(3)}}};
    std::vector<float> audio;
    for (int i = 0; i < 5; ++i) {
        const auto pause = silence(5), speech = tone(3);
        audio.insert(audio.end(), pause.begin(), pause.end());
        audio.insert(audio.end(), speech.begin(), speech.end());
    }
    std::size_t taken = 0;
    std::vector<float> starts;
    ChunkedTranscriber(*models, {}, 1)
        .run(
            [&](std::span<float> block) {
                const std::size_t count = std::min({block.size(), audio.size() - taken, std::size_t{10'007}});
                std::copy_n(audio.begin() + static_cast<std::ptrdiff_t>(taken), count, block.begin());
                taken += count;
                return count;
            },
            [&](const TranscriptionResult& result) {
                starts.push_back(result.segments.at(0).start);
                return true;
            });
    ASSERT_EQ(starts.size(), 5U);
    for (std::size_t i = 0; i < 5; ++i)
        EXPECT_NEAR(starts[i], static_cast<float>(i) * 8 + 5, 0.5F);
}

TEST_F(TranscribeTaskTest, endless_speech_is_cut_to_windows_without_losing_a_sample) {
    VoiceChunker chunker(models->newVoiceActivity());
    const auto audio = tone(100);
    auto chunks = chunker.push(audio);
    for (auto& chunk : chunker.finish())
        chunks.push_back(std::move(chunk));
    ASSERT_GE(chunks.size(), 4U);
    std::size_t next = 0;
    for (const auto& chunk : chunks) {
        EXPECT_EQ(chunk.start, next);
        EXPECT_LE(chunk.samples.size(), speechWindowSamples);
        next = chunk.start + chunk.samples.size();
    }
    EXPECT_NEAR(static_cast<double>(next), static_cast<double>(audio.size()), VoiceActivity::frameSamples);
}

TEST_F(TranscribeTaskTest, errors_of_a_worker_and_of_the_source_reach_the_caller) {
    scripts = {{.tokens = {at(0), 'a', at(3)}}};
    SpeechModelCache cache(runtime);
    SpeechPipeline pipeline({.modelFolder = folder}, cache);
    DecodingOptions options;
    options.chunkingStrategy = ChunkingStrategy::vad;
    runtime.failNextRuns("TextDecoder.onnx", {"worn out"});
    EXPECT_THROW((void)pipeline.transcribe(tone(3), options), ModelRuntimeError);
    EXPECT_TRUE(pipeline.transcribe(silence(3), options).empty());
    EXPECT_EQ(pipeline.transcribe(tone(3), options).size(), 1U);
    EXPECT_THROW((void)pipeline.transcribe({}, options), SpeechError);
    EXPECT_THROW((void)pipeline.transcribe({}, {}), SpeechError);
    EXPECT_THROW(ChunkedTranscriber(*models, {}, 2)
                     .run([](std::span<float>) -> std::size_t { throw std::runtime_error("pulled plug"); },
                          [](const TranscriptionResult&) { return true; }),
                 std::runtime_error);
}

TEST_F(TranscribeTaskTest, models_are_shared_between_pipelines_and_parts_of_other_variants_are_refused) {
    SpeechModelCache cache(runtime);
    const int before = runtime.loadCount("AudioEncoder.onnx");
    const SpeechPipeline first({.modelFolder = folder}, cache), second({.modelFolder = folder + "/."}, cache);
    EXPECT_EQ(runtime.loadCount("AudioEncoder.onnx"), before + 1);
    EXPECT_THROW(SpeechPipeline({}, cache), SpeechError);

    const auto refusal = [&](const std::string& file, const std::string& content) {
        std::ofstream(folder + "/" + file) << content;
        try {
            const SpeechModels broken(runtime, folder, 1);
            ADD_FAILURE() << file;
        } catch (const SpeechError& error) {
            EXPECT_THAT(error.what(), HasSubstr(folder));
        }
    };
    refusal("tokenizer.json", test::tinyTokenizerText({"more"}));
    refusal("tokenizer.json", "garbage");
    refusal("config.json", "{}");
}

} // namespace

} // namespace tavrin
