#include "speech/DecodingInputs.h"
#include "speech/ModelConfig.h"
#include "speech/ModelFolders.h"
#include "speech/SpeechError.h"
#include "speech/TestTokenizer.h"
#include "support/files/TemporaryFolderTestSupport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>

namespace tavrin {
namespace {

namespace fs = std::filesystem;

/// A folder with the three parts of a model.
fs::path makeModel(const fs::path& folder, const char* form = ".onnx") {
    fs::create_directories(folder);
    for (const char* part : {"MelSpectrogram", "AudioEncoder", "TextDecoder"})
        std::ofstream(folder / (part + std::string(form)));
    return folder;
}

TEST(ModelFolders, a_folder_that_lacks_a_part_does_not_count_and_a_link_that_leads_back_holds_no_search_for_ever) {
    const TemporaryFolder scratch;
    const fs::path& root = scratch.path();
    const auto stored = makeModel(root / "elsewhere/openai_whisper-base");
    const auto found = makeModel(root / "one/repository/openai_whisper-base_74MB", ".mlmodelc");
    const std::vector<fs::path> roots{root / "missing", root / "one"};
    fs::remove(stored / "TextDecoder.onnx");
    EXPECT_EQ(resolveModelFolder("base", stored, roots), found);
    fs::create_directory_symlink(root, root / "one" / "loop");
    EXPECT_EQ(resolveModelFolder("large", {}, roots), std::nullopt);
}

TEST(ModelConfig, reads_its_sizes_and_refuses_garbage) {
    const std::string good =
        R"({"variant": "base", "lang_ids": [50259], "alignment_heads": [[3, 1]], "dims": {"mel_bands": 80, "audio_positions": 1500,
        "text_positions": 448, "width": 512, "heads": 8, "encoder_layers": 6, "decoder_layers": 6, "vocabulary": 51865}})";
    const auto config = ModelConfig::parse(good, "config.json");
    EXPECT_EQ(config.variant, "base");
    EXPECT_TRUE(config.isMultilingual);
    EXPECT_EQ(config.decoderLayers, 6U);
    EXPECT_THROW(config.checkTokenizer(test::tinyTokenizer(), "tokenizer.json"), SpeechError);

    const auto changed = [&](const std::string& from, const std::string& to) {
        return std::string(good).replace(good.find(from), from.size(), to);
    };
    for (const auto& text : {std::string("nonsense"), std::string("{}"), changed("\"heads\": 8", "\"heads\": -8"),
                             changed("512", "\"512\""), changed("448", "99999999"), changed("[[3, 1]]", "[[3]]"),
                             changed("[[3, 1]]", "[[3, \"x\"]]")})
        try {
            (void)ModelConfig::parse(text, "folder/config.json");
            ADD_FAILURE() << text;
        } catch (const SpeechError& error) {
            EXPECT_THAT(error.what(), testing::HasSubstr("folder/config.json"));
        }
}

TEST(DecodingInputs, rows_keep_their_place_when_the_cache_grows) {
    DecodingInputs inputs({.layers = 2, .heads = 3, .headSize = 2, .textPositions = 448});
    EXPECT_EQ(inputs.cacheCapacity, 64U);
    // Row, position and place tell every number from every other.
    const auto value = [](std::size_t row, std::size_t position, std::size_t i) {
        return static_cast<float>(row * 10'000 + position * 10 + i);
    };
    std::vector<std::size_t> capacities;
    for (std::size_t position = 0; position < 448; ++position) {
        if (inputs.reserve(1)) capacities.push_back(inputs.cacheCapacity);
        std::vector<float> keys;
        keys.reserve(12);
        for (std::size_t place = 0; place < 12; ++place)
            keys.push_back(value(place / 2, position, place % 2));
        inputs.append(keys, keys, 1);
    }
    EXPECT_EQ(capacities, (std::vector<std::size_t>{128, 256, 448}));
    constexpr std::size_t places = 5'376; // 6 rows of 448 positions
    std::vector<float> expected;
    expected.reserve(places);
    for (std::size_t place = 0; place < places; ++place)
        expected.push_back(value(place / 2 / 448, place / 2 % 448, place % 2));
    EXPECT_TRUE(std::ranges::equal(inputs.keyCache, expected));
    EXPECT_TRUE(std::ranges::equal(inputs.valueCache, expected));
    EXPECT_THROW(inputs.reserve(1), SpeechError);
    inputs.truncate(3);
    EXPECT_EQ(inputs.decoderKeyPaddingMask[2], 0.0F);
    EXPECT_EQ(inputs.decoderKeyPaddingMask[3], DecodingInputs::hidden);
}

} // namespace
} // namespace tavrin
