#pragma once

#include "platform/onnx/OnnxModelRuntime.h"
#include "speech/SpeechModels.h"
#include "transcribe/AudioFileReader.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace tavrin::test {

/// A path that the test script passes in. A test that misses it fails: nothing is skipped.
inline std::filesystem::path given(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value == '\0')
        throw std::runtime_error(std::string(name) + " is not set; run ./tavrin test");
    return value;
}

/// The folder with recorded and synthetic speech that the test script makes.
inline std::filesystem::path speechFolder() {
    return given("TAVRIN_TEST_SPEECH");
}

inline std::vector<float> samplesOf(const std::filesystem::path& file) {
    AudioFileReader reader(file.string());
    std::vector<float> samples, block(160'000);
    while (const std::size_t count = reader.read(block))
        samples.insert(samples.end(), block.begin(), block.begin() + static_cast<std::ptrdiff_t>(count));
    return samples;
}

/// Models loaded once for a whole test program.
inline const SpeechModels& models(const char* folderVariable = "TAVRIN_TEST_MODEL") {
    static OnnxModelRuntime runtime;
    static SpeechModelCache cache(runtime);
    static std::map<std::string, std::shared_ptr<const SpeechModels>> kept;
    auto& entry = kept[folderVariable];
    if (!entry) entry = cache.load(given(folderVariable), 2);
    return *entry;
}

} // namespace tavrin::test
