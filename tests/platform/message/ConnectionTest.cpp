#include "Service.h"

#include <thread>

using namespace wickerlane;
using namespace wickerlane::test;

TEST(Connection, sendsAndReceivesInEveryMode) {
    std::promise<std::int64_t> sent;
    const auto listener = listen([&](ReceivedMessage *received) {
        if (received->wantsReply())
            echo(received);
        else
            sent.set_value(numberOf(received->message()));
    });
    const auto connection = connect();
    const auto reply = connection->sendWithReplySync(numbered(7).get());
    EXPECT_EQ(numberOf(reply.get()), 7);
    connection->send(numbered(8).get());
    EXPECT_EQ(sent.get_future().get(), 8);
    std::promise<std::int64_t> replied;
    connection->sendWithReply(numbered(9).get(), nullptr,
                              [&](MessageValue *value) { replied.set_value(numberOf(value)); });
    EXPECT_EQ(replied.get_future().get(), 9);
}
