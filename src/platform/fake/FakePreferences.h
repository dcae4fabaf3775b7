#pragma once

#include "platform/Preferences.h"

#include <functional>
#include <map>

namespace tavrin {

/// Preferences in memory.
class FakePreferences final : public Preferences {
public:
    [[nodiscard]] std::optional<PreferenceValue> value(std::string_view key) const override {
        const auto found = values.find(key);
        if (found == values.end()) return std::nullopt;
        return found->second;
    }
    void set(std::string_view key, PreferenceValue value) override {
        ++changes;
        values.insert_or_assign(std::string(key), std::move(value));
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
