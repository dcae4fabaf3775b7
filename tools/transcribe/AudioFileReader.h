#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>

namespace tavrin {

/// A file that cannot be read as audio; the text names it and the reason.
class AudioFileError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Reads the sound of any audio or video file as 16 kHz mono from -1 to 1, as a stream in flat memory. Not thread-safe.
class AudioFileReader final {
public:
    /// Opens `file`; "-" is the standard input. Throws AudioFileError.
    explicit AudioFileReader(const std::string& file);
    ~AudioFileReader();
    AudioFileReader(AudioFileReader&&) noexcept;

    /// Fills the front of `samples` and returns how many; 0 at the end. Throws AudioFileError if nothing of the file
    /// can be decoded. Damaged pieces in the midst are passed over.
    [[nodiscard]] std::size_t read(std::span<float> samples);

    /// Length as the file states it, in seconds.
    [[nodiscard]] std::optional<double> statedSeconds() const noexcept;
    /// Length of what was read so far.
    [[nodiscard]] double readSeconds() const noexcept;
    /// After the end: why the file seems to have been cut off or damaged; none if all is well.
    [[nodiscard]] std::optional<std::string> damage() const;

private:
    class Decoder;
    std::unique_ptr<Decoder> decoder;
};

} // namespace tavrin
