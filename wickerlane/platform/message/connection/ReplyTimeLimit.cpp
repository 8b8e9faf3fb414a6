#include "wickerlane/platform/message/connection/ReplyTimeLimit.h"

namespace wickerlane {
namespace {
thread_local constinit std::optional<std::chrono::nanoseconds> limitOfThread;
} // namespace

ReplyTimeLimit::ReplyTimeLimit(std::chrono::nanoseconds limit) noexcept : outer(limitOfThread) {
    limitOfThread = limit;
}

ReplyTimeLimit::~ReplyTimeLimit() {
    limitOfThread = outer;
}

std::optional<std::chrono::nanoseconds> ReplyTimeLimit::ofThread() noexcept {
    return limitOfThread;
}

void ReplyTimeLimit::setOfThread(std::optional<std::chrono::nanoseconds> limit) noexcept {
    limitOfThread = limit;
}

} // namespace wickerlane
