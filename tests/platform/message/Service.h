// A service inside the test's own process, and a client of it.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <stdexcept>

#include "wickerlane/platform/message/connection/MessageConnection.h"
#include "wickerlane/platform/message/listener/MessageListener.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane::test {

constexpr const char *serviceName = "org.wickerlane.test.Service";
constexpr std::chrono::seconds longTime{60}; // what takes that long hangs

inline Ref<MessageListener> listen(Handler<void(ReceivedMessage *)> handler, WorkQueue *queue = nullptr,
                                   MessageListener::Options options = {}, const char *name = serviceName) {
    std::string error;
    auto listener = MessageListener::create(name, queue, std::move(handler), std::move(options), &error);
    EXPECT_NE(listener, nullptr) << error;
    if (listener != nullptr)
        listener->resume();
    return listener;
}

inline Ref<MessageConnection> connect(Handler<void(MessageValue *)> events = {},
                                      const char *name = serviceName) {
    auto connection = MessageConnection::create(name, nullptr);
    connection->setEventHandler(std::move(events));
    connection->resume();
    return connection;
}

// What a promise is given; throws when that takes too long.
template <class T>
T resultOf(std::promise<T> &promise) {
    std::future<T> future = promise.get_future();
    if (future.wait_for(longTime) != std::future_status::ready)
        throw std::runtime_error("nothing came");
    return future.get();
}

// Answers each request with its own contents.
inline constexpr auto echo = [](ReceivedMessage *received) { received->reply(received->message()); };

inline Ref<MessageDictionary> numbered(std::int64_t number) {
    auto message = MessageDictionary::create();
    message->setInt64("number", number);
    return message;
}

inline std::int64_t numberOf(MessageValue *value) {
    const auto *dictionary = as<MessageDictionary>(value);
    return dictionary == nullptr ? -1 : dictionary->getInt64("number");
}

} // namespace wickerlane::test
