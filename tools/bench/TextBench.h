#pragma once

namespace tavrin {

class Report;

/// What the clean-up of text costs: dictations, lines of meetings, echoes, vocabulary, input made to be slow, and
/// growth with the number of words. Makes its own material, always the same.
void measureText(Report& report);

} // namespace tavrin
