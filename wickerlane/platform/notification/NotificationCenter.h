// The registrations of this process.
#ifndef WICKERLANE_PLATFORM_NOTIFICATION_NOTIFICATIONCENTER_H
#define WICKERLANE_PLATFORM_NOTIFICATION_NOTIFICATIONCENTER_H

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>

#include "wickerlane/platform/notification/Notification.h"
#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/object/NeverDestroyed.h"
#include "wickerlane/platform/queue/FolderWatch.h"

namespace wickerlane {

/// A name is a file in a private folder of the root; to post is to open the file for writing and close it
/// again, which the kernel reports to every process that watches the folder. Neither the file's contents nor
/// its being there matter, and the kernel merges equal reports that have not been read yet. There may be
/// several folders, since a test or a person may change the root.
class NotificationCenter {
public:
    [[nodiscard]] static NotificationCenter &shared();

    [[nodiscard]] NotificationToken add(std::string name, WorkQueue *queue,
                                        Handler<void(NotificationToken)> handler);
    bool cancel(NotificationToken token);

private:
    friend class NeverDestroyed<NotificationCenter>;
    struct Registration {
        const NotificationToken token;
        const int watch;
        const std::string name;
        const Ref<WorkQueue> queue;
        Mutex mutex;
        Handler<void(NotificationToken)> handler WL_GUARDED_BY(mutex); // null once cancelled
        bool called WL_GUARDED_BY(mutex) = false;                      // a call waits on the queue
        Registration(NotificationToken number, int watched, std::string named, WorkQueue *serving,
                     Handler<void(NotificationToken)> calling)
            : token(number), watch(watched), name(std::move(named)), queue(serving),
              handler(std::move(calling)) {}
    };

    NotificationCenter() = default;
    void deliver(int watch, std::string_view name);
    static void call(const std::shared_ptr<Registration> &registration);

    Mutex mutex; // comes before a registration's own
    FolderWatch folders{[this](std::span<const FolderWatch::Report> reports) {
        for (const auto &[watch, name] : reports)
            deliver(watch, name);
    }};
    std::unordered_map<NotificationToken, std::shared_ptr<Registration>> registrations WL_GUARDED_BY(mutex);
    NotificationToken lastToken WL_GUARDED_BY(mutex) = 0;
};

} // namespace wickerlane

#endif
