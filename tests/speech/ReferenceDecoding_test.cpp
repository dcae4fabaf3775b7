#include "SpeechFixture.h"
#include "speech/FeatureExtractor.h"
#include "speech/TranscribeTask.h"
#include "support/json/Json.h"

#include <fstream>
#include <sstream>

namespace tavrin::test {
namespace {

/// Figures of the full-precision graphs on packaged clips, computed in double precision by an independent program.
const Json& reference() {
    static const Json document = [] {
        std::ifstream file(given("TAVRIN_TEST_DATA") / "reference-decodings.json");
        std::stringstream text;
        text << file.rdbuf();
        return parseJson(text.str(), "reference-decodings.json");
    }();
    return document;
}

std::vector<float> clipSamples(const Json& clip) {
    const auto name = clip["file"].get<std::string>();
    const auto path = given("TAVRIN_TEST_CLIPS") / name;
    if (path.extension() != ".raw") return samplesOf(path);
    std::ifstream file(path, std::ios::binary);
    std::stringstream bytes;
    bytes << file.rdbuf();
    const std::string pcm = bytes.str();
    std::vector<float> samples(pcm.size() / 2);
    for (std::size_t i = 0; i < samples.size(); ++i)
        samples[i] = static_cast<float>(
                         static_cast<std::int16_t>(static_cast<unsigned char>(pcm[2 * i]) | (pcm[2 * i + 1] << 8))) /
                     32768.0F;
    return samples;
}

DecodingResult decoded(const Json& clip, bool withTimes) {
    const auto& m = models("TAVRIN_TEST_FULL_MODEL");
    const auto samples = clipSamples(clip);
    const auto features = m.featureExtractor.logMel(samples, 3000);
    const auto window = m.audioEncoder.encode(features, m.featureExtractor.melBands(), 3000);
    DecodingOptions options;
    options.language = "en";
    options.withoutTimestamps = !withTimes;
    options.maxInitialTimestamp = 1.0F;
    auto inputs = m.textDecoder.prepareDecoderInputs(options);
    return m.textDecoder.decodeText({window, 0, 224}, inputs, 0, options);
}

TEST(ReferenceDecoding, features_agree_with_the_reference) {
    for (const Json& clip : reference()["clips"]) {
        const auto samples = clipSamples(clip);
        ASSERT_EQ(samples.size(), clip["samples"].get<std::size_t>()) << clip["file"];
        const auto features = FeatureExtractor().logMel(samples, 3000);
        for (const auto& [key, frame] : {std::pair{"mel_frame_0", 0U}, std::pair{"mel_frame_300", 300U}})
            for (std::size_t band = 0; clip.contains(key) && band < 80; ++band)
                EXPECT_NEAR(features[band * 3000 + frame], clip[key][band].get<float>(), 2e-4) << clip["file"] << band;
    }
}

TEST(ReferenceDecoding, full_precision_gives_the_reference_tokens_with_and_without_times) {
    for (const Json& clip : reference()["clips"]) {
        const auto result = decoded(clip, false), timed = decoded(clip, true);
        EXPECT_EQ(result.tokens, clip["ids"].get<std::vector<int>>()) << clip["file"] << result.text;
        EXPECT_EQ(timed.tokens, clip["ids_with_times"].get<std::vector<int>>()) << clip["file"] << timed.text;
        EXPECT_NEAR(result.noSpeechProb, clip["no_speech"].get<float>(), 2e-3) << clip["file"];
        EXPECT_NEAR(result.firstTokenLogProb, clip["first"].get<float>(), 5e-3) << clip["file"];
        EXPECT_NEAR(result.avgLogProb, clip["avg"].get<float>(), 5e-3) << clip["file"];
        EXPECT_NEAR(timed.avgLogProb, clip["avg_with_times"].get<float>(), 5e-3) << clip["file"];
    }
}

} // namespace
} // namespace tavrin::test
