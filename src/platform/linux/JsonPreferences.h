#pragma once

#include "platform/Preferences.h"
#include "support/async/Executor.h"

#include <filesystem>
#include <memory>

namespace tavrin {

class Folder;

/// Preferences in one JSON object in a file, key by key.
///
/// Reading:  once, at the beginning. A damaged file is moved aside, as "<name>.damaged", "<name>.damaged-2" and so on,
///           and nothing is set; one that can neither be read nor moved is never written over. damageAtStart() tells
///           either. Values of other types stay in the file untouched, and so do keys that nobody asks for.
/// Writing:  on `storage`, half a second after the first of some changes, atomically; and at the end of this object,
///           in its destructor, which waits for that.
/// Thread:   any. Lifetime: folder and executor outlive it.
class JsonPreferences final : public Preferences {
public:
    /// A file of preferences that would not do: defaults are used, and the user is to know.
    struct Damage {
        std::filesystem::path file;
        /// Where it is now. Absent if it could not be moved: then it stays, and no change of this run is kept.
        std::optional<std::filesystem::path> keptAs;
    };

    static constexpr Duration writeDelay = std::chrono::milliseconds(500);

    /// `path` within `folder`, which need not exist. Throws nothing.
    JsonPreferences(Folder& folder, std::string path, Executor& storage);
    ~JsonPreferences() override;
    JsonPreferences(const JsonPreferences&) = delete;
    JsonPreferences& operator=(const JsonPreferences&) = delete;

    [[nodiscard]] std::optional<PreferenceValue> value(std::string_view key) const override;
    /// A number that is not finite is refused, and data that nest deeper than 60 levels: neither could be read again.
    void set(std::string_view key, PreferenceValue value) override;
    void remove(std::string_view key) override;

    [[nodiscard]] const std::optional<Damage>& damageAtStart() const;

private:
    class State;

    Executor& storage;
    std::shared_ptr<State> state;
};

} // namespace tavrin
