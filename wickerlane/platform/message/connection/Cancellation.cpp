#include "wickerlane/platform/message/connection/Cancellation.h"

#include <algorithm>

#include "wickerlane/platform/message/connection/ConnectionCore.h"
#include "wickerlane/platform/process/ForkedChild.h"

namespace wickerlane {

constinit const Class Cancellation::classInfo{"Cancellation", &Object::classInfo, nullptr};
WL_BUILT_IN_CLASS(Cancellation);

namespace {
thread_local constinit Cancellation *cancellationOfThread = nullptr;
} // namespace

Cancellation::Cancellation() = default;
Cancellation::~Cancellation() = default;

Ref<Cancellation> Cancellation::create() {
    return Ref<Cancellation>::adopt(new Cancellation());
}

void Cancellation::cancel() {
    if (isForkedChild()) { // the mutex may be held by a thread that is not here
        cancelled = true;
        return;
    }
    std::vector<Ref<ConnectionCore>> reached;
    {
        const MutexLock lock(mutex);
        cancelled = true;
        reached.swap(connections);
    }
    for (const auto &connection : reached)
        connection->cancelRequests(*this);
}

bool Cancellation::reach(ConnectionCore *connection) {
    const MutexLock lock(mutex);
    if (cancelled)
        return false;
    if (std::ranges::find(connections, connection, &Ref<ConnectionCore>::get) == connections.end())
        connections.emplace_back(connection);
    return true;
}

CancellationScope::CancellationScope(Cancellation *cancellation) noexcept
    : kept(cancellation), outer(cancellationOfThread) {
    cancellationOfThread = cancellation;
}

CancellationScope::~CancellationScope() {
    cancellationOfThread = outer;
}

Cancellation *CancellationScope::ofThread() noexcept {
    return cancellationOfThread;
}

void CancellationScope::setOfThread(Cancellation *cancellation) noexcept {
    cancellationOfThread = cancellation;
}

} // namespace wickerlane
