#pragma once

#include "platform/LoginItem.h"

namespace tavrin {

/// A desktop that remembers what it is told.
class FakeLoginItem final : public LoginItem {
public:
    Task<Status> status() override { co_return current; }
    Task<void> setEnabled(bool isEnabled) override {
        if (fails) throw LoginItemError("The login item cannot be changed.");
        current = isEnabled ? Status::enabled : Status::notEnabled;
        co_return;
    }

    Status current = Status::notEnabled;
    bool fails = false;
};

} // namespace tavrin
