// Why a thread's last request failed.
#ifndef WICKERLANE_CLIENT_LASTERROR_H
#define WICKERLANE_CLIENT_LASTERROR_H

#include <optional>

#include "wickerlane/model/Problem.h"
#include "wickerlane/platform/message/value/MessageValue.h"
#include "wickerlane/platform/object/Error.h"

namespace wickerlane::client {

/// Of a reply that is no error, and lacks what it should have.
inline constexpr const char *noAnswer = "hoardd's answer can't be read: is it another version?";

/// Makes the reply's error the last one of this thread; a reply that is no error clears it.
WL_EXPORT void noteOutcome(const MessageValue *reply);
/// Makes a problem the last error of this thread.
void noteProblem(const Problem &problem);

/// Why hoardd says no in a reply: an error, or a dictionary with a reason. Nothing when there is none in it.
[[nodiscard]] std::optional<Problem> problemIn(const MessageValue *reply);

/// The errors that these functions make the last one, borrowed; null for a reply that is no error.
[[nodiscard]] Error *errorIn(const MessageValue *reply);
[[nodiscard]] Error *errorOf(const Problem &problem);

/// While it lives, this thread handles a reply. The original handlers get less than the reply says: those who
/// want to know more ask here, in the handler.
class WL_EXPORT HandledReply {
public:
    explicit HandledReply(const MessageValue *reply) noexcept;
    ~HandledReply();
    HandledReply(const HandledReply &) = delete;
    HandledReply &operator=(const HandledReply &) = delete;

    /// Of the reply that this thread handles; nothing when it handles none.
    [[nodiscard]] static std::optional<Problem> problem();

private:
    const MessageValue *const outer;
};

/// The last error of this thread, borrowed; null when its last request was answered.
[[nodiscard]] Error *lastErrorOfThread();

} // namespace wickerlane::client

#endif
