#include "meeting/EngineTestSupport.h"
#include "meeting/EnglishSpellingPreference.h"
#include "meeting/TranscriptionSpeechLanguage.h"
#include "meeting/WhisperTranscriptionEngine.h"
#include "meeting/WindowedTranscription.h"
#include "support/async/SerialExecutor.h"

#include <semaphore>

namespace tavrin {
namespace {

using namespace std::chrono_literals;

constexpr auto decoder = "TextDecoder.onnx";
constexpr auto encoder = "AudioEncoder.onnx";

class WhisperTranscriptionEngineTest : public EngineTest {
protected:
    const std::vector<float> speech = ScriptedSpeechModel::speech();
    Executor& worker = time.addExecutor();
    WhisperTranscriptionEngine engine{{.modelVariant = "base"}, engineOn(worker)};
};

TEST_F(WhisperTranscriptionEngineTest, loads_and_runs_that_fail_clear_the_cache_once_then_go_to_the_processor) {
    using Texts = std::vector<std::string>;
    struct Case {
        bool preferCPUOnly;
        Texts failedLoads, failedRuns;
        std::string end;
        bool usingCPUFallback;
        std::vector<bool> cacheAtLoads; // whether it was there
    };
    const std::vector<Case> cases{
        {false, {}, {}, "hello", false, {true}},
        {false, {"first"}, {}, "hello", false, {true, false}},
        {false, {"first", "second"}, {}, "hello", true, {true, false, false}},
        {false, {"first", "second", "third"}, {}, "third", false, {true, false, false}},
        {true, {}, {}, "hello", true, {true}},
        {true, {"first"}, {}, "first", false, {true}},
        {false, {}, {"MPSGraph is broken"}, "hello", false, {true, false}},
        {false, {}, {"in E5RT", "x.e5bundlecache"}, "hello", true, {true, false, false}},
        {false, {}, {"e5rt", "e5rt", "E5RT at last"}, "E5RT at last", true, {true, false, false}},
        {false, {}, {"out of memory"}, "out of memory", false, {true}},
        {false, {}, {"e5rt", "out of memory"}, "out of memory", false, {true, false}},
        {true, {}, {"Cannot open input file"}, "hello", true, {true, false}},
        {true, {}, {"No such file", "no such file again"}, "no such file again", true, {true, false}},
    };
    std::vector<bool> cacheAtLoads;
    runtime.onLoad = [&](const std::filesystem::path& file) {
        if (file.filename() == decoder) cacheAtLoads.push_back(hasCache());
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.end << " after " << c.failedLoads.size() << " loads and "
                                        << c.failedRuns.size() << " runs, CPU preferred: " << c.preferCPUOnly);
        WhisperTranscriptionEngine used({.modelVariant = "base", .preferCPUOnly = c.preferCPUOnly}, engineOn(worker));
        fillCache();
        cacheAtLoads.clear();
        model.say({"hello"});
        runtime.failNextLoads(decoder, c.failedLoads);
        const std::string loading = endOf(used.ensureLoaded());
        runtime.failNextRuns(decoder, c.failedRuns);
        EXPECT_EQ(used.isLoaded(), loading == "done");
        EXPECT_EQ(loading == "done" ? endOf(used.transcribe(speech, true)) : loading, c.end);
        EXPECT_EQ(used.usingCPUFallback(), c.usingCPUFallback);
        EXPECT_EQ(cacheAtLoads, c.cacheAtLoads);
        EXPECT_EQ(hasCache(), c.cacheAtLoads.size() == 1);
    }
}

TEST_F(WhisperTranscriptionEngineTest, without_its_folder_it_is_not_installed) {
    std::filesystem::remove_all(modelFolder);
    EXPECT_EQ(endOf(engine.ensureLoaded()), "Speech model is not installed.");
    EXPECT_EQ(runtime.loadCount(decoder), 0);
}

TEST_F(WhisperTranscriptionEngineTest, recoveries_are_counted_over_the_launch) {
    ASSERT_EQ(endOf(engine.ensureLoaded()), "done");
    model.say({"one", "two", "three"});
    for (const auto& [end, usesCPU] : {std::pair{"one", false}, std::pair{"two", true}, std::pair{"e5rt", true}}) {
        runtime.failNextRuns(decoder, {"e5rt"});
        EXPECT_EQ(endOf(engine.transcribe(speech, true)), end);
        EXPECT_EQ(engine.usingCPUFallback(), usesCPU);
    }
    EXPECT_EQ(endOf(engine.transcribe(speech, true)), "three");
}

TEST_F(WhisperTranscriptionEngineTest, silence_is_encoded_before_the_first_words_and_never_again) {
    ASSERT_EQ(endOf(engine.ensureLoaded()), "done");
    EXPECT_EQ(endOf(engine.transcribe(ScriptedSpeechModel::silence(), true)), "");
    EXPECT_EQ(endOf(engine.transcribe({}, true)), "");
    EXPECT_EQ(model.takeEncodedFrames(), std::vector<std::size_t>{3000}) << "the silence behind short speech alone";
    model.say({"hello"});
    EXPECT_EQ(endOf(engine.transcribe(speech, true)), "hello");
    EXPECT_EQ(model.takeEncodedFrames(), std::vector<std::size_t>{1000});

    model.say({" one two three four ", " three four five"});
    auto samples = ScriptedSpeechModel::silence(400'000);
    samples.resize(1'000'000, 0.5F); // two windows behind a silent one
    EXPECT_EQ(endOf(engine.transcribe(samples, true)), "one two three four five");

    WhisperTranscriptionEngine other({.modelVariant = "base", .threads = 2}, engineOn(worker));
    runtime.failNextRuns(encoder, {"no memory"});
    EXPECT_EQ(endOf(other.ensureLoaded()), "done") << "it is tried again with the first words";
    model.say({"hello"});
    EXPECT_EQ(endOf(other.transcribe(speech, true)), "hello");
}

TEST_F(WhisperTranscriptionEngineTest, a_recovery_reads_anew_what_another_engine_still_holds_and_shares_it) {
    WhisperTranscriptionEngine other({.modelVariant = "base"}, engineOn(worker));
    ASSERT_EQ(endOf(engine.ensureLoaded()), "done");
    ASSERT_EQ(endOf(other.ensureLoaded()), "done");
    ASSERT_EQ(runtime.loadCount(decoder), 1);
    model.say({"one", "two"});
    runtime.failNextRuns(decoder, {"e5rt"});
    EXPECT_EQ(endOf(engine.transcribe(speech, true)), "one");
    EXPECT_EQ(runtime.loadCount(decoder), 2);
    runtime.failNextRuns(decoder, {"e5rt"});
    EXPECT_EQ(endOf(other.transcribe(speech, true)), "two");
    EXPECT_EQ(runtime.loadCount(decoder), 2) << "what the first one read is whole";
}

TEST_F(WhisperTranscriptionEngineTest, preferences_of_language_and_spelling_are_those_of_the_call) {
    using enum ScriptedSpeechModel::Languages;
    struct Case {
        ScriptedSpeechModel::Languages known;
        std::string preference, spelling;
        float germanLogit; // against 0 for French
        std::vector<std::string> fed;
        std::string text;
    };
    constexpr float sure = 1, unsure = 0;
    const std::vector<Case> cases{
        {several, "fr", "british", sure, {"fr"}, "Gray color"},
        {several, "auto", "british", sure, {"de"}, "Grey colour"},
        {several, "auto", "american", unsure, {"en"}, "Gray color"},
        {several, "tlh", "", sure, {"en"}, "Grey colour"},
        {onlyEnglish, "fr", "british", sure, {}, "Gray color"},
        {onlyEnglish, "auto", "british", sure, {}, "Grey colour"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.preference + " " + c.spelling + " " + std::to_string(c.fed.size()));
        ScriptedSpeechModel scripted(runtime, c.known);
        modelFolder = scripted.install(disk.path() / "model");
        scripted.germanLogit = c.germanLogit;
        scripted.say({"Gray color"});
        WhisperTranscriptionEngine used({.modelVariant = "base"}, engineOn(worker));
        ASSERT_EQ(endOf(used.ensureLoaded()), "done");
        preferences.set(transcriptionSpeechLanguageKey, c.preference);
        preferences.set(englishSpellingPreferenceKey, c.spelling);
        std::string text;
        tasks->spawn(keepEnd(used.transcribe(speech, true), text));
        runtime.failNextRuns(decoder, {"e5rt"}); // spelled after a retry as well
        time.stall(worker, 1s);
        time.runUntilIdle();
        preferences.set(transcriptionSpeechLanguageKey, "ja"); // too late for this call
        time.advance(1s);
        EXPECT_EQ(text, c.text);
        EXPECT_EQ(scripted.languagesFed(), c.fed);
    }
    for (const TranscriptionSpeechLanguage language : allTranscriptionSpeechLanguages()) {
        preferences.set(transcriptionSpeechLanguageKey, std::string(rawValue(language)));
        EXPECT_EQ(transcriptionSpeechLanguage(preferences), language) << label(language);
    }
}

TEST(WindowedTranscription, windows_are_25_s_and_begin_3_s_before_the_end_of_the_last_one) {
    using Window = std::pair<std::size_t, std::size_t>; // first sample and one behind the last
    const std::vector<std::pair<std::size_t, std::vector<Window>>> cases{
        {0, {{0, 0}}},
        {400'000, {{0, 400'000}}},
        {400'001, {{0, 400'000}, {352'000, 400'001}}},
        {752'001, {{0, 400'000}, {352'000, 752'000}, {704'000, 752'001}}},
    };
    for (const auto& [size, expected] : cases) {
        const std::vector<float> samples(size);
        std::vector<Window> windows;
        transcribeInWindows(samples, [&](std::span<const float> window) {
            const auto begin = static_cast<std::size_t>(window.data() - samples.data());
            windows.emplace_back(begin, begin + window.size());
            return "";
        });
        EXPECT_EQ(windows, expected) << size;
    }
}

/// Real threads.
TEST_F(WhisperTranscriptionEngineTest, cancelling_a_transcription_ends_the_decoding_with_the_next_token) {
    ThreadPool pool(2);
    SerialExecutor main(pool);
    SerialExecutor decoding(pool);
    WhisperTranscriptionEngine threaded({.modelVariant = "base"}, engineOn(decoding, main));
    std::binary_semaphore isDecoding(0);
    std::binary_semaphore mayGoOn(0);
    int predictions = 0; // of the worker
    model.onPrediction = [&] {
        if (++predictions != 3) return;
        isDecoding.release();
        EXPECT_TRUE(mayGoOn.try_acquire_for(20s));
    };
    model.say({"a long text", "and another window"});
    TaskScope transcription(main);
    main.runAndWait([&] {
        transcription.spawn([&]() -> Task<void> {
            co_await threaded.ensureLoaded();
            co_await threaded.transcribe(ScriptedSpeechModel::speech(800'000), true);
            ADD_FAILURE();
        });
    });
    ASSERT_TRUE(isDecoding.try_acquire_for(20s));
    main.runAndWait([&] { transcription.clear(); });
    mayGoOn.release();
    decoding.runAndWait([&] { EXPECT_EQ(predictions, 3); });
}

} // namespace
} // namespace tavrin
