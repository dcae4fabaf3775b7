#include "audio/DiagnosticsMemory.h"

#include <unistd.h>

#include <charconv>
#include <fstream>
#include <iterator>

namespace tavrin {

namespace {

constexpr double bytesToMB = 9.5367431640625e-7;
constexpr double highShare = 10; // per cent

std::string contentOf(const char* file) {
    std::ifstream stream(file);
    return {std::istreambuf_iterator<char>(stream), {}};
}

template <class Number>
std::optional<Number> numberIn(std::string_view text) {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc()) return std::nullopt;
    return number;
}

/// The share of ten seconds in the line that begins with `kind`.
std::optional<double> shareOf(std::string_view pressure, std::string_view kind) {
    constexpr std::string_view key = " avg10=";
    const std::size_t line = pressure.find(kind);
    if (line == std::string_view::npos) return std::nullopt;
    const std::size_t place = line + kind.size();
    if (!pressure.substr(place).starts_with(key)) return std::nullopt;
    return numberIn<double>(pressure.substr(place + key.size()));
}

} // namespace

DiagnosticsMemory DiagnosticsMemory::ofThisProcess() {
    return {.residentMB = [] { return residentMBOf(contentOf("/proc/self/statm"), sysconf(_SC_PAGESIZE)); },
            .pressureLevel = [] { return levelOf(contentOf("/proc/pressure/memory")); }};
}

double DiagnosticsMemory::residentMBOf(std::string_view statm, long pageBytes) {
    const std::size_t blank = statm.find(' ');
    if (blank == std::string_view::npos) return -1;
    const auto pages = numberIn<std::int64_t>(statm.substr(blank + 1));
    if (!pages || pageBytes <= 0) return -1;
    return static_cast<double>(*pages) * static_cast<double>(pageBytes) * bytesToMB;
}

std::optional<std::string> DiagnosticsMemory::levelOf(std::string_view pressure) {
    const auto some = shareOf(pressure, "some");
    const auto all = shareOf(pressure, "full");
    if (!some) return std::nullopt;
    if (all.value_or(0) >= highShare) return "critical";
    return *some >= highShare ? "warning" : "normal";
}

} // namespace tavrin
