// Processes that fork while other threads of theirs use a connection.
#include <poll.h>

#include <array>
#include <thread>

#include "Service.h"
#include "tests/support/Descriptors.h"
#include "tests/support/Fork.h"

using namespace wickerlane;
using namespace wickerlane::test;

namespace {

bool isRefusal(MessageValue *value) {
    const auto *error = as<MessageError>(value);
    return error != nullptr && error->text().find("Start a new program, or use spawn") != std::string::npos;
}

// The number of the first thing that is not as it should be in a child; 0 when all is.
int firstFault(Ref<MessageConnection> inherited, const Ref<WorkQueue> &serial) {
    int step = 0;
    for (const Ref<MessageConnection> &connection : {inherited, connect()}) {
        if (++step; !isRefusal(connection->sendWithReplySync(numbered(-2).get()).get()))
            return step;
        int refusals = 0;
        for (WorkQueue *queue : {static_cast<WorkQueue *>(nullptr), WorkQueue::main(), serial.get()})
            connection->sendWithReply(numbered(-2).get(), queue,
                                      [&](MessageValue *value) { refusals += isRefusal(value) ? 1 : 100; });
        if (++step; refusals != 3)
            return step;
        connection->send(numbered(-2).get());
        bool isPassed = false;
        connection->sendBarrier([&] { isPassed = true; });
        if (++step; !isPassed)
            return step;
        connection->cancel();
    }
    inherited = nullptr;
    int ran = 0;
    for (WorkQueue *queue : {WorkQueue::global(), WorkQueue::main(), serial.get()}) {
        queue->async([&] { ++ran; });
        queue->sync([&] { ++ran; });
        queue->after(std::chrono::milliseconds(1), [&] { ran = -100; });
    }
    if (++step; ran != 6)
        return step;
    WorkQueue::runMain();
    if (++step; WorkQueue::drainMain() != 0 || WorkQueue::mainDescriptor() != -1)
        return step;
    return 0;
}

} // namespace

TEST(Fork, RefusesTheChildAndIsNotNoticedByTheParent) {
    WL_NEEDS_FORK_BESIDE_THREADS();
    const auto listener = listen(echo);
    std::atomic<int> events{0};
    const auto connection = connect([&](MessageValue *) { ++events; });
    const auto serial = WorkQueue::create("serial");
    allowLastingDescriptors(std::array{"anon_inode:[eventfd]"}); // of the main queue
    const int mainDescriptor = WorkQueue::mainDescriptor();
    std::atomic<bool> isOver{false};
    std::atomic<std::int64_t> asked{0};
    std::atomic<std::int64_t> answered{0};
    std::atomic<std::int64_t> astray{0};
    const auto take = [&](std::int64_t number, MessageValue *reply) {
        ++(numberOf(reply) == number ? answered : astray);
    };
    const auto ask = [&](std::int64_t first) {
        for (std::int64_t number = first; !isOver; number += 4) {
            asked += 2;
            take(number, connection->sendWithReplySync(numbered(number).get()).get());
            std::promise<void> came;
            connection->sendWithReply(numbered(number).get(), number % 8 < 4 ? serial.get() : nullptr,
                                      [&](MessageValue *reply) {
                                          take(number, reply);
                                          came.set_value();
                                      });
            resultOf(came);
        }
    };
    {
        std::vector<std::jthread> threads;
        for (std::int64_t first = 0; first < 4; ++first)
            threads.emplace_back(ask, first);
        for (int i = 0; i < 100; ++i)
            EXPECT_EQ(resultOfForkedChild([&] { return firstFault(connection, serial); }), 0);
        isOver = true;
    }
    EXPECT_EQ(astray, 0);
    EXPECT_EQ(answered, asked);
    EXPECT_EQ(events, 0);
    EXPECT_EQ(numberOf(connection->sendWithReplySync(numbered(7).get()).get()), 7);
    pollfd readable{mainDescriptor, POLLIN, 0};
    EXPECT_EQ(poll(&readable, 1, 0), 0);
}

TEST(Fork, ByAHandlerEndsTheChildWhenTheHandlerReturns) {
    WL_NEEDS_FORK_BESIDE_THREADS();
    const auto listener = listen(echo);
    const auto connection = connect();
    for (const Ref<WorkQueue> &queue : {Ref(WorkQueue::global()), WorkQueue::create("serial")}) {
        std::promise<pid_t> forked;
        connection->sendWithReply(numbered(1).get(), queue.get(), [&](MessageValue *) {
            const pid_t child = fork();
            if (child == 0)
                alarm(60);
            else
                forked.set_value(child);
        });
        const pid_t child = resultOf(forked);
        int status = 0;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFEXITED(status)) << status;
        EXPECT_EQ(numberOf(connection->sendWithReplySync(numbered(2).get()).get()), 2);
    }
}
