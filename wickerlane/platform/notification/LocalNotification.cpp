#include "wickerlane/platform/notification/LocalNotification.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

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
    std::mutex mutex;
    std::vector<std::shared_ptr<Observer>> all;
    LocalObserverToken lastToken = 0;
};

Observers &observers() {
    static Observers &made = *new Observers;
    return made;
}

} // namespace

LocalObserverToken observeLocalNotification(std::string_view name, const Object *sender,
                                            Handler<void(const LocalNotification &)> handler) {
    if (handler == nullptr)
        return 0;
    const std::lock_guard guard(observers().mutex);
    const LocalObserverToken token = ++observers().lastToken;
    observers().all.push_back(
        std::shared_ptr<Observer>(new Observer{token, std::string(name), sender, std::move(handler)}));
    return token;
}

void removeLocalObserver(LocalObserverToken token) {
    std::shared_ptr<Observer> removed; // let go of behind the lock: what the handler holds may observe, too
    const std::lock_guard guard(observers().mutex);
    std::vector<std::shared_ptr<Observer>> &all = observers().all;
    const auto found =
        std::find_if(all.begin(), all.end(), [token](const auto &each) { return each->token == token; });
    if (found == all.end())
        return;
    removed = std::move(*found);
    all.erase(found);
    removed->removed = true;
}

void postLocalNotification(std::string_view name, Object *sender) {
    std::vector<std::shared_ptr<Observer>> concerned;
    {
        const std::lock_guard guard(observers().mutex);
        for (const auto &each : observers().all)
            if (each->name == name && (each->sender == nullptr || each->sender == sender))
                concerned.push_back(each);
    }
    for (const auto &each : concerned)
        if (!each->removed)
            each->handler({name, sender});
}

} // namespace wickerlane
