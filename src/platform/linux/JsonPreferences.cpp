#include "platform/linux/JsonPreferences.h"

#include "support/files/FileError.h"
#include "support/files/Folder.h"
#include "support/json/Json.h"
#include "support/log/Log.h"

#include <cmath>
#include <mutex>

namespace tavrin {

namespace {

constexpr Logger logger{"Preferences"};
constexpr JsonLimits limits{.bytes = std::size_t{16} << 20};
constexpr int mostDamagedFiles = 100;

std::optional<PreferenceValue> preferenceOf(const Json& value) {
    if (const auto truth = boolIn(value)) return PreferenceValue(*truth);
    if (auto text = stringIn(value)) return PreferenceValue(std::move(*text));
    if (value.is_number_float()) return PreferenceValue(value.get<double>());
    if (const auto whole = integerIn(value)) return PreferenceValue(*whole);
    return std::nullopt;
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

private:
    void read();
    void moveAside();
    bool noteChange();

    Folder& folder;
    const std::string path;
    bool isWritable = true;

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
    isWritable = false;
    try {
        for (int number = 1; number <= mostDamagedFiles; ++number) {
            const std::string aside = path + ".damaged" + (number == 1 ? "" : "-" + std::to_string(number));
            if (folder.info(aside)) continue;
            folder.rename(path, aside);
            logger.warning("The old preferences are in {}", aside);
            isWritable = true;
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
    return member == nullptr ? std::nullopt : preferenceOf(*member);
}

bool JsonPreferences::State::set(std::string_view key, const PreferenceValue& value) {
    const std::scoped_lock lock(mutex);
    const Json* before = memberOf(values, key);
    if (before != nullptr && preferenceOf(*before) == value) return false;
    values[std::string(key)] = std::visit([](const auto& content) { return Json(content); }, value);
    return noteChange();
}

bool JsonPreferences::State::remove(std::string_view key) {
    const std::scoped_lock lock(mutex);
    return values.erase(std::string(key)) > 0 && noteChange();
}

/// Under the lock.
bool JsonPreferences::State::noteChange() {
    isChanged = true;
    return isWritable && !std::exchange(isScheduled, true);
}

void JsonPreferences::State::write() {
    const std::scoped_lock turn(writing);
    std::string text;
    {
        const std::scoped_lock lock(mutex);
        isScheduled = false;
        if (!isWritable || !std::exchange(isChanged, false)) return;
        text = prettyText(values);
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
    const double* number = std::get_if<double>(&value);
    if (number != nullptr && !std::isfinite(*number)) {
        logger.error("{} is no number to keep for {}", *number, key);
        return;
    }
    if (state->set(key, value)) storage.postAt(after(storage.now(), writeDelay), [self = state] { self->write(); });
}

void JsonPreferences::remove(std::string_view key) {
    if (state->remove(key)) storage.postAt(after(storage.now(), writeDelay), [self = state] { self->write(); });
}

} // namespace tavrin
