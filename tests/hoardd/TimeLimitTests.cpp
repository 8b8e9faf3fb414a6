// A daemon that is stopped costs its clients their time limit, and no more.
#include <csignal>

#include "tests/hoardd/RunningHoardd.h"
#include "tests/support/StoppedProcess.h"
#include "wickerlane/platform/message/connection/ReplyTimeLimit.h"

namespace wickerlane::test {
namespace {

using namespace std::chrono_literals;

class StoppedDaemon : public RunningHoardd {};

TEST_F(StoppedDaemon, CostsTheTimeLimitAndAnswersWhenItGoesOn) {
    constexpr std::int64_t modelVersion = 69;
    answer(request(modelVersion).get());
    const Process process = daemon();
    ASSERT_TRUE(stopProcess(process.id));
    for (int i = 0; i < 3; ++i) {
        const ReplyTimeLimit limit(20ms);
        const auto reply = ask(request(modelVersion).get());
        const auto *error = as<MessageError>(reply.get());
        EXPECT_TRUE(error != nullptr && error->errorKind() == 14);
    }
    {
        const ReplyTimeLimit limit(20ms);
        const auto fresh = connect(); // whose service has yet to greet it
        EXPECT_EQ(fresh->sendWithReplySync(request(modelVersion).get())->kind(), MessageKind::error);
    }
    ASSERT_EQ(kill(process.id, SIGCONT), 0);
    answer(request(modelVersion).get());
}

} // namespace
} // namespace wickerlane::test
