#include "dictation/text/VocabularyCorrection.h"

#include "support/text/Unicode.h"
#include "support/text/Uuid.h"

#include <algorithm>

namespace tavrin {

namespace {

std::optional<VocabularyCorrection> correctionIn(const Json& entry) {
    auto id = stringAt(entry, "id");
    const Json* variants = arrayAt(entry, "variants");
    auto correct = stringAt(entry, "correct");
    if (!id || !isUuid(*id) || variants == nullptr || !correct) return std::nullopt;
    VocabularyCorrection result{.id = std::move(*id), .variants = {}, .correct = std::move(*correct)};
    for (const Json& variant : *variants) {
        auto text = stringIn(variant);
        if (!text) return std::nullopt;
        result.variants.push_back(std::move(*text));
    }
    return result;
}

} // namespace

Json vocabularyJson(std::span<const VocabularyCorrection> corrections) {
    Json list = Json::array();
    for (const VocabularyCorrection& each : corrections)
        list.push_back({{"id", each.id}, {"variants", Json(each.variants)}, {"correct", each.correct}});
    return list;
}

std::optional<std::vector<VocabularyCorrection>> vocabularyIn(const Json& stored) {
    if (!stored.is_array()) return std::nullopt;
    std::vector<VocabularyCorrection> result;
    for (const Json& entry : stored) {
        auto correction = correctionIn(entry);
        if (!correction) return std::nullopt;
        result.push_back(std::move(*correction));
    }
    return result;
}

std::vector<std::string> parseVariants(std::string_view text) {
    std::vector<std::string> result;
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find(',', begin), text.size());
        if (const std::string_view part = trimmed(text.substr(begin, end - begin)); !part.empty())
            result.emplace_back(part);
        begin = end + 1;
    }
    return result;
}

} // namespace tavrin
