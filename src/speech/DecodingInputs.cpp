#include "speech/DecodingInputs.h"

#include "speech/SpeechError.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace tavrin {

namespace {

constexpr std::array<std::size_t, 3> smallCapacities{64, 128, 256};

std::size_t capacityFor(std::size_t entries, std::size_t most) {
    for (const std::size_t capacity : smallCapacities)
        if (entries <= capacity && capacity < most) return capacity;
    return most;
}

/// Spreads each row of `from` floats to a place `to` floats apart, the last row first so that none is overwritten.
void spreadRows(std::vector<float>& cache, std::size_t rows, std::size_t from, std::size_t to) {
    for (std::size_t row = rows; row-- > 1;)
        std::memmove(&cache[row * to], &cache[row * from], from * sizeof(float));
}

} // namespace

DecodingInputs::DecodingInputs(const DecoderShape& decoder) : shape(decoder) {
    const std::size_t most = shape.layers * shape.heads * shape.textPositions * shape.headSize;
    keyCache.resize(most);
    valueCache.resize(most);
    kvCacheUpdateMask.assign(shape.textPositions, 0);
    decoderKeyPaddingMask.assign(shape.textPositions, hidden);
    inputIds.reserve(shape.textPositions);
    cacheCapacity = capacityFor(1, shape.textPositions);
}

bool DecodingInputs::reserve(std::size_t tokens) {
    const std::size_t wanted = static_cast<std::size_t>(cacheLength) + tokens;
    if (wanted > shape.textPositions) throw SpeechError("the text is longer than the decoder's positions");
    const std::size_t capacity = std::max(cacheCapacity, capacityFor(wanted, shape.textPositions));
    if (capacity == cacheCapacity) return false;
    const std::size_t rows = shape.layers * shape.heads;
    spreadRows(keyCache, rows, cacheCapacity * shape.headSize, capacity * shape.headSize);
    spreadRows(valueCache, rows, cacheCapacity * shape.headSize, capacity * shape.headSize);
    cacheCapacity = capacity;
    return true;
}

void DecodingInputs::append(std::span<const float> keyRows, std::span<const float> valueRows, std::size_t tokens) {
    const std::size_t row = tokens * shape.headSize;
    const auto begin = static_cast<std::size_t>(cacheLength);
    for (std::size_t i = 0; i < shape.layers * shape.heads; ++i) {
        const std::size_t to = (i * cacheCapacity + begin) * shape.headSize;
        std::copy_n(keyRows.begin() + static_cast<std::ptrdiff_t>(i * row), row, &keyCache[to]);
        std::copy_n(valueRows.begin() + static_cast<std::ptrdiff_t>(i * row), row, &valueCache[to]);
    }
    std::fill_n(decoderKeyPaddingMask.begin() + cacheLength, tokens, 0.0F);
    cacheLength += static_cast<std::int32_t>(tokens);
}

void DecodingInputs::truncate(std::size_t length) {
    std::fill(decoderKeyPaddingMask.begin() + static_cast<std::ptrdiff_t>(length), decoderKeyPaddingMask.end(), hidden);
    cacheLength = static_cast<std::int32_t>(length);
}

} // namespace tavrin
