#include "wickerlane/platform/notification/LocalNotification.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/object/NeverDestroyed.h"

namespace wickerlane {
namespace {

struct Observer {
    const LocalObserverToken token;
    const std::string name;
    const Object *const sender;
    const Handler<void(const LocalNotification &)> handler;
    std::atomic<bool> removed{false};
};

struct Observers {
    Mutex mutex;
    std::vector<std::shared_ptr<Observer>> all WL_GUARDED_BY(mutex);
    LocalObserverToken lastToken WL_GUARDED_BY(mutex) = 0;
};

Observers &observers() {
    static NeverDestroyed<Observers> made;
    return *made;
}

} // namespace

LocalObserverToken observeLocalNotification(std::string_view name, const Object *sender,
                                            Handler<void(const LocalNotification &)> handler) {
    if (handler == nullptr)
        return 0;
    Observers &shared = observers();
    const MutexLock lock(shared.mutex);
    const LocalObserverToken token = ++shared.lastToken;
    shared.all.push_back(
        std::shared_ptr<Observer>(new Observer{token, std::string(name), sender, std::move(handler)}));
    return token;
}

void removeLocalObserver(LocalObserverToken token) {
    std::shared_ptr<Observer> removed; // destroyed after the lock: what its handler holds may observe, too
    Observers &shared = observers();
    const MutexLock lock(shared.mutex);
    const auto found = std::ranges::find(shared.all, token, &Observer::token);
    if (found == shared.all.end())
        return;
    removed = std::move(*found);
    shared.all.erase(found);
    removed->removed = true;
}

void postLocalNotification(std::string_view name, Object *sender) {
    Observers &shared = observers();
    std::vector<std::shared_ptr<Observer>> concerned;
    {
        const MutexLock lock(shared.mutex);
        for (const auto &each : shared.all)
            if (each->name == name && (each->sender == nullptr || each->sender == sender))
                concerned.push_back(each);
    }
    for (const auto &each : concerned)
        if (!each->removed)
            each->handler({name, sender});
}

} // namespace wickerlane
