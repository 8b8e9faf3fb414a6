#include "wickerlane/api/WLQueue.h"

#include "wickerlane/api/HandlerInternal.h"
#include "wickerlane/util/dispatch/JXDispatch.h"

using namespace wickerlane;

WLQueue *WLQueueGlobal() {
    return WorkQueue::global();
}

WLQueue *WLQueueMain() {
    return WorkQueue::main();
}

WLQueue *WLQueueCreate(const char *label) {
    return WorkQueue::create(label).leak();
}

void WLQueueAsync(WLQueue *queue, void (*work)(void *), void *context, WLReleaseContext release) {
    JXDispatch_async(queue, handlerOf(work, context, release));
}

void WLQueueSync(WLQueue *queue, void (*work)(void *), void *context, WLReleaseContext release) {
    JXDispatch_sync(queue, handlerOf(work, context, release));
}

void WLMainAfter(double seconds, void (*work)(void *), void *context, WLReleaseContext release) {
    JXDispatchOnMainAfter(handlerOf(work, context, release), seconds);
}

void WLMainRun() {
    WorkQueue::runMain();
}

void WLMainStop() {
    WorkQueue::stopMain();
}

size_t WLMainDrain() {
    return WorkQueue::drainMain();
}

int WLMainDescriptor() {
    return WorkQueue::mainDescriptor();
}
