#pragma once

#include <cstdint>
#include <stdexcept>

namespace tavrin {

/// Why a speech engine cannot work at all. The text is for the user.
class WhisperTranscriptionError final : public std::runtime_error {
public:
    enum class Reason : std::uint8_t { notLoaded, notInstalled };

    explicit WhisperTranscriptionError(Reason why)
        : std::runtime_error(why == Reason::notLoaded ? "Speech model is not loaded."
                                                      : "Speech model is not installed."),
          because(why) {}

    [[nodiscard]] Reason reason() const noexcept { return because; }

private:
    Reason because;
};

} // namespace tavrin
