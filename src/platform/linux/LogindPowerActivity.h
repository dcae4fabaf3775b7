#pragma once

#include "platform/PowerActivity.h"
#include "support/async/SerialExecutor.h"

namespace tavrin {

/// Holds off idleness and sleep with an inhibitor of the login manager, taken on a thread of its own. Without one on
/// the system bus nothing is held, and the log says so. Tokens may outlive it.
class LogindPowerActivity final : public PowerActivity {
public:
    LogindPowerActivity();
    ~LogindPowerActivity() override;

    [[nodiscard]] std::shared_ptr<Token> begin(std::string reason) override;

private:
    class Bus;

    std::shared_ptr<Bus> bus;
    ThreadPool thread{1};
    SerialExecutor worker{thread};
};

} // namespace tavrin
