#include "FuzzChecks.h"
#include "dictation/text/EchoGuard.h"

#include <cstddef>
#include <cstdint>

/// Any bytes as what was heard and, behind the first line end, what the other side said.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace tavrin;
    using fuzz::check;
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::size_t end = std::min(text.find('\n'), text.size());
    const std::string_view heard = text.substr(0, end), said = text.substr(std::min(end + 1, text.size()));
    const std::string whole = repairedUtf8(heard);

    const bool isEcho = isLikelyEcho(heard, said);
    const auto kept = stripEchoedWords(heard, said);
    if (words(heard).size() < 4) check(!isEcho);
    if (kept) {
        check(isValidUtf8(*kept) && fuzz::isPicked(*kept, whole));
        check(*kept == whole || words(*kept).size() < words(whole).size());
    }
    // Nothing said, nothing is an echo; and everything is one of itself.
    check(!isLikelyEcho(heard, "") && stripEchoedWords(heard, "") == whole);
    if (isLikelyEcho(heard, heard)) check(!stripEchoedWords(heard, heard));
    return 0;
}
