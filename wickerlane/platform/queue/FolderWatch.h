// Watching folders.
#ifndef WICKERLANE_PLATFORM_QUEUE_FOLDERWATCH_H
#define WICKERLANE_PLATFORM_QUEUE_FOLDERWATCH_H

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/queue/DescriptorSource.h"

namespace wickerlane {

/// Watches folders, by one inotify descriptor that is opened with the first of them and stays. A folder that
/// is removed and made again is watched again. It lives as long as the process. Thread-safe.
class FolderWatch {
public:
    struct Report {
        int folder;            ///< As add() gave it; -1 when reports were lost, which may concern any.
        std::string_view name; ///< Of the file, while the handler runs; empty when reports were lost.
    };
    /// Gets the reports that came together, on the reader thread: it must neither block nor take long.
    using ReportsHandler = Handler<void(std::span<const Report>)>;

    explicit FolderWatch(ReportsHandler called) : handler(std::move(called)) {}

    /// Watches a folder, which is no symbolic link, for what happens to files in it: `events` as of
    /// inotify(7). Gives its number, the same again when it is watched already; -1, with errno, on failure.
    int add(const std::string &folder, std::uint32_t events);
    void remove(int folder);

private:
    /// A folder, or the nearest one above it while it is missing.
    struct Watched {
        std::string path;
        std::uint32_t events = 0;
        int descriptor = -1; ///< Of inotify.
        bool isThere = false;
    };
    struct Event {
        int descriptor = -1;
        std::uint32_t mask = 0;
        std::string_view name;
    };

    bool open() WL_REQUIRES(mutex);
    bool watch(Watched &watched) WL_REQUIRES(mutex);
    void watchAbove(Watched &watched) WL_REQUIRES(mutex);
    void stopUnlessUsed(int descriptor) WL_REQUIRES(mutex);
    void readReports();
    void take(const Event &event, std::vector<Report> &reports) WL_REQUIRES(mutex);

    const ReportsHandler handler;
    Mutex mutex;
    UniqueFd inotify;
    Ref<DescriptorSource> source;
    std::map<int, Watched> folders WL_GUARDED_BY(mutex);
    int lastNumber WL_GUARDED_BY(mutex) = 0;
};

} // namespace wickerlane

#endif
