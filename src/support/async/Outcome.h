#pragma once

#include <exception>
#include <type_traits>
#include <utility>
#include <variant>

namespace tavrin {

/// Stands for the value of something that has none, where a type is needed.
template <class T>
using ValueOr = std::conditional_t<std::is_void_v<T>, std::monostate, T>;

/// How a piece of work ended: not yet, with a value, or with an exception. Thread: none of its own.
template <class T>
class Outcome final {
public:
    template <class... Value>
    void setValue(Value&&... value) {
        state.template emplace<1>(std::forward<Value>(value)...);
    }

    void setError(std::exception_ptr error) { state.template emplace<2>(std::move(error)); }

    /// The exception, when it ended with one.
    [[nodiscard]] std::exception_ptr error() const {
        return state.index() == 2 ? std::get<2>(state) : std::exception_ptr();
    }

    /// Moves the value out, or throws the exception. Only once, and only when it has ended.
    T take() {
        if (state.index() == 2) std::rethrow_exception(std::exchange(std::get<2>(state), {}));
        if constexpr (!std::is_void_v<T>) return std::move(std::get<1>(state));
    }

private:
    std::variant<std::monostate, ValueOr<T>, std::exception_ptr> state;
};

} // namespace tavrin
