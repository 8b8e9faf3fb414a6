#include "wickerlane/platform/process/ForkedChild.h"

#include <pthread.h>

namespace wickerlane {
namespace {

constinit std::atomic<bool> areChildrenRefused{false};

void inChild() {
    detail::forkGeneration.fetch_add(1, std::memory_order_relaxed);
    if (areChildrenRefused.load(std::memory_order_relaxed))
        detail::isForkedChild.store(true, std::memory_order_relaxed);
}

} // namespace

constinit std::atomic<std::uint32_t> detail::forkGeneration{0};
constinit std::atomic<bool> detail::isForkedChild{false};

void watchForks() noexcept {
    static const int registered = pthread_atfork(nullptr, nullptr, inChild);
    static_cast<void>(registered);
}

void refuseForkedChildren() noexcept {
    watchForks();
    areChildrenRefused.store(true, std::memory_order_relaxed);
}

} // namespace wickerlane
