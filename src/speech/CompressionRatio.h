#pragma once

#include <span>

namespace tavrin {

class Tokenizer;

/// How well the text of `tokens` compresses: the bytes of its text tokens over their deflated size, 1 for an empty
/// text. Ordinary speech stays under 2.4; a text that repeats itself scores higher.
float compressionRatio(std::span<const int> tokens, const Tokenizer& tokenizer);

} // namespace tavrin
