#pragma once

#include "platform/PreferenceValue.h"

#include <string_view>
#include <utility>

namespace tavrin {

/// What the user chose, kept over launches: one value a key, such as "tavrin.dictationHotkey".
///
/// A key without a value has none of the types; a value of another type than asked for counts as absent, except that a
/// whole number is a number as well, and a list of texts structured data. Defaults are the readers' affair.
/// Thread:  any. Reading is cheap, from memory.
/// Lasting: a change survives the program's end, soon after the call that makes it. It never fails for the caller; what
///          cannot be written is logged and tried again with the next change.
class Preferences {
public:
    virtual ~Preferences() = default;

    /// The value of whatever type, to copy it or to ask whether there is one.
    [[nodiscard]] virtual std::optional<PreferenceValue> value(std::string_view key) const = 0;
    virtual void set(std::string_view key, PreferenceValue value) = 0;
    virtual void remove(std::string_view key) = 0;

    [[nodiscard]] std::optional<std::string> string(std::string_view key) const { return as<std::string>(key); }
    [[nodiscard]] std::optional<bool> boolean(std::string_view key) const { return as<bool>(key); }
    [[nodiscard]] std::optional<std::int64_t> integer(std::string_view key) const { return as<std::int64_t>(key); }
    [[nodiscard]] std::optional<double> number(std::string_view key) const {
        if (const auto whole = integer(key)) return static_cast<double>(*whole);
        return as<double>(key);
    }
    [[nodiscard]] std::optional<std::vector<std::string>> strings(std::string_view key) const {
        return as<std::vector<std::string>>(key);
    }
    /// An object or an array.
    [[nodiscard]] std::optional<Json> json(std::string_view key) const {
        if (const auto list = strings(key)) return jsonOf(*list);
        if (auto data = as<JsonData>(key)) return std::move(data->content);
        return std::nullopt;
    }

private:
    template <class T>
    [[nodiscard]] std::optional<T> as(std::string_view key) const {
        auto found = value(key);
        if (!found || !std::holds_alternative<T>(*found)) return std::nullopt;
        return std::get<T>(std::move(*found));
    }
};

} // namespace tavrin
