#include "platform/linux/SecretCredentialStore.h"

#include "platform/linux/FileCredentialStore.h"
#include "platform/linux/SecretKeyRing.h"
#include "support/async/Race.h"
#include "support/async/RunOn.h"
#include "support/files/FileError.h"
#include "support/log/Log.h"

#include <atomic>

namespace tavrin {

namespace {

constexpr Logger logger{"Credentials"};
constexpr Duration mostTime = std::chrono::seconds(2);

using Answer = SecretKeyRing::Answer;

} // namespace

/// What runs on the store's thread; place() anywhere.
class SecretCredentialStore::Work final {
public:
    Work(Folder& folder, std::string path) : file(folder, std::move(path)) {}

    void probe(const std::stop_token& stop) { note(ring.probe(stop)); }

    std::optional<std::string> read(const std::string& service, const std::string& account,
                                    const std::stop_token& stop) {
        auto inFile = file.find(service, account);
        if (inFile && inFile->value) {
            if (lastAnswer == Answer::done) holdsFileItem = true;
            return std::move(inFile->value);
        }
        if (inFile) {
            remove(service, account, stop);
            return std::nullopt;
        }
        SecretKeyRing::Found found = ring.find(service, account, stop);
        note(found.answer);
        return std::move(found.value);
    }

    void save(const std::string& service, const std::string& account, const std::string& value,
              const std::stop_token& stop) {
        note(ring.keep(service, account, value, stop));
        try {
            if (lastAnswer == Answer::done)
                file.forget(service, account);
            else
                file.keep(service, account, value);
        } catch (const FileError& error) {
            throw CredentialError(std::string("Failed to save credential: ") + error.what() + ".");
        }
        holdsFileItem = false;
    }

    void remove(const std::string& service, const std::string& account, const std::stop_token& stop) {
        note(ring.remove(service, account, stop));
        try {
            if (lastAnswer == Answer::done)
                file.forget(service, account);
            else
                file.keepRemoval(service, account);
        } catch (const FileError& error) {
            logger.error("A secret stays in its file: {}", error.what());
        }
        holdsFileItem = false;
    }

    [[nodiscard]] std::string place() const {
        if (lastAnswer == Answer::missing) return "a private file of this user: no key ring runs";
        if (lastAnswer == Answer::silent) return "a private file of this user: the key ring does not answer";
        return holdsFileItem ? "a private file of this user" : "the desktop's key ring";
    }

private:
    void note(Answer answer) {
        if (lastAnswer.exchange(answer) == answer) return;
        logger.info("Secrets are kept in {}", place());
    }

    CredentialFile file;
    SecretKeyRing ring;
    std::atomic<Answer> lastAnswer{Answer::done};
    std::atomic<bool> holdsFileItem{false}; // although the key ring works
};

SecretCredentialStore::SecretCredentialStore(Folder& folder, std::string path)
    : work(std::make_shared<Work>(folder, std::move(path))) {
    worker.post([work = work] { work->probe({}); });
}

SecretCredentialStore::~SecretCredentialStore() = default;

Task<std::optional<std::string>> SecretCredentialStore::read(std::string service, std::string account) {
    auto found =
        co_await race(runOn(worker, [work = work, service, account](
                                        const std::stop_token& stop) { return work->read(service, account, stop); }),
                      mostTime);
    co_return found ? std::move(*found) : std::nullopt;
}

Task<void> SecretCredentialStore::save(std::string service, std::string account, std::string value) {
    const bool inTime =
        co_await race(runOn(worker, [work = work, service, account, value](
                                        const std::stop_token& stop) { work->save(service, account, value, stop); }),
                      mostTime);
    if (!inTime) throw CredentialError("Failed to save credential: the key ring does not answer.");
}

Task<void> SecretCredentialStore::remove(std::string service, std::string account) {
    const bool inTime =
        co_await race(runOn(worker, [work = work, service,
                                     account](const std::stop_token& stop) { work->remove(service, account, stop); }),
                      mostTime);
    if (!inTime) logger.error("The key ring was too slow to remove a secret");
}

std::string SecretCredentialStore::place() const {
    return work->place();
}

} // namespace tavrin
