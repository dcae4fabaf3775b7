#pragma once

#include "platform/PowerActivity.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace tavrin {

/// Counts what is held. Outlives its tokens. Thread: one.
class FakePowerActivity final : public PowerActivity {
public:
    [[nodiscard]] std::shared_ptr<Token> begin(std::string reason) override {
        reasons.push_back(std::move(reason));
        return std::make_shared<Held>(held);
    }

    std::vector<std::string> reasons; ///< of all that was begun
    int held = 0;

private:
    class Held final : public Token {
    public:
        explicit Held(int& heldCount) : count(heldCount) { ++count; }
        Held(const Held&) = delete;
        Held& operator=(const Held&) = delete;
        ~Held() override { --count; }

    private:
        int& count;
    };
};

} // namespace tavrin
