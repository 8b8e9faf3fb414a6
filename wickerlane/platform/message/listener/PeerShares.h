// What each user and each process has of a listener.
#ifndef WICKERLANE_PLATFORM_MESSAGE_LISTENER_PEERSHARES_H
#define WICKERLANE_PLATFORM_MESSAGE_LISTENER_PEERSHARES_H

#include <sys/types.h>

#include <atomic>
#include <map>

#include "wickerlane/platform/message/listener/ProcessTurns.h"
#include "wickerlane/platform/object/Object.h"

namespace wickerlane {

/// One user's part, over all of the user's connections.
class UserShare final : public Object {
public:
    std::size_t connections = 0;                 ///< Of the intake thread.
    std::atomic<std::size_t> receivedBytes{0};   ///< Of messages that are still held or being received.
    std::atomic<std::size_t> handedBytes{0};     ///< Of messages that a handler has, a part of the former.
    std::atomic<std::size_t> largeMessages{0};   ///< Of these, how many are above the limit by themselves.
    std::atomic<std::size_t> queuedBytes{0};     ///< Of what waits to be sent.
    std::atomic<std::size_t> memoryInSockets{0}; ///< Of what was sent and may not have been read.
    std::size_t begunDescriptors = 0;            ///< Of the intake thread.
    std::atomic<bool> isHeldBack{false};         ///< A peer of the user waits until something is freed.

    [[nodiscard]] std::size_t unread() const noexcept { return queuedBytes.load() + memoryInSockets.load(); }
};

/// The part of one process, over all of its connections.
class ProcessShare final : public Object {
public:
    explicit ProcessShare(pid_t of) noexcept : process(of) {}

    const pid_t process;
    std::size_t connections = 0; ///< Of the intake thread.
    std::atomic<std::size_t> receivedBytes{0};
    std::atomic<std::size_t> handedBytes{0};
    std::atomic<std::size_t> unreadBytes{0}; ///< Of what waits to be sent, and of memory in sockets.
    std::size_t begunDescriptors = 0;        ///< Of the intake thread.
    ProcessTurns turns;                      ///< Of PeerTurns.
};

/// The shares of all users and of the processes that are connected. Of the intake thread.
class PeerShares {
public:
    [[nodiscard]] const Ref<UserShare> &of(uid_t user) { return find(users, user); }
    [[nodiscard]] const Ref<ProcessShare> &ofProcess(pid_t process) {
        return find(processes, process, process);
    }
    /// To be called when a connection has ended.
    void disconnected(UserShare &user, ProcessShare &process) {
        --user.connections;
        if (--process.connections == 0)
            processes.erase(process.process);
    }

private:
    template <class Key, class Share, class... Arguments>
    static const Ref<Share> &find(std::map<Key, Ref<Share>> &shares, Key key, Arguments... arguments) {
        Ref<Share> &share = shares[key];
        if (share == nullptr)
            share = makeRef<Share>(arguments...);
        return share;
    }

    std::map<uid_t, Ref<UserShare>> users;
    std::map<pid_t, Ref<ProcessShare>> processes;
};

} // namespace wickerlane

#endif
