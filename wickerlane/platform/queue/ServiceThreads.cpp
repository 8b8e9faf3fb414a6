#include "wickerlane/platform/queue/ServiceThreads.h"

#include "wickerlane/platform/queue/DescriptorReader.h"
#include "wickerlane/platform/queue/ThreadPool.h"
#include "wickerlane/platform/queue/Timer.h"

namespace wickerlane {

bool startServiceThreads() noexcept {
    return startWorker() && Timer::shared().start() && DescriptorReader::shared().start();
}

bool startWorker() noexcept {
    return ThreadPool::shared().startWorker();
}

} // namespace wickerlane
