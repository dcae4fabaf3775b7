#pragma once

#include "support/async/Task.h"

#include <cstdint>
#include <stdexcept>

namespace tavrin {

/// The program could not be entered or taken out, with the user's text.
class LoginItemError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Whether the desktop starts this program when the user logs in.
/// Thread: the tasks run where they are awaited and block nothing.
class LoginItem {
public:
    enum class Status : std::uint8_t { notEnabled, enabled };

    virtual ~LoginItem() = default;

    /// As it is now: the desktop's own settings may change it at any time. What cannot be read is not enabled.
    virtual Task<Status> status() = 0;
    /// Throws LoginItemError; read the status afterwards.
    virtual Task<void> setEnabled(bool isEnabled) = 0;
};

} // namespace tavrin
