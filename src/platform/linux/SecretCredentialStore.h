#pragma once

#include "platform/CredentialStore.h"
#include "support/async/SerialExecutor.h"

namespace tavrin {

class Folder;

/// Secrets in the desktop's key ring; where none runs, or it does not answer, in a private file of this user. Both are
/// read: an item in the file is the newer one, since a save to the key ring takes it out of the file. A removal that
/// the key ring did not hear of is remembered in the file.
///
/// Works on a thread of its own. Lifetime: outlives its tasks; the folder outlives it.
class SecretCredentialStore final : public CredentialStore {
public:
    /// `path` of the private file within `folder`; it is made when it is needed.
    SecretCredentialStore(Folder& folder, std::string path);
    ~SecretCredentialStore() override;

    Task<std::optional<std::string>> read(std::string service, std::string account) override;
    Task<void> save(std::string service, std::string account, std::string value) override;
    Task<void> remove(std::string service, std::string account) override;
    [[nodiscard]] std::string place() const override;

private:
    class Work;

    std::shared_ptr<Work> work;
    ThreadPool thread{1};
    SerialExecutor worker{thread};
};

} // namespace tavrin
