#include "speech/CompressionRatio.h"

#include "speech/Tokenizer.h"

#include <zlib.h>

#include <string>
#include <vector>

namespace tavrin {

float compressionRatio(std::span<const int> tokens, const Tokenizer& tokenizer) {
    std::string text;
    for (const int token : tokens)
        if (token < tokenizer.special().specialTokenBegin) text += tokenizer.decodeBytes(std::span(&token, 1));
    if (text.empty()) return 1.0F;
    auto packedSize = compressBound(text.size());
    std::vector<Bytef> packed(packedSize);
    compress2(packed.data(), &packedSize, reinterpret_cast<const Bytef*>(text.data()), text.size(),
              Z_DEFAULT_COMPRESSION);
    return static_cast<float>(text.size()) / static_cast<float>(packedSize);
}

} // namespace tavrin
