#include "server/WebAddress.h"

#include <algorithm>
#include <optional>

namespace tavrin {

namespace {

/// What stands behind the scheme; absent if that is another one.
std::optional<std::string_view> afterScheme(std::string_view text) {
    constexpr std::string_view separator = "://";
    const std::size_t end = text.find(separator);
    if (end == std::string_view::npos) return std::nullopt;
    const auto isScheme = [&](std::string_view name) {
        return std::ranges::equal(text.substr(0, end), name, {},
                                  [](char c) { return c >= 'A' && c <= 'Z' ? c + 32 : c; });
    };
    if (!isScheme("http") && !isScheme("https")) return std::nullopt;
    return text.substr(end + separator.size());
}

bool mayStand(char c) {
    constexpr std::string_view excluded = "\"<>\\^`{|}";
    return static_cast<unsigned char>(c) > 0x20 && c != 0x7F && !excluded.contains(c);
}

} // namespace

bool isWebAddress(std::string_view text) noexcept {
    const auto rest = afterScheme(text);
    if (!rest || !std::ranges::all_of(text, mayStand)) return false;
    std::string_view host = rest->substr(0, std::min(rest->find_first_of("/?#"), rest->size()));
    if (const std::size_t user = host.rfind('@'); user != std::string_view::npos) host.remove_prefix(user + 1);
    return !host.empty() && host.front() != ':';
}

bool hasWebScheme(std::string_view text) noexcept {
    return afterScheme(text).has_value();
}

bool isWebOrigin(std::string_view text) noexcept {
    return isWebAddress(text) && afterScheme(text)->find_first_of("/?#@") == std::string_view::npos;
}

} // namespace tavrin
