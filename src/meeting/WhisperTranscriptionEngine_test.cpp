#include "meeting/EngineTestSupport.h"
#include "meeting/EnglishSpellingPreference.h"
#include "meeting/TranscriptionSpeechLanguage.h"
#include "meeting/WhisperTranscriptionEngine.h"
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

TEST_F(WhisperTranscriptionEngineTest, loading_goes_down_the_ladder_and_clears_the_cache_once) {
    struct Case {
        bool preferCPUOnly;
        std::vector<std::string> failures;
        std::string end;
        bool isLoaded;
        bool usingCPUFallback;
        std::vector<bool> cacheAtLoads; // whether it was there
    };
    const std::vector<Case> cases{
        {false, {}, "done", true, false, {true}},
        {false, {"first"}, "done", true, false, {true, false}},
        {false, {"first", "second"}, "done", true, true, {true, false, false}},
        {false, {"first", "second", "third"}, "third", false, false, {true, false, false}},
        {true, {}, "done", true, true, {true}},
        {true, {"first"}, "first", false, false, {true}},
    };
    std::vector<bool> cacheAtLoads;
    runtime.onLoad = [&](const std::filesystem::path& file) {
        if (file.filename() == decoder) cacheAtLoads.push_back(hasCache());
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.failures.size() << " failures, CPU preferred: " << c.preferCPUOnly);
        WhisperTranscriptionEngine loaded({.modelVariant = "base", .preferCPUOnly = c.preferCPUOnly}, engineOn(worker));
        fillCache();
        cacheAtLoads.clear();
        runtime.failNextLoads(decoder, c.failures);
        EXPECT_EQ(endOf(loaded.ensureLoaded()), c.end);
        EXPECT_EQ(loaded.isLoaded(), c.isLoaded);
        EXPECT_EQ(loaded.usingCPUFallback(), c.usingCPUFallback);
        EXPECT_EQ(cacheAtLoads, c.cacheAtLoads);
    }
}

TEST_F(WhisperTranscriptionEngineTest, without_a_folder_it_is_not_installed_and_without_a_load_not_loaded) {
    auto nowhere = engineOn(worker);
    nowhere.resolveModelFolder = [] { return std::nullopt; };
    WhisperTranscriptionEngine homeless({.modelVariant = "base"}, nowhere);
    EXPECT_EQ(endOf(homeless.ensureLoaded()), "Speech model is not installed.");
    std::filesystem::remove_all(modelFolder);
    EXPECT_EQ(endOf(engine.ensureLoaded()), "Speech model is not installed.");
    EXPECT_EQ(runtime.loadCount(decoder), 0);
    EXPECT_EQ(endOf(engine.transcribe(speech, true)), "Speech model is not loaded.");
}

TEST_F(WhisperTranscriptionEngineTest, a_runtime_cache_error_rebuilds_once_then_goes_to_the_processor_then_is_thrown) {
    struct Case {
        bool preferCPUOnly;
        std::vector<std::string> failures;
        std::string end;
        int loads;
        bool usingCPUFallback;
    };
    const std::vector<Case> cases{
        {false, {"MPSGraph is broken"}, "hello", 2, false},
        {false, {"in E5RT", "x.e5bundlecache"}, "hello", 3, true},
        {false, {"e5rt", "e5rt", "E5RT at last"}, "E5RT at last", 3, true},
        {false, {"out of memory"}, "out of memory", 1, false},
        {false, {"e5rt", "out of memory"}, "out of memory", 2, false},
        {true, {"Cannot open input file"}, "hello", 2, true},
        {true, {"No such file", "no such file again"}, "no such file again", 2, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << c.end << " after " << c.failures.size());
        WhisperTranscriptionEngine used({.modelVariant = "base", .preferCPUOnly = c.preferCPUOnly}, engineOn(worker));
        ASSERT_EQ(endOf(used.ensureLoaded()), "done");
        fillCache();
        const int loadsBefore = runtime.loadCount(decoder) - 1;
        model.say({"hello"});
        runtime.failNextRuns(decoder, c.failures);
        EXPECT_EQ(endOf(used.transcribe(speech, true)), c.end);
        EXPECT_EQ(runtime.loadCount(decoder) - loadsBefore, c.loads);
        EXPECT_EQ(used.usingCPUFallback(), c.usingCPUFallback);
        EXPECT_EQ(hasCache(), c.loads == 1);
    }
}

TEST_F(WhisperTranscriptionEngineTest, recoveries_are_counted_over_the_launch_and_a_failed_one_leaves_nothing_loaded) {
    ASSERT_EQ(endOf(engine.ensureLoaded()), "done");
    model.say({"one", "two", "three"});
    for (const auto& [end, usesCPU] : {std::pair{"one", false}, std::pair{"two", true}, std::pair{"e5rt", true}}) {
        runtime.failNextRuns(decoder, {"e5rt"});
        EXPECT_EQ(endOf(engine.transcribe(speech, true)), end);
        EXPECT_EQ(engine.usingCPUFallback(), usesCPU);
    }
    EXPECT_EQ(endOf(engine.transcribe(speech, true)), "three");

    WhisperTranscriptionEngine other({.modelVariant = "base", .threads = 2}, engineOn(worker));
    ASSERT_EQ(endOf(other.ensureLoaded()), "done");
    runtime.failNextRuns(decoder, {"e5rt"});
    runtime.failNextLoads(decoder, {"a", "b", "gone"});
    EXPECT_EQ(endOf(other.transcribe(speech, true)), "gone");
    EXPECT_FALSE(other.isLoaded());
    EXPECT_EQ(endOf(other.transcribe(speech, true)), "Speech model is not loaded.");
    EXPECT_EQ(endOf(other.ensureLoaded()), "done");
}

TEST_F(WhisperTranscriptionEngineTest, windows_without_speech_do_not_reach_the_encoder) {
    ASSERT_EQ(endOf(engine.ensureLoaded()), "done");
    EXPECT_EQ(endOf(engine.transcribe(ScriptedSpeechModel::silence(), true)), "");
    EXPECT_EQ(endOf(engine.transcribe({}, true)), "");
    EXPECT_EQ(model.takeEncodedFrames(), std::vector<std::size_t>{3000}) << "the silence behind short speech alone";

    model.say({" one two three four ", " three four five"});
    auto samples = ScriptedSpeechModel::silence(400'000);
    samples.resize(1'000'000, 0.5F); // two windows behind a silent one
    EXPECT_EQ(endOf(engine.transcribe(samples, true)), "one two three four five");
}

TEST_F(WhisperTranscriptionEngineTest, the_first_words_wait_for_nothing_that_could_be_computed_before) {
    ASSERT_EQ(endOf(engine.ensureLoaded()), "done");
    EXPECT_EQ(model.takeEncodedFrames(), std::vector<std::size_t>{3000});
    model.say({"hello"});
    EXPECT_EQ(endOf(engine.transcribe(speech, true)), "hello");
    EXPECT_EQ(model.takeEncodedFrames(), std::vector<std::size_t>{1000});

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

TEST_F(WhisperTranscriptionEngineTest, a_window_is_silent_above_the_threshold_of_the_caller_or_else_above_0_6) {
    model.silenceLogit = 0.85F; // a probability of 0.70
    ASSERT_EQ(endOf(engine.ensureLoaded()), "done");
    model.say({"lost", "kept"});
    EXPECT_EQ(endOf(engine.transcribe(speech, true)), "");
    EXPECT_EQ(endOf(engine.transcribe(speech, true, 0.75F)), "kept");
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
