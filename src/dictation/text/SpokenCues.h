#pragma once

#include "support/text/Regex.h"

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tavrin {

/// Spoken commands and what each stands for. A command is found in any case, as whole words that begin the text or
/// follow white space or another command. Compiled once, immutable; any thread.
class SpokenCues final {
public:
    struct Cue {
        std::string words;
        std::string replacement;
    };

    /// Where two could be meant, the one of more characters is; of two as long, the one given first.
    explicit SpokenCues(std::span<const Cue> cues);

private:
    friend std::string replaceCues(std::string_view text, const SpokenCues& cues);
    struct Expression {
        std::size_t length = 0; // of the command, in characters
        std::string folded;     // the command, case-folded: what a text without it cannot match
        Regex pattern;
        std::string replacement;
    };

    std::vector<Expression> expressions; // longest command first
};

/// The text with each command, the white space around it and one point, comma or colon behind it replaced.
std::string replaceCues(std::string_view text, const SpokenCues& cues);

} // namespace tavrin
