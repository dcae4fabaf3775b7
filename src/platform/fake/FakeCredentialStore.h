#pragma once

#include "platform/CredentialStore.h"

#include <map>
#include <utility>

namespace tavrin {

/// Secrets in memory.
class FakeCredentialStore final : public CredentialStore {
public:
    Task<std::optional<std::string>> read(std::string service, std::string account) override {
        ++reads;
        const auto found = items.find({service, account});
        if (found == items.end()) co_return std::nullopt;
        co_return found->second;
    }
    Task<void> save(std::string service, std::string account, std::string value) override {
        if (failsToSave) throw CredentialError("Failed to save credential.");
        items.insert_or_assign({service, account}, value);
        co_return;
    }
    Task<void> remove(std::string service, std::string account) override {
        items.erase({service, account});
        co_return;
    }
    [[nodiscard]] std::string place() const override { return "memory"; }

    std::map<std::pair<std::string, std::string>, std::string> items; // by service and account
    bool failsToSave = false;
    int reads = 0;
};

} // namespace tavrin
