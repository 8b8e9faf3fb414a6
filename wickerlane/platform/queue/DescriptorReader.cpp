#include "wickerlane/platform/queue/DescriptorReader.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cerrno>

#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/queue/AfterFork.h"
#include "wickerlane/platform/queue/Thread.h"

namespace wickerlane {

constinit const Class DescriptorSource::classInfo{"DescriptorSource", &Object::classInfo, nullptr};
WL_BUILT_IN_CLASS(DescriptorSource);

Ref<DescriptorSource> DescriptorSource::create(int descriptor, Handler<void(std::uint32_t)> handler) {
    if (!DescriptorReader::shared().start())
        return nullptr;
    auto made = Ref<DescriptorSource>::adopt(new DescriptorSource(descriptor, std::move(handler)));
    DescriptorReader::shared().add(*made);
    return made;
}

void DescriptorSource::arm(std::uint32_t events) {
    DescriptorReader::shared().arm(*this, events);
}

void DescriptorSource::cancel() {
    DescriptorReader::shared().cancel(*this);
}

namespace {

constexpr std::uint64_t ownNumber = 0;

} // namespace

DescriptorReader &DescriptorReader::shared() {
    static NeverDestroyed<DescriptorReader> reader;
    return *reader;
}

bool DescriptorReader::start() noexcept {
    if (isForkedChild()) {
        errno = ENOTSUP;
        return false;
    }
    const AdaptiveMutexLock lock(mutex);
    if (hasThread)
        return true;
    if (poller < 0)
        poller = epoll_create1(EPOLL_CLOEXEC);
    if (poller >= 0 && event < 0) {
        event = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
        epoll_event own{};
        own.events = EPOLLIN;
        own.data.u64 = ownNumber;
        if (event >= 0)
            epoll_ctl(poller, EPOLL_CTL_ADD, event, &own);
    }
    if (event < 0)
        return false;
    hasThread = startThread(
        "wl-reader", [](void *reader) { static_cast<DescriptorReader *>(reader)->run(); }, this);
    if (!hasThread)
        errno = EAGAIN;
    return hasThread;
}

bool DescriptorReader::isThisThread() const noexcept {
    return thread.load(std::memory_order_relaxed) == gettid();
}

void DescriptorReader::add(DescriptorSource &source) {
    const AdaptiveMutexLock lock(mutex);
    source.number = ++lastNumber;
    sources.emplace(source.number, &source);
}

void DescriptorReader::arm(DescriptorSource &source, std::uint32_t events) {
    if (isForkedChild())
        return; // the poller is the parent's too
    const MutexLock sourceLock(source.mutex);
    if (source.cancelled)
        return;
    epoll_event wanted{};
    wanted.events = events | EPOLLONESHOT;
    wanted.data.u64 = source.number;
    if (epoll_ctl(poller, source.added ? EPOLL_CTL_MOD : EPOLL_CTL_ADD, source.descriptor, &wanted) == 0) {
        source.added = true;
        return;
    }
    const AdaptiveMutexLock lock(mutex);
    refused.push_back(source.number);
    eventfd_write(event, 1);
}

void DescriptorReader::cancel(DescriptorSource &source) {
    if (isForkedChild())
        return;
    Ref<DescriptorSource> kept;
    Handler<void(std::uint32_t)> dropped;
    const MutexLock sourceLock(source.mutex);
    if (!source.cancelled) {
        source.cancelled = true;
        if (source.added)
            epoll_ctl(poller, EPOLL_CTL_DEL, source.descriptor, nullptr);
        const AdaptiveMutexLock lock(mutex);
        if (const auto found = sources.find(source.number); found != sources.end()) {
            kept = std::move(found->second);
            sources.erase(found);
        }
    }
    if (!source.handling) {
        dropped = std::move(source.handler);
        return;
    }
    while (source.handling && !isThisThread())
        source.handled.wait(source.mutex);
}

Ref<DescriptorSource> DescriptorReader::sourceNumbered(std::uint64_t number) {
    const AdaptiveMutexLock lock(mutex);
    const auto found = sources.find(number);
    return found == sources.end() ? nullptr : found->second;
}

void DescriptorReader::handle(std::uint64_t number, std::uint32_t events) {
    const Ref<DescriptorSource> kept = sourceNumbered(number);
    if (!kept)
        return;
    DescriptorSource &source = *kept;
    const ReleaseScope scope;
    MutexLock sourceLock(source.mutex);
    if (source.cancelled || !source.handler)
        return;
    source.handling = true;
    Handler<void(std::uint32_t)> handler = std::move(source.handler);
    sourceLock.unlock();
    handler(events);
    sourceLock.lock();
    if (source.cancelled) {
        // Destroyed before cancel() returns, since what the handler holds may be what the canceller is about
        // to end.
        sourceLock.unlock();
        handler = nullptr;
        sourceLock.lock();
    } else {
        source.handler = std::move(handler);
    }
    source.handling = false;
    source.handled.notifyAll();
}

void DescriptorReader::handleRefused() {
    eventfd_t ignored = 0;
    eventfd_read(event, &ignored);
    std::vector<std::uint64_t> numbers;
    {
        const AdaptiveMutexLock lock(mutex);
        std::swap(numbers, refused);
    }
    for (const std::uint64_t number : numbers)
        handle(number, EPOLLERR);
}

void DescriptorReader::run() noexcept {
    thread.store(gettid(), std::memory_order_relaxed);
    std::array<epoll_event, 64> events;
    for (;;) {
        const int count = epoll_wait(poller, events.data(), static_cast<int>(events.size()), -1);
        for (int i = 0; i < count; ++i) {
            const epoll_event &each = events[static_cast<std::size_t>(i)];
            if (each.data.u64 == ownNumber)
                handleRefused();
            else
                handle(each.data.u64, each.events);
        }
    }
}

} // namespace wickerlane
