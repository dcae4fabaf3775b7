#include "platform/linux/FileCredentialStore.h"

#include "support/async/RunOn.h"
#include "support/files/FileError.h"
#include "support/files/Folder.h"
#include "support/json/Json.h"
#include "support/log/Log.h"

namespace tavrin {

namespace {

constexpr Logger logger{"Credentials"};
constexpr JsonLimits limits{.bytes = std::size_t{1} << 20};

// One member a service, in there one an account: a text, or false once it was removed.

/// What the file holds; an empty object if there is none. A damaged one is moved out of the way of a `writer`.
Json contentOf(Folder& folder, const std::string& path, bool isForWriting) {
    if (!folder.info(path)) return Json::object();
    try {
        Json content = readJson(folder, path, limits);
        if (content.is_object()) return content;
        throw JsonError(path, "not an object");
    } catch (const JsonError& error) {
        logger.error("The file of secrets is damaged: {}", error.what());
        if (isForWriting) folder.rename(path, path + ".damaged");
        return Json::object();
    }
}

} // namespace

std::optional<CredentialFile::Found> CredentialFile::find(const std::string& service,
                                                          const std::string& account) const {
    const std::scoped_lock lock(mutex);
    try {
        const Json content = contentOf(folder, path, false);
        const Json* accounts = objectAt(content, service);
        const Json* item = accounts == nullptr ? nullptr : memberOf(*accounts, account);
        if (item == nullptr) return std::nullopt;
        if (auto value = stringIn(*item)) return Found{std::move(value)};
        if (boolIn(*item) == false) return Found{};
    } catch (const FileError& error) {
        logger.error("The file of secrets cannot be read: {}", error.what());
    }
    return std::nullopt;
}

/// `change` gets the content and says whether it altered it.
template <class Change>
void CredentialFile::change(Change change) {
    const std::scoped_lock lock(mutex);
    Json content = contentOf(folder, path, true);
    if (!change(content)) return;
    folder.makeFolders(Folder::parentOf(path));
    folder.writeAtomically(path, prettyText(content));
}

void CredentialFile::keep(const std::string& service, const std::string& account, const std::string& value) {
    change([&](Json& content) {
        if (!content[service].is_object()) content[service] = Json::object();
        content[service][account] = value;
        return true;
    });
}

void CredentialFile::keepRemoval(const std::string& service, const std::string& account) {
    change([&](Json& content) {
        if (!content[service].is_object()) content[service] = Json::object();
        content[service][account] = false;
        return true;
    });
}

void CredentialFile::forget(const std::string& service, const std::string& account) {
    change([&](Json& content) {
        if (objectAt(content, service) == nullptr) return false;
        return content[service].erase(account) > 0;
    });
}

FileCredentialStore::FileCredentialStore(Folder& folder, std::string path, Executor& executor)
    : storage(executor), file(std::make_shared<CredentialFile>(folder, std::move(path))) {}

Task<std::optional<std::string>> FileCredentialStore::read(std::string service, std::string account) {
    return runOn(storage,
                 [file = file, service = std::move(service),
                  account = std::move(account)](const std::stop_token&) -> std::optional<std::string> {
                     auto found = file->find(service, account);
                     return found ? std::move(found->value) : std::nullopt;
                 });
}

Task<void> FileCredentialStore::save(std::string service, std::string account, std::string value) {
    return runOn(storage, [file = file, service = std::move(service), account = std::move(account),
                           value = std::move(value)](const std::stop_token&) {
        try {
            file->keep(service, account, value);
        } catch (const FileError& error) {
            throw CredentialError(std::string("Failed to save credential: ") + error.what() + ".");
        }
    });
}

Task<void> FileCredentialStore::remove(std::string service, std::string account) {
    return runOn(storage,
                 [file = file, service = std::move(service), account = std::move(account)](const std::stop_token&) {
                     try {
                         file->forget(service, account);
                     } catch (const FileError& error) {
                         logger.error("A secret stays in its file: {}", error.what());
                     }
                 });
}

std::string FileCredentialStore::place() const {
    return "a private file of this user";
}

} // namespace tavrin
