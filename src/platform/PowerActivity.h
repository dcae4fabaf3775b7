#pragma once

#include <memory>
#include <string>

namespace tavrin {

/// Keeps the computer from falling asleep by itself. Thread: any; nothing blocks. Where the system offers nothing of
/// the kind, nothing is held.
class PowerActivity {
public:
    /// Holds it for as long as it lives.
    class Token {
    public:
        virtual ~Token() = default;
    };

    virtual ~PowerActivity() = default;
    /// `reason` is shown by the system to people who ask what keeps it awake.
    [[nodiscard]] virtual std::shared_ptr<Token> begin(std::string reason) = 0;
};

} // namespace tavrin
