// Waiting for changes of the library.
#ifndef CLI_VIEW_POLLS_H
#define CLI_VIEW_POLLS_H

#include <httplib.h>

#include <chrono>
#include <list>
#include <string>

#include "wickerlane/model/Result.h"
#include "wickerlane/platform/message/connection/Cancellation.h"
#include "wickerlane/platform/object/Mutex.h"

namespace wickerlane::cli::view {

/// The requests that wait. Few may at a time, so that connections are left for pictures: a further one ends
/// the oldest, whose page may be closed. Thread-safe.
class Polls {
public:
    /// Answers /api/changes with JSON. Blocks until something has changed, or for some seconds.
    [[nodiscard]] Result<std::string> wait(const httplib::Request &request);
    /// Ends those that wait, and all that come.
    void end();

private:
    struct Poll {
        Ref<Cancellation> cancellation;
        std::chrono::steady_clock::time_point begin;
    };
    /// Null when there is no room.
    [[nodiscard]] Ref<Cancellation> enter();
    void leave(const Cancellation *cancellation);

    Mutex mutex;
    std::list<Poll> polls WL_GUARDED_BY(mutex); // the oldest first
    bool hasEnded WL_GUARDED_BY(mutex) = false;
};

} // namespace wickerlane::cli::view

#endif
