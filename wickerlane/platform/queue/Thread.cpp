#include "wickerlane/platform/queue/Thread.h"

#include <pthread.h>
#include <signal.h>

#include <memory>
#include <new>

#include "wickerlane/platform/process/ForkedChild.h"

namespace wickerlane {
namespace {

struct Start {
    const char *name;
    void (*run)(void *);
    void *argument;
};

void *begin(void *given) noexcept {
    const Start start = *static_cast<Start *>(given);
    delete static_cast<Start *>(given);
    pthread_setname_np(pthread_self(), start.name);
    start.run(start.argument);
    return nullptr;
}

} // namespace

bool startThread(const char *name, void (*run)(void *), void *argument) noexcept {
    refuseForkedChildren();
    std::unique_ptr<Start> start(new (std::nothrow) Start{name, run, argument});
    pthread_attr_t attributes;
    if (!start || pthread_attr_init(&attributes) != 0)
        return false;
    pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
    sigset_t blocked;
    sigfillset(&blocked);
    for (int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGABRT, SIGSYS})
        sigdelset(&blocked, fault);
    pthread_attr_setsigmask_np(&attributes, &blocked);
    pthread_t thread;
    const bool started = pthread_create(&thread, &attributes, begin, start.get()) == 0;
    pthread_attr_destroy(&attributes);
    if (started)
        static_cast<void>(start.release());
    return started;
}

} // namespace wickerlane
