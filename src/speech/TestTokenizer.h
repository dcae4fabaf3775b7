#pragma once

#include "speech/Tokenizer.h"

#include <string>
#include <vector>

namespace tavrin::test {

/// A vocabulary file of a few words, with all special tokens: ids 0 to 255 are the bytes, then the words, then
/// specials.
inline std::string tinyTokenizerText(const std::vector<std::string>& words = {}) {
    TokenizerJson vocabulary = TokenizerJson::object(), merges = TokenizerJson::array(), added = TokenizerJson::array();
    const auto spelled = [](unsigned char byte) {
        // Printable Latin-1 stands for itself, the rest from U+0100 on.
        static const auto table = [] {
            std::vector<std::string> spellings(256);
            char32_t next = 0x100;
            for (unsigned code = 0; code < 256; ++code) {
                const bool printable = (code >= '!' && code <= '~') || (code >= 0xA1 && code != 0xAD);
                const char32_t point = printable ? code : next++;
                spellings[code] = point < 0x80 ? std::string(1, static_cast<char>(point))
                                               : std::string{static_cast<char>(0xC0 | (point >> 6)),
                                                             static_cast<char>(0x80 | (point & 0x3F))};
            }
            return spellings;
        }();
        return table[byte];
    };
    for (unsigned byte = 0; byte < 256; ++byte)
        vocabulary[spelled(static_cast<unsigned char>(byte))] = byte;
    int id = 256;
    for (const std::string& word : words) {
        std::string whole;
        for (const char byte : word) {
            const auto part = spelled(static_cast<unsigned char>(byte));
            if (!whole.empty()) {
                if (!vocabulary.contains(whole + part)) {
                    merges.push_back({whole, part});
                    vocabulary[whole + part] = id++;
                }
            }
            whole += part;
        }
    }
    for (const char* special :
         {"<|endoftext|>", "<|startoftranscript|>", "<|en|>", "<|de|>", "<|fr|>", "<|translate|>", "<|transcribe|>",
          "<|startoflm|>", "<|startofprev|>", "<|nospeech|>", "<|notimestamps|>"})
        added.push_back({{"id", id++}, {"content", special}});
    return TokenizerJson{{"model", {{"vocab", vocabulary}, {"merges", merges}}}, {"added_tokens", added}}.dump();
}

inline Tokenizer tinyTokenizer(const std::vector<std::string>& words = {}) {
    return Tokenizer::parse(tinyTokenizerText(words), "tokenizer.json");
}

} // namespace tavrin::test
