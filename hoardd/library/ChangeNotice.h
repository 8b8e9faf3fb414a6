// Telling other processes that something has changed.
#ifndef HOARDD_LIBRARY_CHANGENOTICE_H
#define HOARDD_LIBRARY_CHANGENOTICE_H

#include <chrono>
#include <memory>

#include "wickerlane/platform/object/Handler.h"

namespace wickerlane::hoardd {

/// Posts a notification: at once for the first change, and once after a rest for all that
/// follow during it. So an import of thousands wakes its watchers some ten times a second and not for each
/// photo. Thread-safe.
class ChangeNotice {
public:
    using Post = Handler<void()>;

    explicit ChangeNotice(Post post, std::chrono::nanoseconds rest = std::chrono::milliseconds(100));

    void noteChange();
    /// Posts at once what would be posted later: before the end.
    void flush();

private:
    struct State;
    static void post(const std::shared_ptr<State> &state);
    std::shared_ptr<State> state; // which a timer may hold longer than the object lives
};

} // namespace wickerlane::hoardd

#endif
