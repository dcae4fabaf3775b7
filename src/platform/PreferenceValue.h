#pragma once

#include "support/json/Json.h"

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace tavrin {

/// Structured data under one key: any JSON, as a store keeps it.
struct JsonData {
    Json content;

    bool operator==(const JsonData&) const = default;
};

/// A boolean, a whole number, a number, a text, a list of texts or structured data.
using PreferenceValue = std::variant<bool, std::int64_t, double, std::string, std::vector<std::string>, JsonData>;

/// The value that a JSON member stands for. An array of nothing but texts is a list of texts, any other array and any
/// object structured data. Absent for null and for a number beyond 64 signed bits.
std::optional<PreferenceValue> preferenceValueIn(const Json& member);

/// The JSON that stands for the value.
Json jsonOf(const PreferenceValue& value);

} // namespace tavrin
