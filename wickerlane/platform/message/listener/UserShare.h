// What each user has of a listener.
#ifndef WICKERLANE_PLATFORM_MESSAGE_LISTENER_USERSHARE_H
#define WICKERLANE_PLATFORM_MESSAGE_LISTENER_USERSHARE_H

#include <sys/types.h>

#include <atomic>
#include <map>

#include "wickerlane/platform/object/Object.h"

namespace wickerlane {

/// One user's part, over all of the user's connections.
class UserShare final : public Object {
public:
    std::size_t connections = 0;               ///< Of the intake thread.
    std::atomic<std::size_t> receivedBytes{0}; ///< Of messages that are still held or being received.
    std::atomic<std::size_t> queuedBytes{0};   ///< Of what waits to be sent.
    std::atomic<bool> isHeldBack{false};       ///< A peer of the user is not read until something is freed.

    /// Reserves bytes for a message, unless the user has some already and would exceed the limit. Of the
    /// intake thread.
    [[nodiscard]] bool reserve(std::size_t bytes, std::size_t limit) noexcept {
        const std::size_t held = receivedBytes.load();
        if (held != 0 && held + bytes > limit)
            return false;
        receivedBytes.fetch_add(bytes);
        return true;
    }
};

/// The shares of all users. Of the intake thread.
class UserShares {
public:
    [[nodiscard]] const Ref<UserShare> &of(uid_t user) {
        Ref<UserShare> &share = shares[user];
        if (share == nullptr)
            share = makeRef<UserShare>();
        return share;
    }

private:
    std::map<uid_t, Ref<UserShare>> shares;
};

} // namespace wickerlane

#endif
