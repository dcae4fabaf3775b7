#include "server/DeploymentValues.h"

#include "server/WebAddress.h"
#include "support/text/Unicode.h"

#include <functional>
#include <optional>
#include <utility>

namespace tavrin {

namespace {

/// One value of the file, with its place in it for errors.
class Node final {
public:
    Node(const Json* found, std::string_view sourceName, std::string path)
        : value(found), source(sourceName), place(std::move(path)) {}

    [[noreturn]] void fail(std::string_view reason) const {
        throw DeploymentError(std::string(source) + ": \"" + place + "\" " + std::string(reason));
    }

    explicit operator bool() const { return value != nullptr; }

    /// The member, which may be missing.
    [[nodiscard]] Node member(std::string_view key) const {
        if (value != nullptr && !value->is_object()) fail("is not an object");
        return {value == nullptr ? nullptr : memberOf(*value, key), source,
                place.empty() ? std::string(key) : place + "." + std::string(key)};
    }

    [[nodiscard]] std::vector<Node> elements() const {
        if (value == nullptr) return {};
        if (!value->is_array()) fail("is not a list");
        std::vector<Node> result;
        result.reserve(value->size());
        for (std::size_t i = 0; i < value->size(); ++i)
            result.emplace_back(&(*value)[i], source, place + "[" + std::to_string(i) + "]");
        return result;
    }

    /// A text that says something, without blanks around it.
    [[nodiscard]] std::string text() const {
        auto found = value == nullptr ? std::nullopt : stringIn(*value);
        if (!found) fail("is not a text");
        if (found->empty() || trimmed(*found) != *found) fail("is empty or has blanks around it");
        return std::move(*found);
    }

    [[nodiscard]] std::string origin() const {
        std::string found = text();
        if (!isWebOrigin(found)) fail("is not the address of a server, without a path");
        return found;
    }

private:
    const Json* value;
    std::string_view source;
    std::string place;
};

std::vector<std::string> textsOf(const Node& list) {
    std::vector<std::string> result;
    for (const Node& element : list.elements())
        result.push_back(element.text());
    return result;
}

} // namespace

ServerAddresses serverAddressesIn(const Json& deployment, std::string_view source) {
    const Node server = Node(&deployment, source, "").member("server");
    ServerAddresses result;
    if (const Node endpoint = server.member("defaultEndpoint")) {
        result.defaultEndpoint = endpoint.text();
        if (!isWebAddress(result.defaultEndpoint)) endpoint.fail("is not the address of a server");
        if (result.defaultEndpoint.ends_with('/')) endpoint.fail("ends with \"/\"");
    }
    for (const Node& former : server.member("formerOrigins").elements())
        result.formerOrigins.push_back({former.member("from").origin(), former.member("to").origin()});
    return result;
}

VocabularySeeds vocabularySeedsIn(const Json& deployment, std::string_view source) {
    const Node vocabulary = Node(&deployment, source, "").member("vocabulary");
    VocabularySeeds result;
    result.names = textsOf(vocabulary.member("names"));
    for (const Node& correction : vocabulary.member("corrections").elements()) {
        const Node variants = correction.member("variants");
        result.corrections.push_back({correction.member("correct").text(), textsOf(variants)});
        if (result.corrections.back().variants.empty()) variants.fail("names no mishearing");
    }
    if (const Node example = vocabulary.member("example")) {
        result.exampleHeard = example.member("heard").text();
        result.exampleCorrect = example.member("correct").text();
    }
    return result;
}

} // namespace tavrin
