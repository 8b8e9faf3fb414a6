// That a process has one daemon.
#ifndef WICKERLANE_TESTING_SOLEDAEMON_H
#define WICKERLANE_TESTING_SOLEDAEMON_H

namespace wickerlane {

/// Keeps a test from a library that is not its own. A client that has a connection keeps it, so that its
/// requests would go on reaching the daemon from before.
class SoleDaemon {
public:
    /// Throws std::runtime_error when there is another one, or this process has a connection to a daemon.
    SoleDaemon();
    SoleDaemon(const SoleDaemon &) = delete;
    SoleDaemon &operator=(const SoleDaemon &) = delete;
    ~SoleDaemon();
};

} // namespace wickerlane

#endif
