// What hoardd says of how far it is with long work.
#include <csignal>
#include <future>

#include "tests/hoardd/RunningHoardd.h"
#include "tests/support/WaitUntil.h"

namespace wickerlane::test {
namespace {

using WorkProgress = RunningHoardd;
using Counts = std::pair<std::uint64_t, std::uint64_t>;

Counts countsIn(const MessageDictionary *reply) {
    return {reply->getUInt64("done"), reply->getUInt64("total")};
}

TEST_F(WorkProgress, IsOfTheConnectionAndEndsWithTheWork) {
    ReleaseScope scope;
    constexpr unsigned pictures = 3;
    for (unsigned i = 0; i < pictures; ++i)
        saveData(jpegOf(scene(90, 60, i)));
    const auto counts = [&] { return countsIn(answer(request(1047).get()).get()); };
    EXPECT_EQ(counts(), Counts(0, 0)) << "nothing is under way";

    const auto workers = mediaWorkersOf(daemon().id);
    for (const pid_t each : workers)
        kill(each, SIGSTOP); // keeps the first picture
    std::promise<void> rebuilt;
    connection->sendWithReply(request(73).get(), WorkQueue::global(),
                              [&](MessageValue *) { rebuilt.set_value(); });
    EXPECT_TRUE(waitUntil([&] { return counts() == Counts(0, pictures); }));
    const auto elsewhere = connect()->sendWithReplySync(request(1047).get());
    EXPECT_EQ(countsIn(as<MessageDictionary>(elsewhere.get())), Counts(0, 0));
    for (const pid_t each : workers)
        kill(each, SIGCONT);
    rebuilt.get_future().wait();
    EXPECT_TRUE(waitUntil([&] { return counts() == Counts(0, 0); })) << "it has ended";
}

} // namespace
} // namespace wickerlane::test
