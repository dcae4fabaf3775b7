#pragma once

#include <string>
#include <string_view>

namespace tavrin {

/// The text without what the model writes for sounds that are no speech ("[BLANK_AUDIO]", "(music)", ">>") and without
/// the phrases that it makes up in silence ("thanks for watching"). Runs of white space become one blank; white space
/// and punctuation at both ends go, the closing full stop among them. Ill-formed UTF-8 becomes U+FFFD.
/// Pure; any thread. Costs time in proportion to the text.
std::string stripNoiseMarkers(std::string_view text);

} // namespace tavrin
