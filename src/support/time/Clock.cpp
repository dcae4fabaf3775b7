#include "support/time/Clock.h"

namespace tavrin {

SteadyInstant SystemSteadyClock::now() const {
    return SteadyInstant(std::chrono::steady_clock::now().time_since_epoch());
}

Date SystemWallClock::now() const {
    return Date::fromUnix(std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count());
}

} // namespace tavrin
