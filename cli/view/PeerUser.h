// Whose the other end of a local connection is.
#ifndef CLI_VIEW_PEERUSER_H
#define CLI_VIEW_PEERUSER_H

namespace wickerlane::cli::view {

/// Whether a socket's peer on this machine is one of this process's user or of root. True when the kernel
/// can't say, since cookies protect the server as well.
bool isOfThisUser(int socket);

} // namespace wickerlane::cli::view

#endif
