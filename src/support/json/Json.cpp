#include "support/json/Json.h"

#include "support/files/FileError.h"
#include "support/files/Folder.h"

#include <cmath>
#include <limits>

namespace tavrin {

namespace {

/// The deepest nesting of a text, counted before it is parsed. Strings are passed over.
std::size_t depthOf(std::string_view text) {
    std::size_t depth = 0;
    std::size_t deepest = 0;
    bool inString = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (inString) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                inString = false;
        } else if (c == '"') {
            inString = true;
        } else if (c == '[' || c == '{') {
            deepest = std::max(deepest, ++depth);
        } else if ((c == ']' || c == '}') && depth > 0) {
            --depth;
        }
    }
    return deepest;
}

std::string tooLarge(JsonLimits limits) {
    return "larger than " + std::to_string(limits.bytes) + " bytes";
}

template <class Getter>
auto at(const Json& object, std::string_view key, Getter getter) -> decltype(getter(object)) {
    const Json* member = memberOf(object, key);
    if (member == nullptr) return std::nullopt;
    return getter(*member);
}

} // namespace

JsonError::JsonError(std::string_view source, std::string_view reason)
    : std::runtime_error(std::string(source) + ": " + std::string(reason)), origin(source) {}

Json parseJson(std::string_view text, std::string_view source, JsonLimits limits) {
    if (text.size() > limits.bytes) throw JsonError(source, tooLarge(limits));
    if (depthOf(text) > limits.depth)
        throw JsonError(source, "nested deeper than " + std::to_string(limits.depth) + " levels");
    try {
        return Json::parse(text);
    } catch (const Json::parse_error& error) {
        throw JsonError(source, "not valid JSON near byte " + std::to_string(error.byte));
    } catch (const Json::exception& error) {
        throw JsonError(source, "not usable JSON, error " + std::to_string(error.id));
    }
}

Json readJson(const Folder& folder, std::string_view path, JsonLimits limits) {
    const std::string source = folder.location(path).string();
    try {
        return parseJson(folder.read(path, limits.bytes), source, limits);
    } catch (const FileError& error) {
        if (error.code() == std::errc::file_too_large) throw JsonError(source, tooLarge(limits));
        throw;
    }
}

std::string compactText(const Json& value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string prettyText(const Json& value) {
    return value.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}

const Json* memberOf(const Json& object, std::string_view key) {
    if (!object.is_object()) return nullptr;
    for (const auto& [name, value] : object.get_ref<const Json::object_t&>())
        if (name == key) return &value;
    return nullptr;
}

std::optional<std::string> stringIn(const Json& value) {
    if (!value.is_string()) return std::nullopt;
    return value.get<std::string>();
}

std::optional<bool> boolIn(const Json& value) {
    if (!value.is_boolean()) return std::nullopt;
    return value.get<bool>();
}

std::optional<double> numberIn(const Json& value) {
    if (!value.is_number()) return std::nullopt;
    const auto number = value.get<double>();
    if (!std::isfinite(number)) return std::nullopt;
    return number;
}

std::optional<std::int64_t> integerIn(const Json& value) {
    if (value.is_number_unsigned()) {
        const auto number = value.get<std::uint64_t>();
        if (number > std::uint64_t(std::numeric_limits<std::int64_t>::max())) return std::nullopt;
        return static_cast<std::int64_t>(number);
    }
    if (value.is_number_integer()) return value.get<std::int64_t>();
    const std::optional<double> number = numberIn(value);
    constexpr double limit = 9223372036854775808.0; // 2 to the 63rd
    if (!number || std::trunc(*number) != *number || *number < -limit || *number >= limit) return std::nullopt;
    return static_cast<std::int64_t>(*number);
}

std::optional<std::string> stringAt(const Json& object, std::string_view key) {
    return at(object, key, stringIn);
}
std::optional<bool> boolAt(const Json& object, std::string_view key) {
    return at(object, key, boolIn);
}
std::optional<double> numberAt(const Json& object, std::string_view key) {
    return at(object, key, numberIn);
}
std::optional<std::int64_t> integerAt(const Json& object, std::string_view key) {
    return at(object, key, integerIn);
}

const Json* arrayAt(const Json& object, std::string_view key) {
    const Json* member = memberOf(object, key);
    return member != nullptr && member->is_array() ? member : nullptr;
}

const Json* objectAt(const Json& object, std::string_view key) {
    const Json* member = memberOf(object, key);
    return member != nullptr && member->is_object() ? member : nullptr;
}

} // namespace tavrin
