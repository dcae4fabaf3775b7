#include "platform/linux/JsonPreferences.h"

#include "support/files/FileError.h"
#include "support/files/Folder.h"
#include "support/json/Json.h"
#include "support/log/Log.h"

#include <algorithm>
#include <cmath>
#include <mutex>

namespace tavrin {

namespace {

constexpr Logger logger{"Preferences"};
constexpr JsonLimits limits{.bytes = std::size_t{16} << 20};
constexpr int mostDamagedFiles = 100;

/// A member may nest as deep as the file, less the file's own object.
constexpr std::size_t mostDepth = 60;

bool isKeepable(const Json& value, std::size_t depth = mostDepth) {
    if (value.is_number_float()) return std::isfinite(value.get<double>());
    if (!value.is_structured()) return !value.is_discarded() && !value.is_binary();
    return depth > 0 && std::ranges::all_of(value, [&](const Json& part) { return isKeepable(part, depth - 1); });
}

} // namespace

/// Shared with the job that writes.
class JsonPreferences::State final {
public:
    State(Folder& owner, std::string filePath) : folder(owner), path(std::move(filePath)) { read(); }

    [[nodiscard]] std::optional<PreferenceValue> value(std::string_view key) const;
    /// True when a write is to be scheduled.
    bool set(std::string_view key, const PreferenceValue& value);
    bool remove(std::string_view key);
    void write();

    [[nodiscard]] const std::optional<Damage>& damageAtStart() const { return damage; }

private:
    void read();
    void moveAside();
    bool noteChange();
    /// What can neither be read nor moved is never written over.
    [[nodiscard]] bool keepsChanges() const { return !damage || damage->keptAs; }

    Folder& folder;
    const std::string path;
    std::optional<Damage> damage; // constant once constructed

    std::mutex writing; // taken first; one writer at a time, so that the last one has the last word
    mutable std::mutex mutex;
    // guarded
    Json values = Json::object();
    bool isChanged = false;
    bool isScheduled = false;
};

void JsonPreferences::State::read() {
    try {
        if (!folder.info(path)) return;
        Json found = readJson(folder, path, limits);
        if (!found.is_object()) throw JsonError(path, "not an object");
        values = std::move(found);
        return;
    } catch (const JsonError& error) {
        logger.error("The preferences are damaged, defaults are used: {}", error.what());
    } catch (const FileError& error) {
        logger.error("The preferences cannot be read, defaults are used: {}", error.what());
    }
    moveAside();
}

void JsonPreferences::State::moveAside() {
    damage.emplace(Damage{.file = folder.location(path)});
    try {
        for (int number = 1; number <= mostDamagedFiles; ++number) {
            const std::string aside = path + ".damaged" + (number == 1 ? "" : "-" + std::to_string(number));
            if (folder.info(aside)) continue;
            folder.rename(path, aside);
            logger.warning("The old preferences are in {}", aside);
            damage->keptAs = folder.location(aside);
            return;
        }
        logger.error("There are too many damaged preferences already: changes are not kept");
    } catch (const FileError& error) {
        logger.error("Changes of preferences are not kept: {}", error.what());
    }
}

std::optional<PreferenceValue> JsonPreferences::State::value(std::string_view key) const {
    const std::scoped_lock lock(mutex);
    const Json* member = memberOf(values, key);
    return member == nullptr ? std::nullopt : preferenceValueIn(*member);
}

bool JsonPreferences::State::set(std::string_view key, const PreferenceValue& value) {
    const std::scoped_lock lock(mutex);
    const Json* before = memberOf(values, key);
    if (before != nullptr && preferenceValueIn(*before) == value) return false;
    values[std::string(key)] = jsonOf(value);
    return noteChange();
}

bool JsonPreferences::State::remove(std::string_view key) {
    const std::scoped_lock lock(mutex);
    return values.erase(std::string(key)) > 0 && noteChange();
}

/// Under the lock.
bool JsonPreferences::State::noteChange() {
    isChanged = true;
    return keepsChanges() && !std::exchange(isScheduled, true);
}

void JsonPreferences::State::write() {
    const std::scoped_lock turn(writing);
    std::string text;
    {
        const std::scoped_lock lock(mutex);
        isScheduled = false;
        if (!keepsChanges() || !std::exchange(isChanged, false)) return;
        text = prettyText(values);
    }
    if (text.size() > limits.bytes) {
        logger.error("The preferences are not saved: they are larger than what would be read again");
        return;
    }
    try {
        folder.makeFolders(Folder::parentOf(path));
        folder.writeAtomically(path, text);
    } catch (const FileError& error) {
        logger.error("The preferences are not saved: {}", error.what());
        const std::scoped_lock lock(mutex);
        isChanged = true; // for the next change, or the end
    }
}

JsonPreferences::JsonPreferences(Folder& folder, std::string path, Executor& executor)
    : storage(executor), state(std::make_shared<State>(folder, std::move(path))) {}

JsonPreferences::~JsonPreferences() {
    state->write();
}

std::optional<PreferenceValue> JsonPreferences::value(std::string_view key) const {
    return state->value(key);
}

void JsonPreferences::set(std::string_view key, PreferenceValue value) {
    if (!isKeepable(jsonOf(value))) {
        logger.error("The value for {} holds a number that is none, or nests too deep, and is not kept", key);
        return;
    }
    if (state->set(key, value)) storage.postAt(after(storage.now(), writeDelay), [self = state] { self->write(); });
}

void JsonPreferences::remove(std::string_view key) {
    if (state->remove(key)) storage.postAt(after(storage.now(), writeDelay), [self = state] { self->write(); });
}

const std::optional<JsonPreferences::Damage>& JsonPreferences::damageAtStart() const {
    return state->damageAtStart();
}

} // namespace tavrin
