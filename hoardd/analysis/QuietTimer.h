// Waiting until nothing more happens.
#ifndef HOARDD_ANALYSIS_QUIETTIMER_H
#define HOARDD_ANALYSIS_QUIETTIMER_H

#include <chrono>
#include <memory>

#include "wickerlane/platform/object/Handler.h"

namespace wickerlane::hoardd {

/// Calls a handler, on the global queue, once nothing has been noted for a time. Thread-safe.
class QuietTimer {
public:
    explicit QuietTimer(Handler<void()> whenQuiet);

    /// The handler is called after this time, or after a longer one that was asked for before and has not
    /// passed.
    void startAfter(std::chrono::nanoseconds delay);

private:
    struct State;
    static void wait(const std::shared_ptr<State> &state);
    std::shared_ptr<State> state; // which a timer may hold longer than the object lives
};

} // namespace wickerlane::hoardd

#endif
