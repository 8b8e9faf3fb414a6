// Where the sockets of named services lie.
#ifndef WICKERLANE_PLATFORM_MESSAGE_SERVICE_SERVICESOCKET_H
#define WICKERLANE_PLATFORM_MESSAGE_SERVICE_SERVICESOCKET_H

#include <sys/socket.h>
#include <sys/un.h>

#include <string>
#include <string_view>

#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// Whether a text can be a service's name: a file name of at most 80 bytes that does not begin with a dot.
[[nodiscard]] bool isServiceName(std::string_view name) noexcept;

/// The socket of one service in the root's run-time folder. Only the owner may enter it and connect; on a
/// device (where the root has the file /etc/wickerlane/device) every user may, through folders above it that
/// others may enter but not list. The root may have a path of any length.
class WL_EXPORT ServiceSocket {
public:
    /// `name` must be a service's name. Makes the folder when it is missing.
    explicit ServiceSocket(std::string_view name);

    /// Where it is, whether or not any process listens.
    [[nodiscard]] std::string path() const { return folder + '/' + name; }
    /// No descriptor, and errno, when no process listens.
    [[nodiscard]] UniqueFd connect() const;
    /// Binds and listens, in place of a socket on which no process listens any more. The caller holds the
    /// lock.
    [[nodiscard]] UniqueFd listen() const;
    /// Removes the name. The caller holds the lock.
    void remove() const;
    /// Excludes other processes from starting or ending the service as long as the descriptor is open. No
    /// descriptor, and errno, on failure.
    [[nodiscard]] UniqueFd lock() const;

private:
    [[nodiscard]] sockaddr_un address() const;
    std::string name;
    std::string folder;
    int folderError = 0; ///< Why it could not be made.
    UniqueFd folderDescriptor;
};

} // namespace wickerlane

#endif
