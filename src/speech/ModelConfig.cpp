#include "speech/ModelConfig.h"

#include "speech/ModelFile.h"
#include "speech/SpeechError.h"

namespace tavrin {

namespace {

constexpr std::size_t largestFile = 4UL << 20U;
constexpr std::int64_t largestDimension = 1 << 20;

[[noreturn]] void fail(const std::string& name, const std::string& reason) {
    throw SpeechError(name + ": not a usable model configuration: " + reason);
}

std::size_t dimension(const Json& dims, std::string_view key, const std::string& name) {
    const auto value = integerAt(dims, key);
    if (!value || *value <= 0 || *value > largestDimension) fail(name, "\"" + std::string(key) + "\" is missing");
    return static_cast<std::size_t>(*value);
}

int checkedInt(const Json& value, const std::string& key, const std::string& name) {
    const auto number = integerIn(value);
    if (!number || *number < 0 || *number > largestDimension)
        fail(name, "\"" + key + "\" holds something else than ids");
    return static_cast<int>(*number);
}

std::vector<std::pair<int, int>> headPairs(const Json& document, const std::string& name) {
    std::vector<std::pair<int, int>> result;
    const std::string key = "alignment_heads";
    if (const Json* pairs = arrayAt(document, key)) {
        for (const Json& pair : *pairs) {
            if (!pair.is_array() || pair.size() != 2) fail(name, "\"" + key + "\" holds something else than pairs");
            result.emplace_back(checkedInt(pair[0], key, name), checkedInt(pair[1], key, name));
        }
    }
    return result;
}

} // namespace

ModelConfig ModelConfig::load(const std::filesystem::path& file) {
    return parse(readModelFile(file, largestFile), file.string());
}

ModelConfig ModelConfig::parse(std::string_view json, const std::string& name) {
    const Json document = parseModelJson(json, name);
    const Json* dims = objectAt(document, "dims");
    if (dims == nullptr) fail(name, "\"dims\" is missing");
    const Json* languages = arrayAt(document, "lang_ids");
    return {.variant = stringAt(document, "variant").value_or(""),
            .melBands = dimension(*dims, "mel_bands", name),
            .audioPositions = dimension(*dims, "audio_positions", name),
            .textPositions = dimension(*dims, "text_positions", name),
            .width = dimension(*dims, "width", name),
            .heads = dimension(*dims, "heads", name),
            .decoderLayers = dimension(*dims, "decoder_layers", name),
            .vocabulary = dimension(*dims, "vocabulary", name),
            .isMultilingual = languages != nullptr && !languages->empty(),
            .alignmentHeads = headPairs(document, name)};
}

void ModelConfig::checkTokenizer(const Tokenizer& tokenizer, const std::string& name) const {
    if (tokenizer.size() != vocabulary)
        throw SpeechError(name + ": belongs to another variant: it has " + std::to_string(tokenizer.size()) +
                          " tokens, the model " + std::to_string(vocabulary));
}

} // namespace tavrin
