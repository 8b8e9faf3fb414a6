// Where the sockets of named services lie.
#ifndef WICKERLANE_PLATFORM_MESSAGE_SERVICE_SERVICESOCKET_H
#define WICKERLANE_PLATFORM_MESSAGE_SERVICE_SERVICESOCKET_H

#include <sys/socket.h>
#include <sys/types.h>
#include <sys/un.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// Whether a text can be a service's name: a file name of at most 80 bytes that does not begin with a dot.
[[nodiscard]] bool isServiceName(std::string_view name) noexcept;

/// The socket of one service. Clients look for it in the root's run-time folder, where its lock is. The
/// socket of a user's own root is made in the runtime folder of the user's login (see runtimeFolder()), if
/// there is one, and a link to it is left in the root's. Only the owner may enter and connect; on a device
/// (where the root has the file /etc/wickerlane/device) every user may, through folders above it that others
/// may enter but not list. The root may have a path of any length.
class WL_EXPORT ServiceSocket {
public:
    /// `name` must be a service's name. Makes the root's folder when it is missing.
    explicit ServiceSocket(std::string_view name);

    /// Where it is, or would be made when there is none; whether or not any process listens.
    [[nodiscard]] std::string path() const;
    /// What tells the socket that is there from others, as long as either is there: none when there is none.
    [[nodiscard]] std::optional<std::pair<dev_t, ino_t>> identity() const;
    /// No descriptor, and errno, when no process listens.
    [[nodiscard]] UniqueFd connect() const;
    /// What the link in the root's folder names: the socket in a user's runtime folder. Empty when there is
    /// none.
    [[nodiscard]] std::string linked() const;
    /// Binds and listens, in place of a socket on which no process listens any more. The caller holds the
    /// lock.
    [[nodiscard]] UniqueFd listen() const;
    /// The same, in the root's folder: the one in the runtime folder was removed.
    [[nodiscard]] UniqueFd listenBelowRoot() const;
    /// Removes the name. The caller holds the lock.
    void remove() const;
    /// Excludes other processes from starting or ending the service as long as the descriptor is open. No
    /// descriptor, and errno, on failure.
    [[nodiscard]] UniqueFd lock() const;

private:
    struct Folder {
        std::string path;
        UniqueFd descriptor; ///< None when it could not be made, or there is none of its kind.
    };

    [[nodiscard]] sockaddr_un addressIn(const Folder &folder) const;
    [[nodiscard]] UniqueFd connectIn(const Folder &folder) const;
    [[nodiscard]] UniqueFd listenIn(const Folder &folder) const;
    [[nodiscard]] UniqueFd listenInSession() const;

    std::string name;
    Folder rooted;       ///< Below the root.
    Folder session;      ///< In the user's runtime folder.
    int folderError = 0; ///< Why the root's could not be made.
};

} // namespace wickerlane

#endif
