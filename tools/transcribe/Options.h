#pragma once

#include "transcribe/TranscriptWriter.h"

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace tavrin {

struct TranscribeOptions {
    std::vector<std::string> files;
    TranscriptFormat format = TranscriptFormat::text;
    /// Two letters, or "auto".
    std::string language = "auto";
    /// A variant, or a folder (anything with a "/").
    std::string model = "base";
    int threads = 0; ///< 0: all processors
    bool words = false;
    bool fullContext = false;
    bool wantsHelp = false;
};

/// Arguments that make no sense; the text says which.
class UsageError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

constexpr std::string_view transcribeHelp = R"(Usage: tavrin transcribe [OPTION]... FILE...

Prints what is said in audio or video files. "-" is the standard input. Nothing leaves this computer.

  --format text|srt|vtt|json   what to print (text)
  --language CODE              "en", "de", ..., or "auto" to detect it (auto)
  --words                      times for every word (in JSON; improves the others' times)
  --model NAME                 an installed variant, or a model folder's path (base)
  --threads N                  processors to use (all)
  --full-context               always encode whole windows of 30 s: slower
  --help                       this text

The exit status is 1 if a file could not be read to its end, 2 if the arguments make no sense.
)";

/// Throws UsageError.
[[nodiscard]] TranscribeOptions parseTranscribeOptions(const std::vector<std::string>& arguments);

} // namespace tavrin
