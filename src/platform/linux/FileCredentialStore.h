#pragma once

#include "platform/CredentialStore.h"
#include "support/async/Executor.h"

#include <memory>
#include <mutex>

namespace tavrin {

class Folder;

/// Secrets in a file that only this user may read. Blocking; for the stores that stand on it. Thread: any.
class CredentialFile final {
public:
    /// `path` within `folder`, which outlives it. Nothing is made before something is kept.
    CredentialFile(Folder& folder, std::string path) : folder(folder), path(std::move(path)) {}

    struct Found {
        std::optional<std::string> value; // absent: known to be removed
    };

    /// Nothing if the file tells nothing of this item, or does not read.
    [[nodiscard]] std::optional<Found> find(const std::string& service, const std::string& account) const;
    /// Throws FileError.
    void keep(const std::string& service, const std::string& account, const std::string& value);
    /// Notes that the item was removed, against a copy elsewhere that cannot be reached now. Throws FileError.
    void keepRemoval(const std::string& service, const std::string& account);
    /// Tells nothing of the item any more. Throws FileError.
    void forget(const std::string& service, const std::string& account);

private:
    template <class Change>
    void change(Change change);

    Folder& folder;
    const std::string path;
    mutable std::mutex mutex;
};

/// A credential store on the file alone, for systems without a key ring. Files are touched on `storage`, which outlives
/// it, as the folder does.
class FileCredentialStore final : public CredentialStore {
public:
    FileCredentialStore(Folder& folder, std::string path, Executor& storage);

    Task<std::optional<std::string>> read(std::string service, std::string account) override;
    Task<void> save(std::string service, std::string account, std::string value) override;
    Task<void> remove(std::string service, std::string account) override;
    [[nodiscard]] std::string place() const override;

private:
    Executor& storage;
    std::shared_ptr<CredentialFile> file;
};

} // namespace tavrin
