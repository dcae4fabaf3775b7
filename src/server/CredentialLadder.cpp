#include "server/CredentialLadder.h"

#include "support/log/Log.h"
#include "support/text/Unicode.h"

#include <array>

namespace tavrin {

namespace {

constexpr Logger logger{"Credentials"};

struct Item {
    const char* service;
    const char* account;
};

constexpr Item present{"so.tavrin.TavrinAssistant", "TavrinAPIToken"};
/// In the order in which they are looked at.
constexpr std::array former{Item{"so.tavrin.TavrinAssistant", "LorvexAPIToken"},
                            Item{"so.nimbrel.LorvexAssistant", "LorvexAPIToken"},
                            Item{"so.nimbrel.LorvexAssistant", "TavrinAPIToken"}};

/// Empty if there is none.
Task<std::string> tokenOf(CredentialStore& store, Item item) {
    const auto value = co_await store.read(item.service, item.account);
    co_return std::string(trimmed(value.value_or("")));
}

} // namespace

Task<std::optional<std::string>> CredentialLadder::loadAPIToken() {
    std::string token = co_await tokenOf(store, present);
    if (!token.empty()) co_return token;
    for (const Item& item : former) {
        token = co_await tokenOf(store, item);
        if (token.empty()) continue;
        try {
            co_await saveAPIToken(token);
            logger.info("The token of an earlier version was moved");
        } catch (const CredentialError& error) {
            logger.warning("The token of an earlier version stays where it is: {}", error.what());
        }
        co_return token;
    }
    co_return std::nullopt;
}

Task<void> CredentialLadder::saveAPIToken(std::string token) {
    const std::string_view value = trimmed(token);
    if (value.empty()) co_return;
    co_await store.save(present.service, present.account, std::string(value));
    co_await removeFormer();
}

Task<void> CredentialLadder::deleteAPIToken() {
    co_await store.remove(present.service, present.account);
    co_await removeFormer();
}

Task<void> CredentialLadder::removeFormer() {
    for (const Item& item : former)
        co_await store.remove(item.service, item.account);
}

} // namespace tavrin
