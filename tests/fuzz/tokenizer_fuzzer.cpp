#include "speech/SpeechError.h"
#include "speech/TestTokenizer.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// Any bytes as a tokenizer file: refused with a SpeechError, or a tokenizer that decodes and encodes.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    try {
        const auto tokenizer = tavrin::Tokenizer::parse(text, "fuzzed");
        const int ids[]{0, 5, tokenizer.special().endToken, tokenizer.special().timeTokenBegin, -1, 1 << 30};
        (void)tokenizer.decode(ids, false);
        (void)tokenizer.encode("Some words, 12 of them: äöü\n");
    } catch (const tavrin::SpeechError&) {
    }
    return 0;
}

/// Half of the time mutates a good file, so that the inner checks are reached.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t mostSize);
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t mostSize,
                                               unsigned seed) {
    static const std::string good = tavrin::test::tinyTokenizerText({" the", "er"});
    if (size < 3 && seed % 2 == 0 && good.size() <= mostSize) {
        good.copy(reinterpret_cast<char*>(data), good.size());
        size = good.size();
    }
    return LLVMFuzzerMutate(data, size, mostSize);
}
