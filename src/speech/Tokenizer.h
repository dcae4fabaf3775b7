#pragma once

#include "speech/SpecialTokens.h"

#include <nlohmann/json.hpp>

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace tavrin {

/// A vocabulary has 50,000 keys, which the product's order-keeping objects would search one by one.
using TokenizerJson = nlohmann::json;

/// Text to token ids and back: byte-level byte-pair encoding (Sennrich et al. 2016; Radford et al. 2019) over the
/// vocabulary and merges of a model's tokenizer.json, with the special and time tokens of the Whisper models.
///
/// Immutable after loading; may be used from several threads.
class Tokenizer final {
public:
    /// Reads `file`. Throws SpeechError that names the file and what is wrong with it.
    [[nodiscard]] static Tokenizer load(const std::filesystem::path& file);
    /// The same from the file's text; `name` stands in errors.
    [[nodiscard]] static Tokenizer parse(std::string_view json, const std::string& name);

    /// The ids of `text`, which holds no special tokens. Splits at words as the models were trained.
    [[nodiscard]] std::vector<int> encode(std::string_view text) const;
    /// The bytes of `ids`, special tokens in their spelling. The end may be cut inside a character.
    [[nodiscard]] std::string decodeBytes(std::span<const int> ids) const;
    /// The text of `ids` as valid UTF-8. Special and time tokens are left out with `skipSpecialTokens`.
    [[nodiscard]] std::string decode(std::span<const int> ids, bool skipSpecialTokens = true) const;

    [[nodiscard]] const SpecialTokens& special() const noexcept { return specialTokens; }
    /// Every id is below this.
    [[nodiscard]] std::size_t size() const noexcept { return bytesOfId.size(); }
    /// Language code, e.g. "de", to token.
    [[nodiscard]] const std::map<std::string, int, std::less<>>& languageTokens() const noexcept { return languages; }

private:
    Tokenizer() = default;
    void put(int id, std::string bytes);
    std::unordered_map<std::string, int> readVocabulary(const TokenizerJson& model, const std::string& name);
    void readMerges(const TokenizerJson& model, const std::unordered_map<std::string, int>& idOfSpelling,
                    const std::string& name);
    void readAddedTokens(const TokenizerJson& document, const std::string& name);
    void encodeWord(std::string_view bytes, std::vector<int>& ids) const;
    void findSpecialTokens(const std::string& name);

    std::vector<std::string> bytesOfId;
    std::unordered_map<std::string, int> idOfBytes;
    std::unordered_map<std::uint64_t, std::pair<int, int>> merges; ///< pair of ids to rank and merged id
    std::unordered_map<std::string, int> addedTokens;
    std::map<std::string, int, std::less<>> languages;
    SpecialTokens specialTokens;
};

} // namespace tavrin
