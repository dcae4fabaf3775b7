#include "speech/Tokenizer.h"

#include "speech/ModelFile.h"
#include "speech/SpeechError.h"
#include "support/text/Regex.h"
#include "support/text/Unicode.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>
#include <optional>

namespace tavrin {

namespace {

constexpr std::size_t largestFile = 64UL << 20U;
/// More than any vocabulary of these models has.
constexpr int largestId = 1 << 18;
constexpr int timeTokenCount = 1501;

/// How words are cut before pairs are merged, as the vocabulary was trained.
constexpr std::string_view wordPattern =
    R"('s|'t|'re|'ve|'m|'ll|'d| ?\p{L}+| ?\p{N}+| ?[^\s\p{L}\p{N}]+|\s+(?!\S)|\s+)";

/// The vocabulary file spells each byte as a printable character: printable Latin-1 as itself, the rest from U+0100 on.
class ByteSpelling {
public:
    ByteSpelling() {
        byteOf.fill(-1);
        char32_t next = 0x100;
        for (int byte = 0; byte < 256; ++byte) {
            const bool printable = (byte >= '!' && byte <= '~') || (byte >= 0xA1 && byte <= 0xFF && byte != 0xAD);
            byteOf.at(printable ? static_cast<std::size_t>(byte) : next++) = byte;
        }
    }

    /// The bytes that `spelled` stands for; nothing if it holds a character that stands for none.
    [[nodiscard]] std::optional<std::string> bytes(std::string_view spelled) const {
        std::string result;
        for (std::size_t i = 0; i < spelled.size(); ++i) {
            auto character = static_cast<unsigned char>(spelled[i]);
            std::size_t code = character;
            if (character >= 0xC0) {
                if (character > 0xC7 || i + 1 == spelled.size()) return std::nullopt;
                code = ((character & 0x1FU) << 6U) | (static_cast<unsigned char>(spelled[++i]) & 0x3FU);
            }
            if (code >= byteOf.size() || byteOf[code] < 0) return std::nullopt;
            result.push_back(static_cast<char>(byteOf[code]));
        }
        return result;
    }

private:
    std::array<int, 0x200> byteOf{};
};

[[noreturn]] void fail(const std::string& name, const std::string& reason) {
    throw SpeechError(name + ": not a usable tokenizer: " + reason);
}

std::uint64_t pairKey(int left, int right) {
    return (static_cast<std::uint64_t>(static_cast<std::uint32_t>(left)) << 32U) | static_cast<std::uint32_t>(right);
}

/// The two sides of a merge rule, written as a pair or as one text with a blank.
std::optional<std::pair<std::string, std::string>> mergeSides(const TokenizerJson& rule) {
    if (rule.is_array() && rule.size() == 2 && rule[0].is_string() && rule[1].is_string())
        return std::pair{rule[0].get<std::string>(), rule[1].get<std::string>()};
    if (!rule.is_string()) return std::nullopt;
    const auto text = rule.get<std::string>();
    const auto blank = text.find(' ');
    if (blank == std::string::npos) return std::nullopt;
    return std::pair{text.substr(0, blank), text.substr(blank + 1)};
}

std::string timeText(int step) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "<|%d.%02d|>", step / 50, step % 50 * 2);
    return text.data();
}

const TokenizerJson* member(const TokenizerJson& object, const char* key) {
    if (!object.is_object()) return nullptr;
    const auto found = object.find(key);
    return found == object.end() ? nullptr : &*found;
}

int checkedId(const TokenizerJson& value, const std::string& name) {
    if (!value.is_number_integer() || value < 0 || value >= largestId) fail(name, "a token id is no number in range");
    return value.get<int>();
}

} // namespace

Tokenizer Tokenizer::load(const std::filesystem::path& file) {
    return parse(readModelFile(file, largestFile), file.string());
}

Tokenizer Tokenizer::parse(std::string_view json, const std::string& name) {
    const auto document = TokenizerJson::parse(json, nullptr, false);
    if (document.is_discarded()) fail(name, "it is no JSON");
    const TokenizerJson* model = member(document, "model");
    if (model == nullptr) fail(name, "no model");
    Tokenizer tokenizer;
    const auto idOfSpelling = tokenizer.readVocabulary(*model, name);
    tokenizer.readMerges(*model, idOfSpelling, name);
    tokenizer.readAddedTokens(document, name);
    tokenizer.findSpecialTokens(name);
    return tokenizer;
}

void Tokenizer::put(int id, std::string bytes) {
    const auto index = static_cast<std::size_t>(id);
    if (bytesOfId.size() <= index) bytesOfId.resize(index + 1);
    bytesOfId[index] = std::move(bytes);
}

std::unordered_map<std::string, int> Tokenizer::readVocabulary(const TokenizerJson& model, const std::string& name) {
    const TokenizerJson* vocabulary = member(model, "vocab");
    if (vocabulary == nullptr || !vocabulary->is_object()) fail(name, "no vocabulary");
    const ByteSpelling spelling;
    std::unordered_map<std::string, int> idOfSpelling;
    for (const auto& [spelled, value] : vocabulary->items()) {
        const int id = checkedId(value, name);
        const auto bytes = spelling.bytes(spelled);
        put(id, bytes.value_or(spelled));
        idOfSpelling.emplace(spelled, id);
        if (bytes) idOfBytes.emplace(*bytes, id);
    }
    return idOfSpelling;
}

void Tokenizer::readMerges(const TokenizerJson& model, const std::unordered_map<std::string, int>& idOfSpelling,
                           const std::string& name) {
    const TokenizerJson* rules = member(model, "merges");
    if (rules == nullptr || !rules->is_array()) fail(name, "no merges");
    int rank = 0;
    for (const TokenizerJson& rule : *rules) {
        const auto sides = mergeSides(rule);
        if (!sides) fail(name, "merge rule " + std::to_string(rank) + " is no pair");
        const auto left = idOfSpelling.find(sides->first), right = idOfSpelling.find(sides->second),
                   merged = idOfSpelling.find(sides->first + sides->second);
        if (left == idOfSpelling.end() || right == idOfSpelling.end() || merged == idOfSpelling.end())
            fail(name, "merge rule " + std::to_string(rank) + " names no token");
        merges.emplace(pairKey(left->second, right->second), std::pair{rank++, merged->second});
    }
}

void Tokenizer::readAddedTokens(const TokenizerJson& document, const std::string& name) {
    const TokenizerJson* added = member(document, "added_tokens");
    if (added == nullptr || !added->is_array()) return;
    for (const TokenizerJson& token : *added) {
        const TokenizerJson *content = member(token, "content"), *idValue = member(token, "id");
        if (content == nullptr || !content->is_string() || idValue == nullptr)
            fail(name, "an added token has no id or text");
        const int id = checkedId(*idValue, name);
        put(id, content->get<std::string>());
        addedTokens.emplace(content->get<std::string>(), id);
    }
}

void Tokenizer::findSpecialTokens(const std::string& name) {
    const auto find = [&](std::string_view text) -> std::optional<int> {
        const std::string key(text);
        if (const auto found = addedTokens.find(key); found != addedTokens.end()) return found->second;
        if (const auto found = idOfBytes.find(key); found != idOfBytes.end()) return found->second;
        return std::nullopt;
    };
    const auto need = [&](std::string_view text) {
        const auto id = find(text);
        if (!id) fail(name, "the token \"" + std::string(text) + "\" is missing");
        return *id;
    };
    auto& s = specialTokens;
    s.endToken = need("<|endoftext|>");
    s.startOfTranscriptToken = need(startOfTranscriptText);
    s.noTimestampsToken = need(noTimestampsText);
    s.transcribeToken = need("<|transcribe|>");
    s.translateToken = need("<|translate|>");
    s.startOfPreviousToken = need("<|startofprev|>");
    const auto noSpeech = find("<|nospeech|>");
    s.noSpeechToken = noSpeech ? *noSpeech : need("<|nocaptions|>");
    s.englishToken = need("<|en|>");
    s.whitespaceToken = need(" ");
    s.specialTokenBegin = s.endToken;
    s.timeTokenBegin = s.noTimestampsToken + 1;
    // Older files end before the time tokens, which follow in order all the same.
    for (int step = 0; step < timeTokenCount; ++step) {
        const std::size_t id = static_cast<std::size_t>(s.timeTokenBegin) + static_cast<std::size_t>(step);
        if (bytesOfId.size() <= id) bytesOfId.resize(id + 1);
        if (bytesOfId[id].empty()) bytesOfId[id] = timeText(step);
        if (bytesOfId[id] != timeText(step)) fail(name, "the time tokens are not in order");
    }
    // Languages are what stands between the start token and the tasks.
    const int firstTask = std::min(s.translateToken, s.transcribeToken);
    for (int id = s.startOfTranscriptToken + 1; id < firstTask; ++id) {
        const std::string& text = bytesOfId[static_cast<std::size_t>(id)];
        if (text.size() < 6 || !text.starts_with("<|") || !text.ends_with("|>")) fail(name, "a language is missing");
        languages.emplace(text.substr(2, text.size() - 4), id);
    }
    if (s.endToken + 1 < s.startOfTranscriptToken) fail(name, "the special tokens are not in order");
}

void Tokenizer::encodeWord(std::string_view bytes, std::vector<int>& ids) const {
    std::vector<int> parts;
    for (const char byte : bytes) {
        const auto found = idOfBytes.find(std::string(1, byte));
        if (found == idOfBytes.end()) return; // a vocabulary without this byte cannot spell the word
        parts.push_back(found->second);
    }
    while (parts.size() > 1) {
        int bestRank = std::numeric_limits<int>::max(), merged = 0;
        std::size_t at = 0;
        for (std::size_t i = 0; i + 1 < parts.size(); ++i) {
            const auto rule = merges.find(pairKey(parts[i], parts[i + 1]));
            if (rule == merges.end() || rule->second.first >= bestRank) continue;
            std::tie(bestRank, merged) = rule->second;
            at = i;
        }
        if (bestRank == std::numeric_limits<int>::max()) break;
        parts[at] = merged;
        parts.erase(parts.begin() + static_cast<std::ptrdiff_t>(at) + 1);
    }
    ids.insert(ids.end(), parts.begin(), parts.end());
}

std::vector<int> Tokenizer::encode(std::string_view text) const {
    static const Regex words(wordPattern);
    std::vector<int> ids;
    for (const auto& match : words.all(text))
        encodeWord(match.text(), ids);
    return ids;
}

std::string Tokenizer::decodeBytes(std::span<const int> ids) const {
    std::string bytes;
    for (const int id : ids)
        if (id >= 0 && static_cast<std::size_t>(id) < bytesOfId.size())
            bytes += bytesOfId[static_cast<std::size_t>(id)];
    return bytes;
}

std::string Tokenizer::decode(std::span<const int> ids, bool skipSpecialTokens) const {
    if (!skipSpecialTokens) return repairedUtf8(decodeBytes(ids));
    std::vector<int> text;
    std::ranges::copy_if(ids, std::back_inserter(text), [&](int id) { return id < specialTokens.specialTokenBegin; });
    return repairedUtf8(decodeBytes(text));
}

} // namespace tavrin
