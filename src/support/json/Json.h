#pragma once

#include <nlohmann/json.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace tavrin {

class Folder;

/// A JSON value whose objects keep the order of their keys. Reading goes through the functions below: what comes from
/// a file or a server is never trusted to have a type.
using Json = nlohmann::ordered_json;

/// A text that is not the JSON we take. `source` is the file or the peer it came from. The reason never quotes it.
class JsonError final : public std::runtime_error {
public:
    JsonError(std::string_view source, std::string_view reason);

    const std::string& source() const noexcept { return origin; }

private:
    std::string origin;
};

struct JsonLimits {
    std::size_t bytes = std::size_t{64} << 20;
    /// Arrays and objects within one another.
    std::size_t depth = 64;
};

/// Throws JsonError for anything but one JSON value in UTF-8 within the limits. Numbers beyond a double's range are
/// refused as well.
Json parseJson(std::string_view text, std::string_view source, JsonLimits limits = {});

/// Reads a file of the folder. Throws FileError if it cannot be read, JsonError as above if its content will not do.
Json readJson(const Folder& folder, std::string_view path, JsonLimits limits = {});

/// Neither throws: ill-formed UTF-8 becomes U+FFFD, numbers that are not finite become null.
std::string compactText(const Json& value);
/// With line ends and an indent of two blanks; ends with a line feed.
std::string prettyText(const Json& value);

/// The member of an object, null pointer if there is none or `object` is no object. Lives as long as `object`.
const Json* memberOf(const Json& object, std::string_view key);

// The value if it has the type, else absent.

std::optional<std::string> stringIn(const Json& value);
std::optional<bool> boolIn(const Json& value);
/// Finite numbers only.
std::optional<double> numberIn(const Json& value);
/// Whole numbers within 64 signed bits, also when written as "3.0". Never rounds.
std::optional<std::int64_t> integerIn(const Json& value);

// The same for the member `key` of an object; absent also if there is no such member.

std::optional<std::string> stringAt(const Json& object, std::string_view key);
std::optional<bool> boolAt(const Json& object, std::string_view key);
std::optional<double> numberAt(const Json& object, std::string_view key);
std::optional<std::int64_t> integerAt(const Json& object, std::string_view key);
/// Null pointer unless the member is an array or an object, as the name says. Lives as long as `object`.
const Json* arrayAt(const Json& object, std::string_view key);
const Json* objectAt(const Json& object, std::string_view key);

} // namespace tavrin
