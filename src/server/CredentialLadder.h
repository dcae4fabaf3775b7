#pragma once

#include "platform/CredentialStore.h"

namespace tavrin {

/// The token of the account, under its present name or under those it had in earlier versions.
/// Thread: tasks run where they are awaited. Lifetime: the store outlives it; it outlives its tasks.
class CredentialLadder final {
public:
    explicit CredentialLadder(CredentialStore& credentials) : store(credentials) {}

    /// The token without blanks around it; absent if there is none. One that is found under an earlier name is moved to
    /// the present one; if that fails it stays where it is for the next time.
    [[nodiscard]] Task<std::optional<std::string>> loadAPIToken();

    /// Keeps the token, without blanks around it, and removes what stands under earlier names. An empty one changes
    /// nothing. Throws CredentialError.
    [[nodiscard]] Task<void> saveAPIToken(std::string token);

    /// Removes the token under all its names.
    [[nodiscard]] Task<void> deleteAPIToken();

private:
    Task<void> removeFormer();

    CredentialStore& store;
};

} // namespace tavrin
