// Files that are synced some time after they were written, many at once.
#ifndef HOARDD_LIBRARY_LATESYNC_H
#define HOARDD_LIBRARY_LATESYNC_H

#include <cstdint>
#include <memory>

#include "wickerlane/model/Result.h"
#include "wickerlane/platform/object/Handler.h"

namespace wickerlane::hoardd {

/// Counts the rounds in which files are synced, and starts them. What is in its place when its round is asked
/// for is synced with that round. Thread-safe.
class LateSync {
public:
    LateSync();
    LateSync(const LateSync &) = delete;
    LateSync &operator=(const LateSync &) = delete;
    ~LateSync() { stop(); }

    /// Has `sync` called some time after each note(), on the global queue, and by syncNow(): never twice at a
    /// time. It syncs what belongs to a round or to those before it, may block, and must not call this object
    /// but for round(). What goes wrong on the queue is logged.
    void whenDue(Handler<Result<>(std::int64_t round)> sync);

    /// The round of what is in its place by now; they begin with 1.
    [[nodiscard]] std::int64_t round() const noexcept;
    /// Something belongs to the round.
    void note();
    /// Ends the round, and syncs at once, on this thread. Blocks. Nothing without a handler.
    [[nodiscard]] Result<> syncNow();
    /// Nothing is synced any more: once it returns, `sync` is not called.
    void stop();

private:
    struct State;
    std::shared_ptr<State> state; // which a timer may hold longer than the object lives
};

} // namespace wickerlane::hoardd

#endif
