// The notification that there are more or fewer photos or videos.
#ifndef HOARDD_LIBRARY_COUNTNOTICE_H
#define HOARDD_LIBRARY_COUNTNOTICE_H

#include <chrono>
#include <memory>

#include "wickerlane/platform/object/Handler.h"

namespace wickerlane::hoardd {

/// Posts the notification of changed counts: at once for the first change, and once after a rest for all that
/// follow during it. So an import of thousands wakes its watchers some ten times a second and not for each
/// photo. Thread-safe.
class CountNotice {
public:
    using Post = Handler<void()>;

    CountNotice();
    /// With another way to post.
    CountNotice(Post post, std::chrono::nanoseconds rest);

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
