// A daemon that does what a test says.
#ifndef WICKERLANE_TESTING_SCRIPTEDDAEMON_H
#define WICKERLANE_TESTING_SCRIPTEDDAEMON_H

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "wickerlane/testing/ScriptedReaction.h"

namespace wickerlane {

class PrivateRoot;

/// Stands in for hoardd in the test of an application, in the application's own process:
///
///     AlbumRecord dunes;
///     dunes.name = "Dunes";
///     ScriptedDaemon daemon;
///     daemon.on(protocol::allAlbums, ScriptedReaction::albums({dunes}));
///     daemon.onNth(2, protocol::allAlbums, ScriptedReaction::failure(ProblemKind::busy, "in use"));
///     ...
///     EXPECT_EQ(daemon.requests().at(0).text(), "albums");
///
/// It listens on a private root in a new folder. While it lives, WICKERLANE_ROOT names that root for this
/// process and those that it starts. It must be made before the process has asked a daemon, or after the one
/// that it has asked has ended, and while no other thread uses the environment. There is one at a time.
///
/// An operation without a script is answered with an error that names it, except for two: access is granted,
/// and a request to start the daemon finds it running. Thread-safe, but for the constructor and the
/// destructor.
class WL_EXPORT ScriptedDaemon {
public:
    /// Begins to listen. Throws std::runtime_error when it can't, when there is another one, and when this
    /// process is connected to a daemon: a test never reaches the user's own library.
    ScriptedDaemon();
    ScriptedDaemon(const ScriptedDaemon &) = delete;
    ScriptedDaemon &operator=(const ScriptedDaemon &) = delete;
    /// Ends all connections, and removes the root.
    ~ScriptedDaemon();

    /// The folder of the root.
    [[nodiscard]] const std::string &root() const noexcept;

    // What is to be done about requests of an operation from now on. An operation is named by its row, or by
    // the name of the row: "assetsMatchingQuery:". They throw std::invalid_argument for a name that no
    // operation has, and for an answer with a key that the operation's reply does not have.

    /// Each request; in place of what was said before.
    void on(std::string_view operation, ScriptedReaction reaction);
    /// The n-th request, counted from the next one, which is the first; before what is said of each.
    void onNth(std::size_t number, std::string_view operation, ScriptedReaction reaction);
    void on(const protocol::Row &operation, ScriptedReaction reaction) {
        on(std::string_view(operation.name), std::move(reaction));
    }
    void onNth(std::size_t number, const protocol::Row &operation, ScriptedReaction reaction) {
        onNth(number, std::string_view(operation.name), std::move(reaction));
    }
    /// Each request of an operation without a script. An answer must be without values.
    void onAllElse(ScriptedReaction reaction);

    /// While it is true, this program has no access to the library, whatever else was said.
    void refuseAccess(bool isRefused = true);
    /// Does what waits for it: reactions that are held.
    void release();

    /// Ends all connections, and listens no more: clients find that the daemon can't be started. A client
    /// that has found that never looks again, and a process has one client, so that a test in which it asks
    /// meanwhile needs a process of its own.
    void stop();
    /// Listens again. Throws std::runtime_error when it can't.
    void start();

    /// All that has come, in order of arrival, whatever was done about it.
    [[nodiscard]] std::vector<ScriptedRequest> requests() const;
    /// Waits until that many have come. False when they have not in that time.
    [[nodiscard]] bool waitForRequests(std::size_t count,
                                       std::chrono::nanoseconds limit = std::chrono::seconds(30)) const;
    /// Forgets what has come. Counts of onNth() go on.
    void forgetRequests();

private:
    class Core;
    const std::unique_ptr<PrivateRoot> privateRoot;
    const std::shared_ptr<Core> core;
};

} // namespace wickerlane

#endif
