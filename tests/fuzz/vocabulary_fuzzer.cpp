#include "dictation/text/VocabularyCorrector.h"
#include "support/json/Json.h"
#include "support/log/Log.h"
#include "support/text/Unicode.h"

#include <cstddef>
#include <cstdint>

/// A list of corrections, a line end, then a text: foreign data are no list and no fault; a list that is read is
/// written as it was, and corrects any text to valid bytes where the text and the list are valid.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tavrin;
    setLogLevel(LogLevel::off);
    const std::string_view input(reinterpret_cast<const char*>(data), size);
    const std::size_t lineEnd = input.find('\n');
    const std::string_view text = lineEnd == std::string_view::npos ? "" : input.substr(lineEnd + 1);
    (void)parseVariants(text);
    Json stored;
    try {
        stored = parseJson(input.substr(0, lineEnd), "fuzzed");
    } catch (const JsonError&) {
        return 0;
    }
    const auto list = vocabularyIn(stored);
    if (!list) return 0;
    if (vocabularyIn(vocabularyJson(*list)) != list) __builtin_trap();
    const std::string corrected = applyVocabularyCorrections(text, *list);
    if (isValidUtf8(text) && !isValidUtf8(corrected)) __builtin_trap();
    return 0;
}

/// Half of the time mutates a good list, so that the corrector is reached.
extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* data, std::size_t size, std::size_t mostSize);
extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* data, std::size_t size, std::size_t mostSize,
                                               unsigned seed) {
    static const std::string good =
        R"([{"id":"00000000-0000-4000-8000-00000000000A","variants":["ab c","ß","a"],"correct":"a b"}])"
        "\nab c ss abc a-\u00DF \u1E9E a";
    if (seed % 2 == 0 && good.size() <= mostSize) {
        good.copy(reinterpret_cast<char*>(data), good.size());
        size = good.size();
    }
    return LLVMFuzzerMutate(data, size, mostSize);
}
