#pragma once

#include <stdexcept>

namespace tavrin {

/// A failure of the recognition engine, with the text that the user or the log sees.
class SpeechError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace tavrin
