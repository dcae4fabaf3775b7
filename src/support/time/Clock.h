#pragma once

#include "support/time/Time.h"

namespace tavrin {

/// Tells how time passes. Never goes back and never jumps; it may stand still while the computer sleeps.
/// Thread: any. Whoever is given a clock does not own it.
class SteadyClock {
public:
    virtual ~SteadyClock() = default;
    [[nodiscard]] virtual SteadyInstant now() const = 0;
};

/// Tells the date, as the user set it: it may jump in either direction. Thread: any.
class WallClock {
public:
    virtual ~WallClock() = default;
    [[nodiscard]] virtual Date now() const = 0;
};

class SystemSteadyClock final : public SteadyClock {
public:
    [[nodiscard]] SteadyInstant now() const override;
};

class SystemWallClock final : public WallClock {
public:
    [[nodiscard]] Date now() const override;
};

} // namespace tavrin
