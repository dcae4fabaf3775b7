#pragma once

#include "support/time/Time.h"

#include <memory>
#include <optional>
#include <stop_token>
#include <string>

namespace tavrin {

/// The desktop's key ring, reached through its service on the session bus. Blocking; every call ends within the limit,
/// or when `stop` asks for it, and then dismisses a question that the key ring put to the user.
/// Thread: one, always the same.
class SecretKeyRing final {
public:
    static constexpr Duration limit = std::chrono::milliseconds(900); // two calls in a row stay below two seconds

    enum class Answer {
        done,
        missing, // no key ring runs, or none that works
        silent,  // it is locked, asks the user something, or hangs
    };
    struct Found {
        Answer answer = Answer::missing;
        std::optional<std::string> value;
    };

    SecretKeyRing();
    ~SecretKeyRing();
    SecretKeyRing(const SecretKeyRing&) = delete;
    SecretKeyRing& operator=(const SecretKeyRing&) = delete;

    /// Whether one runs.
    Answer probe(const std::stop_token& stop);
    Found find(const std::string& service, const std::string& account, const std::stop_token& stop);
    Answer keep(const std::string& service, const std::string& account, const std::string& value,
                const std::stop_token& stop);
    Answer remove(const std::string& service, const std::string& account, const std::stop_token& stop);

private:
    class Calls;
    std::unique_ptr<Calls> calls;
};

} // namespace tavrin
