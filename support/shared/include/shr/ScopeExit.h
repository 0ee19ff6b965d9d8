#pragma once
#include <utility>

namespace shr {

/// Runs an action when the scope is left, unless it was released. The action must not throw.
template <class Action>
class ScopeExit {
public:
    explicit ScopeExit(Action onExit) : action(std::move(onExit)) {}
    ~ScopeExit() {
        if (armed) action();
    }
    ScopeExit(const ScopeExit&) = delete;
    ScopeExit& operator=(const ScopeExit&) = delete;
    void Release() noexcept { armed = false; }

private:
    Action action;
    bool armed = true;
};

}  // namespace shr
