// A client whose process can have no more threads. Sanitizers start threads in their own way.
#include "wickerlane/platform/process/Sanitizers.h"

#if !WL_ANY_SANITIZER
#include <dlfcn.h>
#include <pthread.h>

#include <cerrno>

#include "Service.h"
#include "tests/support/Peer.h"

using namespace wickerlane;
using namespace wickerlane::test;

namespace {

std::atomic<bool> isShortOfThreads{false};

} // namespace

// In place of the system's, for the library too.
extern "C" int pthread_create(pthread_t *thread, const pthread_attr_t *attributes, void *(*run)(void *),
                              void *argument) noexcept {
    static const auto real = reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    return isShortOfThreads ? EAGAIN : real(thread, attributes, run, argument);
}

TEST(ThreadShortage, FailsRequestsAndEndsNoProcess) {
    const auto listener = listen(echo);
    EXPECT_TRUE(Peer("DISABLED_ThreadShortage.Client").wait());
}

// In a process that has no threads yet.
TEST(DISABLED_ThreadShortage, Client) {
    isShortOfThreads = true;
    const auto connection = connect();
    const auto reply = connection->sendWithReplySync(numbered(1).get());
    ASSERT_EQ(reply->kind(), MessageKind::error);
    EXPECT_EQ(as<MessageError>(reply.get())->text(), "The process can have no more threads.");
    std::promise<MessageKind> replyKind;
    connection->sendWithReply(numbered(2).get(), nullptr,
                              [&](MessageValue *value) { replyKind.set_value(value->kind()); });
    EXPECT_EQ(resultOf(replyKind), MessageKind::error);
    connection->send(numbered(3).get());
    std::promise<void> passed;
    connection->sendBarrier([&] { passed.set_value(); });
    resultOf(passed);

    isShortOfThreads = false;
    EXPECT_EQ(numberOf(connection->sendWithReplySync(numbered(4).get()).get()), 4);
    std::promise<std::int64_t> number;
    connection->sendWithReply(numbered(5).get(), nullptr,
                              [&](MessageValue *value) { number.set_value(numberOf(value)); });
    EXPECT_EQ(resultOf(number), 5);
}
#endif
