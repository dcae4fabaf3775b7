#pragma once

#include <filesystem>
#include <span>

namespace tavrin {

class Report;

/// Encoder and decoder against what the machine can do at best, measured in turns in the same run, on `threads`
/// processors. `limits` holds the graphs of the limit; `speech` is at least a window long.
void measureInference(const std::filesystem::path& pack, const std::filesystem::path& limits,
                      std::span<const float> speech, int threads, Report& report);

} // namespace tavrin
