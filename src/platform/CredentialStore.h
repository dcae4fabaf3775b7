#pragma once

#include "support/async/Task.h"

#include <optional>
#include <stdexcept>
#include <string>

namespace tavrin {

/// A credential that could not be kept, with the user's text.
class CredentialError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Secrets of this user, by service and account. Values are never logged.
/// Thread: the tasks run where they are awaited and block nothing; each ends within two seconds.
class CredentialStore {
public:
    virtual ~CredentialStore() = default;

    /// Absent when there is none, or when it cannot be read.
    virtual Task<std::optional<std::string>> read(std::string service, std::string account) = 0;
    /// Throws CredentialError.
    virtual Task<void> save(std::string service, std::string account, std::string value) = 0;
    /// Never fails.
    virtual Task<void> remove(std::string service, std::string account) = 0;
    /// Where secrets lie now, in words for the user.
    [[nodiscard]] virtual std::string place() const = 0;
};

} // namespace tavrin
