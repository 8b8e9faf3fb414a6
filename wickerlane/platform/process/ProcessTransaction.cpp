#include "wickerlane/platform/process/ProcessTransaction.h"

#include <atomic>

namespace wickerlane {
namespace {
constinit std::atomic<std::size_t> openTransactions{0};
}

void beginProcessTransaction() noexcept {
    openTransactions.fetch_add(1, std::memory_order_relaxed);
}

void endProcessTransaction() noexcept {
    openTransactions.fetch_sub(1, std::memory_order_relaxed);
}

std::size_t processTransactionCount() noexcept {
    return openTransactions.load(std::memory_order_relaxed);
}

} // namespace wickerlane
