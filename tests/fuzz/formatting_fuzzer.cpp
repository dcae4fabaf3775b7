#include "FuzzChecks.h"
#include "dictation/text/SpokenFormatting.h"

#include <cstddef>
#include <cstdint>

namespace {

using namespace tavrin;

/// Without what layout puts in or takes out: commands leave, so only the words that stay can be compared.
std::string bare(std::string_view text) {
    std::string result;
    for (const char32_t codePoint : codePoints(text))
        if (codePoint != U'•' && codePoint != U',' && codePoint != U'.' && !isDigit(codePoint) &&
            !isWhiteSpace(codePoint))
            appendUtf8(result, codePoint);
    return result;
}

/// True if `part` is what is left of `whole` after leaving some out.
bool isLeftOf(std::string_view part, std::string_view whole) {
    std::size_t next = 0;
    for (std::size_t i = 0; i < whole.size() && next < part.size(); ++i)
        if (whole[i] == part[next]) ++next;
    return next == part.size();
}

} // namespace

/// Any bytes as dictated text: the layout is valid, tidy, bounded, and holds nothing that was not said.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string given = repairedUtf8({reinterpret_cast<const char*>(data), size});
    const std::string written = applySpokenFormatting({reinterpret_cast<const char*>(data), size});
    fuzz::check(isValidUtf8(written));
    fuzz::check(trimmed(written) == written && !written.contains('\r'));
    fuzz::check(isLeftOf(bare(written), bare(given)));
    fuzz::check(written.size() <= 8 * given.size());
    return 0;
}
