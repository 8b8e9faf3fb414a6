// Requests that wait until the assets change.
#ifndef HOARDD_LIBRARY_WAITINGCALLS_H
#define HOARDD_LIBRARY_WAITINGCALLS_H

#include <chrono>
#include <memory>
#include <optional>

#include "hoardd/service/Call.h"

namespace wickerlane::hoardd {

/// Keeps requests that have no answer yet, and looks again after a commit: at once after the first, and
/// every tenth of a second while there are many. No thread waits. A request whose client has gone or
/// has cancelled it is forgotten. Thread-safe.
class WaitingCalls {
public:
    /// The answer to a call as things are; nothing when there is none yet. Called on any thread, and may be
    /// called on several at a time.
    using Look = Handler<Result<std::optional<Answer>>()>;

    /// A further call of the process ends its oldest one as if its time were over. It is `busy` if that has
    /// not waited for `shortest` yet, or if the limits below are reached.
    static constexpr std::size_t maxOfProcess = 16;
    static constexpr std::size_t maxOfUser = 256;
    static constexpr std::size_t maxOfAll = 1'024;
    static constexpr std::chrono::seconds shortest{1};

    WaitingCalls();
    ~WaitingCalls() { end(); }

    /// The answer to a call. Nothing when there is none yet: the call is kept until there is one, or for that
    /// time, rounded up to seconds; `late` is then the answer.
    [[nodiscard]] Result<std::optional<Answer>> answerOrKeep(const Call &call, std::chrono::seconds time,
                                                             Look look, const Answer &late);
    /// A commit may have brought answers. Quick.
    void noteChange();
    /// How many calls wait.
    [[nodiscard]] std::size_t count() const;
    /// Refuses what waits, and all that comes, since the process is ending.
    void end();

private:
    struct State;
    std::shared_ptr<State> state; // which timers and the peers of calls may hold longer than the object lives
};

} // namespace wickerlane::hoardd

#endif
