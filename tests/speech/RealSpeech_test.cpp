#include "SpeechFixture.h"
#include "speech/ChunkedTranscriber.h"
#include "speech/SpeechAudio.h"
#include "speech/SpeechPipeline.h"
#include "support/text/Unicode.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <thread>

namespace tavrin::test {
namespace {

namespace fs = std::filesystem;

TranscriptionResult transcribed(const std::vector<float>& samples, DecodingOptions options = {}) {
    if (!options.detectLanguage) options.language = "en";
    return TranscribeTask(models()).run(samples, options);
}

/// The text of a file as the program transcribes it by default: language detected, everything between speech left out.
std::string textOfFile(const fs::path& file) {
    AudioFileReader reader(file.string());
    std::string text;
    ChunkedTranscriber(models(), {.detectLanguage = true}, 2)
        .run([&](std::span<float> block) { return reader.read(block); },
             [&](const TranscriptionResult& result) {
                 text += result.text;
                 return true;
             });
    return std::string(trimmed(text));
}

/// Letters and digits in small letters, words joined by one blank.
std::string plainWords(const std::string& text) {
    std::string plain;
    for (const char character : lowercased(text)) {
        if (std::isalnum(static_cast<unsigned char>(character)) != 0)
            plain += character;
        else if (!plain.empty() && plain.back() != ' ' && character != '\'')
            plain += ' ';
    }
    return std::string(trimmed(plain));
}

std::vector<fs::path> filesOf(const fs::path& folder) {
    std::vector<fs::path> files;
    for (const auto& entry : fs::directory_iterator(folder))
        if (entry.path().extension() == ".wav") files.push_back(entry.path());
    std::ranges::sort(files);
    return files;
}

std::vector<float> recorded(const std::string& number) {
    return samplesOf(speechFolder() / "human" / ("sense_and_sensibility_01_austen_64kb-" + number + ".wav"));
}

TEST(RealSpeech, the_gate_passes_every_clip_with_speech) {
    std::size_t clips = 0;
    for (const char* folder : {"human", "clean", "pink15"}) {
        for (const fs::path& file : filesOf(speechFolder() / folder)) {
            const auto samples = samplesOf(file);
            EXPECT_TRUE(models().hearsSpeech(samples)) << file;
            // The same much softer, and a single word of it.
            auto soft = samples;
            for (float& sample : soft)
                sample *= 0.05F;
            EXPECT_TRUE(models().hearsSpeech(soft)) << file << " softly";
            ++clips;
        }
    }
    for (const fs::path& file : filesOf(speechFolder() / "words")) {
        EXPECT_TRUE(models().hearsSpeech(samplesOf(file))) << file;
        ++clips;
    }
    EXPECT_GE(clips, 100U);
}

TEST(RealSpeech, ten_minutes_of_any_noise_give_no_word) {
    const auto files = filesOf(speechFolder() / "noise");
    ASSERT_EQ(files.size(), 7U);
    for (const fs::path& file : files) {
        EXPECT_GE(AudioFileReader(file.string()).statedSeconds().value_or(0), 590) << file;
        EXPECT_EQ(textOfFile(file), "") << file;
    }
}

TEST(RealSpeech, noise_between_and_under_speech_adds_no_word) {
    const auto files = filesOf(speechFolder() / "mixed");
    ASSERT_EQ(files.size(), 14U);
    for (const fs::path& file : files) {
        const auto text = plainWords(textOfFile(file));
        // A sound may hide a syllable, but it never becomes a word: "ill-disposed" may lose its "di".
        EXPECT_THAT(text, testing::MatchesRegex(
                              "he was not an ill ?(dis|s)posed young man he might even have been made amiable himself"))
            << file;
    }
}

TEST(RealSpeech, the_silence_test_stands_behind_the_gate) {
    // Straight into the pipeline, without the gate, noise is told by the probability of no speech.
    for (const char* name : {"white", "pink", "brown", "silence"}) {
        const auto noise = samplesOf(speechFolder() / "noise" / (std::string(name) + ".wav"));
        const auto result = transcribed({noise.begin() + 5'000'000, noise.begin() + 5'100'000});
        EXPECT_EQ(result.text, "") << name;
        EXPECT_EQ(result.timings.totalDecodingLoops, 0) << name;
        EXPECT_EQ(result.timings.totalDecodingFallbacks, 0) << name;
        EXPECT_GT(result.timings.decodingPredictions, 0) << "the prompt was predicted";
        EXPECT_GE(result.timings.decodingNonPrediction, 0) << name;
    }
    EXPECT_LT(transcribed(recorded("0870")).segments.at(0).noSpeechProb, 0.3F);
}

TEST(RealSpeech, runs_at_once_give_the_same_tokens_and_draws_at_a_temperature_repeat) {
    const auto samples = recorded("0890");
    DecodingOptions hot;
    hot.temperature = 0.8F;
    std::vector<TranscriptionResult> cool(3);
    std::vector<std::string> drawn(2);
    {
        std::vector<std::jthread> threads; // over the same models
        threads.reserve(cool.size() + drawn.size());
        for (auto& result : cool)
            threads.emplace_back([&] { result = transcribed(samples); });
        for (auto& text : drawn)
            threads.emplace_back([&] { text = transcribed(samples, hot).text; });
    }
    ASSERT_FALSE(cool[0].segments.empty());
    for (const auto& result : cool) {
        EXPECT_EQ(result.segments.at(0).tokens, cool[0].segments[0].tokens);
        EXPECT_EQ(result.segments.at(0).tokenLogProbs, cool[0].segments[0].tokenLogProbs);
    }
    EXPECT_THAT(drawn, testing::Each(drawn[0]));
}

TEST(RealSpeech, a_long_audio_keeps_its_times_in_order) {
    std::vector<float> audio;
    for (int sentence = 0; sentence < 20; ++sentence) {
        const auto name = (sentence < 10 ? "0" : "") + std::to_string(sentence) + ".wav";
        const auto samples = samplesOf(speechFolder() / "clean" / name);
        audio.insert(audio.end(), samples.begin(), samples.end());
        audio.insert(audio.end(), 8'000, 0.0F);
    }
    const float length = static_cast<float>(audio.size()) / static_cast<float>(speechSampleRate);
    const auto result = transcribed(audio);
    EXPECT_GT(result.segments.size(), 10U);
    EXPECT_GT(result.timings.totalDecodingWindows, 1);
    float last = 0;
    for (const auto& segment : result.segments) {
        EXPECT_GE(segment.start, last - 0.01F);
        EXPECT_LT(segment.start, segment.end);
        EXPECT_LE(segment.end, length + 0.01F);
        last = segment.end;
    }
    EXPECT_THAT(plainWords(result.text),
                testing::AllOf(testing::HasSubstr("committee agreed"), testing::HasSubstr("our customers in norway"),
                               testing::HasSubstr("finance department")));
}

TEST(RealSpeech, words_have_the_times_at_which_they_are_said) {
    // Two recordings at known places; their first and last words must lie there.
    const auto first = recorded("0880"), second = recorded("0930");
    const float gap = 4, begin = 2;
    std::vector<float> audio(static_cast<std::size_t>(begin * 16'000));
    audio.insert(audio.end(), first.begin(), first.end());
    audio.insert(audio.end(), static_cast<std::size_t>(gap * 16'000), 0.0F);
    audio.insert(audio.end(), second.begin(), second.end());
    DecodingOptions options;
    options.wordTimestamps = true;
    const float secondBegin = begin + static_cast<float>(first.size()) / 16'000 + gap;
    std::vector<WordTiming> words;
    for (const auto& segment : transcribed(audio, options).segments)
        words.insert(words.end(), segment.words->begin(), segment.words->end());
    ASSERT_GE(words.size(), 14U);
    float last = 0;
    for (const auto& word : words) {
        EXPECT_GE(word.start, last - 0.021F) << word.word;
        EXPECT_LE(word.start, word.end) << word.word;
        last = word.start;
    }
    const auto find = [&](const std::string& text, std::size_t from) {
        return std::ranges::find_if(words.begin() + static_cast<std::ptrdiff_t>(from), words.end(),
                                    [&](const WordTiming& word) { return plainWords(word.word) == text; });
    };
    const auto man = find("man", 0), might = find("might", 5), himself = find("himself", 5);
    ASSERT_NE(man, words.end());
    ASSERT_NE(might, words.end());
    ASSERT_NE(himself, words.end());
    EXPECT_NEAR(words.front().start, begin, 0.5F);
    EXPECT_NEAR(man->end, secondBegin - gap, 0.5F);
    EXPECT_GE(might->start, secondBegin - 0.1F);
    EXPECT_LE(might->start, secondBegin + 0.7F);
    EXPECT_NEAR(himself->end, secondBegin + static_cast<float>(second.size()) / 16'000, 0.5F);
}

TEST(RealSpeech, the_language_is_detected_and_a_doubtful_one_is_not_believed) {
    OnnxModelRuntime runtime;
    SpeechModelCache cache(runtime);
    const SpeechPipeline pipeline({.modelFolder = given("TAVRIN_TEST_MODEL"), .threads = 2}, cache);
    const auto english = pipeline.detectLanguage(recorded("0870"));
    EXPECT_EQ(english.language, "en");
    EXPECT_GT(english.languageProbs.at("en"), 0.9F);
    const auto german = pipeline.detectLanguage(samplesOf(speechFolder() / "languages" / "de.wav"));
    EXPECT_EQ(german.language, "de");
    DecodingOptions options;
    options.detectLanguage = true;
    EXPECT_EQ(transcribed(samplesOf(speechFolder() / "languages" / "de.wav"), options).language, "de");
    // A hum is in no language: English, as nothing else was asked for.
    EXPECT_EQ(pipeline.detectLanguage(samplesOf(speechFolder() / "noise" / "hum.wav")).language, "en");
}

} // namespace
} // namespace tavrin::test
