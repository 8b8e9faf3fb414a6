// Doing again what failed for a reason that may pass.
#ifndef HOARDD_LIBRARY_RETRY_H
#define HOARDD_LIBRARY_RETRY_H

#include <chrono>
#include <memory>

#include "wickerlane/platform/object/Handler.h"

namespace wickerlane::hoardd {

/// Asks for work to be done again after a pause, which doubles with each failure, and is short again once
/// the work succeeds. Thread-safe.
class Retry {
public:
    using Pause = std::chrono::nanoseconds;

    Retry() : Retry(std::chrono::seconds(2), std::chrono::minutes(10)) {}
    Retry(Pause firstPause, Pause maxPause);
    Retry(const Retry &) = delete;
    Retry &operator=(const Retry &) = delete;
    ~Retry() { stop(); }

    /// Has `ask`, which should be quick and must not call this object, called after each pause.
    void whenDue(Handler<void()> ask);
    /// The work has failed. While a pause is under way, more failures change nothing.
    void noteFailure();
    void noteSuccess();
    /// Nothing is asked for any more: once it returns, `ask` is not called.
    void stop();

private:
    struct State;
    static void fire(const std::shared_ptr<State> &state);
    std::shared_ptr<State> state; // which a timer may hold longer than the object lives
};

} // namespace wickerlane::hoardd

#endif
