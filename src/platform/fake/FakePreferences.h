#pragma once

#include "platform/Preferences.h"

#include <functional>
#include <map>

namespace tavrin {

/// Preferences in memory. Thread: one.
class FakePreferences final : public Preferences {
public:
    [[nodiscard]] std::optional<PreferenceValue> value(std::string_view key) const override {
        const auto found = values.find(key);
        if (found == values.end()) return std::nullopt;
        return found->second;
    }
    void set(std::string_view key, PreferenceValue value) override {
        ++changes;
        // As a store gives it back: an array of texts is a list however it came.
        if (const auto kept = preferenceValueIn(jsonOf(value))) values.insert_or_assign(std::string(key), *kept);
    }
    void remove(std::string_view key) override {
        ++changes;
        if (const auto found = values.find(key); found != values.end()) values.erase(found);
    }

    /// Calls of set and remove.
    int changes = 0;

private:
    std::map<std::string, PreferenceValue, std::less<>> values;
};

} // namespace tavrin
