#pragma once

#include "support/async/Sleep.h"
#include "support/async/TaskScope.h"
#include "support/async/VirtualTime.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tavrin {

/// For tests of tasks: virtual time, a scope on its main executor and a log of what happened.
class TaskTest : public testing::Test {
protected:
    using Log = std::vector<std::string>;

    /// Notes in the log when the local variable, argument or capture that it is goes away.
    class Local final {
    public:
        Local(Log& noteIn, std::string localName) : log(&noteIn), name(std::move(localName)) {}
        Local(Local&& other) noexcept : log(std::exchange(other.log, nullptr)), name(std::move(other.name)) {}
        ~Local() {
            if (log != nullptr) log->push_back(name + " gone");
        }

    private:
        Log* log;
        std::string name;
    };

    Task<int> answerAfter(Duration duration, int answer) {
        co_await sleepFor(duration);
        co_return answer;
    }

    Task<void> noteAfter(Duration duration, std::string text) {
        const Local local(log, text);
        co_await sleepFor(duration);
        log.push_back(text);
    }

    Task<void> throwAfter(Duration duration, std::string text) {
        co_await sleepFor(duration);
        throw std::runtime_error(text);
    }

    VirtualTime time;
    Log log;
    std::vector<std::string> errors;
    std::unique_ptr<TaskScope> tasks =
        std::make_unique<TaskScope>(time.main(), [this](const std::exception_ptr& error) {
            try {
                std::rethrow_exception(error);
            } catch (const std::exception& exception) {
                errors.emplace_back(exception.what());
            }
        });
};

} // namespace tavrin
