#pragma once

#include <cstddef>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace tavrin {

/// Sound with the words said in it, 16 kHz.
struct SpokenClip {
    std::string name;
    std::vector<float> samples;
    std::string words;

    [[nodiscard]] double seconds() const noexcept;
};

/// All samples of a file. Throws AudioFileError.
[[nodiscard]] std::vector<float> soundOf(const std::filesystem::path& file);

/// Each NAME.wav of `folder` with the words in NAME.txt. Throws AudioFileError or std::runtime_error.
[[nodiscard]] std::vector<SpokenClip> recordedClips(const std::filesystem::path& folder);
/// 00.wav, 01.wav, ... of `folder` with the words in the lines of `sentences`. Throws as above.
[[nodiscard]] std::vector<SpokenClip> numberedClips(const std::filesystem::path& folder,
                                                    const std::filesystem::path& sentences);

/// All clips, one after the other, with 0.6 s of silence behind each.
[[nodiscard]] SpokenClip joinedClips(std::span<const SpokenClip> clips);

/// An endless speaker: the clips in turn, with pauses, cut after so many samples. Holds one round of them in memory.
class RepeatedSpeech final {
public:
    explicit RepeatedSpeech(std::span<const SpokenClip> clips) : round(joinedClips(clips).samples) {}

    /// Fills `block` with the samples from `position` on, up to `length`; returns how many.
    std::size_t read(std::size_t position, std::size_t length, std::span<float> block) const;
    [[nodiscard]] std::vector<float> first(double seconds) const;

private:
    std::vector<float> round;
};

} // namespace tavrin
