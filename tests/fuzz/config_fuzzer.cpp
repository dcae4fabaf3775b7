#include "speech/ModelConfig.h"
#include "speech/SpeechError.h"

#include <cstddef>
#include <cstdint>
#include <string_view>

/// Any bytes as a model configuration: refused with a SpeechError, or sizes within reason.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        const auto config = tavrin::ModelConfig::parse({reinterpret_cast<const char*>(data), size}, "fuzzed");
        if (config.vocabulary == 0 || config.vocabulary > (1U << 20U) || config.heads == 0) __builtin_trap();
    } catch (const tavrin::SpeechError&) {
    }
    return 0;
}
