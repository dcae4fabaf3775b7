#include "speech/ChunkedTranscriber.h"
#include "speech/SpeechAudio.h"
#include "speech/SpeechError.h"
#include "speech/SpeechModelTestSupport.h"
#include "speech/SpeechPipeline.h"
#include "speech/TranscribeTask.h"
#include "support/files/TemporaryFolderTestSupport.h"
#include "support/log/LogCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <semaphore>
#include <thread>

namespace tavrin {
namespace {

/// The walk over a recording, with a decoder that follows scripts, so that every rule can be provoked.
class TranscribeTaskTest : public testing::Test {
protected:
    TranscribeTaskTest() {
        model.script = [this] {
            ++decodings;
            return scripts[std::min(window, scripts.size() - 1)];
        };
    }

    static std::size_t samplesIn(double seconds) { return static_cast<std::size_t>(seconds * speechSampleRate); }
    static std::vector<float> speech(double seconds) { return ScriptedSpeechModel::speech(samplesIn(seconds)); }
    static std::vector<float> silence(double seconds) { return ScriptedSpeechModel::silence(samplesIn(seconds)); }
    static void append(std::vector<float>& audio, const std::vector<float>& more) {
        audio.insert(audio.end(), more.begin(), more.end());
    }
    int at(double seconds) const { return model.timeToken(seconds); }

    TranscriptionResult run(const std::vector<float>& audio, const DecodingOptions& options = {},
                            const TranscriptionCallback& callback = {}) {
        TranscribeTask task(*models);
        task.segmentDiscoveryCallback = [this](const auto&) { ++window; };
        return task.run(audio, options, callback);
    }

    const TemporaryFolder disk;
    FakeModelRuntime runtime;
    ScriptedSpeechModel model{runtime};
    const std::filesystem::path folder = model.install(disk.path() / "model");
    const std::unique_ptr<SpeechModels> models = std::make_unique<SpeechModels>(runtime, folder, 1);
    std::vector<ScriptedSpeechModel::Window> scripts; // of the windows; the last one also of all that follow
    std::size_t window = 0;
    int decodings = 0;
};

TEST_F(TranscribeTaskTest, short_audio_is_encoded_with_a_short_context_and_silence_once) {
    scripts = {{.tokens = {at(0), 'h', 'i', at(1)}}};
    using Frames = std::vector<std::size_t>;
    for (const auto& [seconds, frames] : {std::pair{1, Frames{1000, 3000}}, // ten seconds; the silent window
                                          std::pair{11, Frames{1300}}, std::pair{29, Frames{3000}}}) {
        EXPECT_EQ(run(speech(seconds)).text, "hi");
        EXPECT_EQ(model.takeEncodedFrames(), frames);
    }
}

TEST_F(TranscribeTaskTest, a_loop_in_the_short_context_is_decoded_again_with_the_whole_window) {
    std::vector<int> loop{at(0)};
    for (int i = 0; i < 200; ++i)
        loop.push_back("la "[i % 3]);
    scripts = {{.tokens = loop}};
    const auto result = run(speech(1));
    // The short context stops at 28 tokens; the whole window loops at every temperature.
    EXPECT_EQ(decodings, 2);
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
    const auto result = run(speech(29), options);
    EXPECT_EQ(result.timings.totalDecodingFallbacks, 2);
    EXPECT_EQ(result.timings.totalEncodingRuns, 1);
    EXPECT_EQ(decodings, 1); // the prompt's keys and values serve the retries
    options.usePrefillCache = false;
    EXPECT_EQ(run(speech(29), options).segments.size(), result.segments.size());
    EXPECT_EQ(decodings, 1 + 3);
}

TEST(FallbackTest, the_first_test_that_hits_decides) {
    struct Case {
        const char* rule;
        float first, noSpeech, ratio, average;
        DecodingFallback expected;
    };
    const Case cases[]{
        {"all well", -0.1F, 0.1F, 1.5F, -0.5F, {}},
        {"a doubtful first token, even in silence", -1.6F, 0.9F, 1, -0.5F, {true, "firstTokenLogProbThreshold"}},
        {"silence, though it repeats itself", -0.1F, 0.61F, 3, -2, {false, "silence"}},
        {"just no silence", -0.1F, 0.6F, 1, -0.5F, {}},
        {"repetition before probability", -0.1F, 0.1F, 2.41F, -2, {true, "compressionRatioThreshold"}},
        {"just no repetition", -0.1F, 0.1F, 2.4F, -1, {}},
        {"low average", -0.1F, 0.1F, 1, -1.01F, {true, "logProbThreshold"}},
    };
    for (const auto& [rule, first, noSpeech, ratio, average, expected] : cases) {
        const auto fallback = fallbackOf(
            {.avgLogProb = average, .noSpeechProb = noSpeech, .compressionRatio = ratio, .firstTokenLogProb = first},
            {});
        EXPECT_EQ(fallback.needsFallback, expected.needsFallback) << rule;
        EXPECT_EQ(fallback.fallbackReason, expected.fallbackReason) << rule;
    }
    DecodingOptions none;
    none.firstTokenLogProbThreshold = none.noSpeechThreshold = none.compressionRatioThreshold = none.logProbThreshold =
        std::nullopt;
    EXPECT_FALSE(fallbackOf({.avgLogProb = -9, .noSpeechProb = 1, .compressionRatio = 9, .firstTokenLogProb = -9}, none)
                     .needsFallback);
}

TEST_F(TranscribeTaskTest, windows_follow_one_another_to_the_end_of_each_clip) {
    scripts = {{.tokens = {at(0), 'a', at(10), at(10), 'b', at(20), at(20)}},
               {.tokens = {at(0), 'c', at(30)}},
               {.tokens = {at(0), 'd', at(1)}}};
    const auto result = run(speech(65));
    // The first stops at the pair at 20 s, the second takes its whole window, the rest of 15 s ends it.
    EXPECT_EQ(result.text, "abcd");
    EXPECT_FLOAT_EQ(result.segments.at(2).start, 20);
    EXPECT_FLOAT_EQ(result.segments.at(3).start, 50);
    EXPECT_EQ(result.segments.at(3).id, 3);
    EXPECT_FLOAT_EQ(result.seekTime.value(), 65);

    window = 0;
    scripts = {{.tokens = {at(0), 'e', at(1)}}};
    DecodingOptions options;
    options.clipTimestamps = {1, 2, 10, 10.5F, 50}; // the last runs to the end
    const auto clipped = run(speech(60), options);
    EXPECT_EQ(clipped.text, "eee");
    EXPECT_FLOAT_EQ(clipped.segments.at(0).start, 1);
    EXPECT_FLOAT_EQ(clipped.segments.at(1).start, 10);
    EXPECT_FLOAT_EQ(clipped.segments.at(2).start, 50);
}

TEST_F(TranscribeTaskTest, a_rest_of_a_window_is_decoded_only_if_someone_speaks_in_it) {
    scripts = {{.tokens = {at(0), 'a', at(4), at(4)}}, {.tokens = {at(0), 'b', at(2)}}};
    auto audio = speech(4);
    append(audio, silence(8));
    EXPECT_EQ(run(audio).text, "a");
    window = 0;
    append(audio, speech(2));
    EXPECT_EQ(run(audio).text, "ab");
}

TEST_F(TranscribeTaskTest, a_stopped_walk_keeps_its_text_and_decodes_nothing_again_nor_anything_behind) {
    struct Case {
        const char* what;
        double seconds;
        std::vector<float> clips;
    };
    for (const auto& [what, seconds, clips] : {Case{"short and doubtful", 1, {}}, Case{"several windows", 65, {}},
                                               Case{"several clips", 20, {0, 5, 10, 15}}}) {
        scripts = {{.tokens = {'a', 'b', 'c'}, .confidence = 1}};
        decodings = 0;
        DecodingOptions options;
        options.withoutTimestamps = true;
        options.clipTimestamps = clips;
        const auto result = run(speech(seconds), options, [](const TranscriptionProgress& progress) {
            return std::optional(progress.text != "ab");
        });
        EXPECT_EQ(result.text, "ab") << what;
        EXPECT_EQ(decodings, 1) << what;
        EXPECT_EQ(result.timings.totalDecodingWindows, 1) << what;
        EXPECT_EQ(result.timings.totalDecodingFallbacks, 0) << what;
    }
}

TEST_F(TranscribeTaskTest, the_log_tells_of_windows_and_if_wanted_of_tokens_and_never_what_was_said) {
    scripts = {{.tokens = {at(0), 's', 'e', 'c', 'r', 'e', 't', at(2)}}};
    DecodingOptions options{.detectLanguage = true};
    for (const bool verbose : {false, true}) {
        options.verbose = verbose;
        const LogCapture logged;
        EXPECT_EQ(run(speech(29), options).text, "secret");
        EXPECT_FALSE(logged.contains("secret"));
        const auto lines = [&](const char* text) {
            return std::ranges::count_if(logged.lines(), [&](const std::string& line) { return line.contains(text); });
        };
        for (const char* perWindow :
             {"Decoding with temperatures ", "Decoding Temperature: 0.0", "Detected language: fr",
              "Found first token at: ", "Running main loop for a maximum of 224 iterations, starting at index 3",
              "Completed window: 0"})
            EXPECT_EQ(lines(perWindow), 1) << perWindow;
        EXPECT_EQ(lines("Forcing prompt tokenIndex: "), verbose ? 3 : 0);
        EXPECT_EQ(lines("Predicted next tokenIndex: "), verbose ? 9 : 0); // the end token, too
    }
}

TEST_F(TranscribeTaskTest, chunks_are_cut_at_pauses_and_come_back_in_order_with_their_times) {
    scripts = {{.tokens = {at(0), 'a', at(3)}}};
    std::vector<float> audio;
    for (int i = 0; i < 5; ++i) {
        append(audio, silence(5));
        append(audio, speech(3));
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
    const auto audio = speech(100);
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
    EXPECT_THROW((void)pipeline.transcribe(speech(3), options), ModelRuntimeError);
    EXPECT_TRUE(pipeline.transcribe(silence(3), options).empty());
    EXPECT_EQ(pipeline.transcribe(speech(3), options).size(), 1U);
    EXPECT_GT(pipeline.currentTimings().fullPipeline, 0);
    EXPECT_THROW((void)pipeline.transcribe({}, options), SpeechError);
    EXPECT_THROW((void)pipeline.transcribe({}, {}), SpeechError);
    EXPECT_THROW(ChunkedTranscriber(*models, {}, 2)
                     .run([](std::span<float>) -> std::size_t { throw std::runtime_error("pulled plug"); },
                          [](const TranscriptionResult&) { return true; }),
                 std::runtime_error);
}

TEST_F(TranscribeTaskTest, a_load_waits_for_none_of_another_folder) {
    SpeechModelCache cache(runtime);
    const auto other = model.install(disk.path() / "other");
    std::counting_semaphore<2> first(0), second(0);
    runtime.onLoad = [&](const std::filesystem::path& file) {
        if (file.filename() != "TextDecoder.onnx") return;
        const bool isFirst = file.parent_path() == folder;
        (isFirst ? first : second).release();
        EXPECT_TRUE((isFirst ? second : first).try_acquire_for(std::chrono::seconds(20)));
    };
    const std::jthread loader([&] { EXPECT_TRUE(cache.load(folder, 1)); });
    EXPECT_TRUE(cache.load(other, 1));
}

} // namespace
} // namespace tavrin
