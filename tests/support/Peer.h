// Another process in a test: this test program, started again to run one of its disabled tests.
#ifndef WICKERLANE_TESTS_SUPPORT_PEER_H
#define WICKERLANE_TESTS_SUPPORT_PEER_H

#include <sys/types.h>

#include <string>

namespace wickerlane::test {

/// Starts a test ("DISABLED_Suite.Name") in a process of its own, with the root of the running test. The
/// destructor waits for its end.
class Peer {
public:
    explicit Peer(const std::string &test);
    ~Peer() { wait(); }
    Peer(const Peer &) = delete;
    Peer &operator=(const Peer &) = delete;
    /// Waits for its end. True when its test passed.
    bool wait();

private:
    pid_t process = -1;
    bool passed = false;
};

} // namespace wickerlane::test

#endif
