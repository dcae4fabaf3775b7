#pragma once

#include "platform/Preferences.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// One preference each: its key, its type and what holds without it. Nothing is cached: a get reads the store.
/// Thread: the store's. Lifetime: the store outlives them; keys are literals.
namespace tavrin {

class BooleanSetting final {
public:
    BooleanSetting(Preferences& store, std::string_view name, bool fallback)
        : preferences(store), key(name), absent(fallback) {}

    [[nodiscard]] bool get() const { return preferences.boolean(key).value_or(absent); }
    void set(bool value) { preferences.set(key, value); }

private:
    Preferences& preferences;
    std::string_view key;
    bool absent;
};

/// A text, or none.
class TextSetting final {
public:
    TextSetting(Preferences& store, std::string_view name) : preferences(store), key(name) {}

    [[nodiscard]] std::optional<std::string> get() const { return preferences.string(key); }
    void set(std::string value) { preferences.set(key, std::move(value)); }
    void remove() { preferences.remove(key); }

private:
    Preferences& preferences;
    std::string_view key;
};

/// A whole number, or none.
class IntegerSetting final {
public:
    IntegerSetting(Preferences& store, std::string_view name) : preferences(store), key(name) {}

    [[nodiscard]] std::optional<std::int64_t> get() const { return preferences.integer(key); }
    void set(std::int64_t value) { preferences.set(key, value); }
    void remove() { preferences.remove(key); }

private:
    Preferences& preferences;
    std::string_view key;
};

/// Texts in order; none without a value.
class TextListSetting final {
public:
    TextListSetting(Preferences& store, std::string_view name) : preferences(store), key(name) {}

    [[nodiscard]] std::vector<std::string> get() const {
        return preferences.strings(key).value_or(std::vector<std::string>());
    }
    void set(std::vector<std::string> values) { preferences.set(key, std::move(values)); }

private:
    Preferences& preferences;
    std::string_view key;
};

/// A number above zero: whatever is not, counts as absent. The program only reads it.
class PositiveNumberSetting final {
public:
    PositiveNumberSetting(const Preferences& store, std::string_view name, double fallback)
        : preferences(store), key(name), absent(fallback) {}

    [[nodiscard]] double get() const {
        const double stored = preferences.number(key).value_or(absent);
        return stored > 0 ? stored : absent;
    }

private:
    const Preferences& preferences;
    std::string_view key;
    double absent;
};

/// One of the values of an enumeration, stored as what `rawValue` says of it; any other text counts as absent.
/// `allValues(Choice{})` lists them.
template <class Choice>
class ChoiceSetting final {
public:
    ChoiceSetting(Preferences& store, std::string_view name, Choice fallback)
        : preferences(store), key(name), absent(fallback) {}

    [[nodiscard]] Choice get() const {
        const std::string stored = preferences.string(key).value_or("");
        const auto all = allValues(Choice{});
        const auto found = std::ranges::find(all, stored, [](Choice each) { return rawValue(each); });
        return found == all.end() ? absent : *found;
    }
    void set(Choice value) { preferences.set(key, std::string(rawValue(value))); }

private:
    Preferences& preferences;
    std::string_view key;
    Choice absent;
};

} // namespace tavrin
