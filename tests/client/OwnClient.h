// A client of a test's own, gone when the test is.
#ifndef WICKERLANE_TESTS_CLIENT_OWNCLIENT_H
#define WICKERLANE_TESTS_CLIENT_OWNCLIENT_H

#include "wickerlane/client/JXGatekeeperClient.h"

namespace wickerlane::test {

/// The connection that a client makes is its caller's to let go of: a process's one client never does.
class OwnClient {
public:
    OwnClient() = default;
    OwnClient(const OwnClient &) = delete;
    OwnClient &operator=(const OwnClient &) = delete;
    ~OwnClient() { connection->cancel(); }
    JXGatekeeperClient *operator->() const noexcept { return client.get(); }
    [[nodiscard]] JXGatekeeperClient *get() const noexcept { return client.get(); }

private:
    Ref<JXGatekeeperClient> client = JXGatekeeperClient::init();
    Ref<MessageConnection> connection = Ref<MessageConnection>::adopt(client->connection());
};

} // namespace wickerlane::test

#endif
