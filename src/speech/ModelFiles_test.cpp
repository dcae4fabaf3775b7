#include "speech/CompressionRatio.h"
#include "speech/DecodingInputs.h"
#include "speech/ModelConfig.h"
#include "speech/ModelFolders.h"
#include "speech/SpeechError.h"
#include "speech/TestTokenizer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <fstream>

namespace tavrin {

namespace {

namespace fs = std::filesystem;

class Scratch {
public:
    Scratch() : path((fs::temp_directory_path() / "tavrin-XXXXXX").string()) { mkdtemp(path.data()); }
    ~Scratch() { fs::remove_all(path); }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    /// A folder with the three parts of a model.
    fs::path model(const fs::path& name, const char* form = ".onnx") const {
        const fs::path folder = path / name;
        fs::create_directories(folder);
        for (const char* part : {"MelSpectrogram", "AudioEncoder", "TextDecoder"})
            std::ofstream(folder / (part + std::string(form)));
        return folder;
    }
    std::string path;
};

TEST(ModelFolders, names_of_a_variant) {
    EXPECT_TRUE(isFolderNameOf("openai_whisper-small.en", "small.en"));
    EXPECT_TRUE(isFolderNameOf("openai_whisper-small.en_217MB", "small.en"));
    EXPECT_FALSE(isFolderNameOf("openai_whisper-small.en-tdrz", "small.en"));
    EXPECT_FALSE(isFolderNameOf("openai_whisper-small", "small.en"));
    EXPECT_FALSE(isFolderNameOf("small.en", "small.en"));
}

TEST(ModelFolders, the_stored_path_wins_if_it_holds_the_model_else_the_roots_are_searched) {
    const Scratch scratch;
    const auto stored = scratch.model("elsewhere/openai_whisper-base");
    const auto found = scratch.model("one/repository/openai_whisper-base_74MB", ".mlmodelc");
    const auto second = scratch.model("two/openai_whisper-base");
    const std::vector<fs::path> roots{fs::path(scratch.path) / "missing", fs::path(scratch.path) / "one",
                                      fs::path(scratch.path) / "two"};
    EXPECT_EQ(resolveModelFolder("base", stored, roots), stored);
    EXPECT_EQ(resolveModelFolder("base", {}, roots), found);
    fs::remove(stored / "TextDecoder.onnx");
    EXPECT_EQ(resolveModelFolder("base", stored, roots), found);
    EXPECT_EQ(resolveModelFolder("base", scratch.path + "/gone", roots), found);
    EXPECT_EQ(resolveModelFolder("small.en", second, roots), std::nullopt);
    fs::create_directory_symlink(scratch.path, fs::path(scratch.path) / "two" / "loop");
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

TEST(CompressionRatio, tells_loops_from_speech) {
    const auto tokenizer = test::tinyTokenizer();
    const auto ratio = [&](const std::string& text) { return compressionRatio(tokenizer.encode(text), tokenizer); };
    EXPECT_LT(ratio("The committee agreed to move the review to the first week of March, and nobody minded."), 1.5F);
    EXPECT_LT(ratio("no no no no"), 2.4F);
    std::string loop;
    for (int i = 0; i < 20; ++i)
        loop += " I'm sorry about that.";
    EXPECT_GT(ratio(loop), 2.4F);
    EXPECT_EQ(ratio(""), 1.0F);
}

TEST(DecodingInputs, rows_keep_their_place_when_the_cache_grows) {
    DecodingInputs inputs({.layers = 2, .heads = 3, .headSize = 2, .textPositions = 448});
    EXPECT_EQ(inputs.cacheCapacity, 64U);
    const auto value = [](std::size_t row, std::size_t position, std::size_t i) {
        return static_cast<float>(row * 10'000 + position * 10 + i);
    };
    std::vector<std::size_t> capacities;
    for (std::size_t position = 0; position < 448; ++position) {
        if (inputs.reserve(1)) capacities.push_back(inputs.cacheCapacity);
        std::vector<float> keys;
        for (std::size_t row = 0; row < 6; ++row)
            for (std::size_t i = 0; i < 2; ++i)
                keys.push_back(value(row, position, i));
        inputs.append(keys, keys, 1);
    }
    EXPECT_EQ(capacities, (std::vector<std::size_t>{128, 256, 448}));
    for (std::size_t row = 0; row < 6; ++row)
        for (std::size_t position = 0; position < 448; ++position)
            for (std::size_t i = 0; i < 2; ++i) {
                ASSERT_EQ(inputs.keyCache[(row * 448 + position) * 2 + i], value(row, position, i));
                ASSERT_EQ(inputs.valueCache[(row * 448 + position) * 2 + i], value(row, position, i));
            }
    EXPECT_THROW(inputs.reserve(1), SpeechError);
    inputs.truncate(3);
    EXPECT_EQ(inputs.decoderKeyPaddingMask[2], 0.0F);
    EXPECT_EQ(inputs.decoderKeyPaddingMask[3], DecodingInputs::hidden);
}

} // namespace

} // namespace tavrin
