// Watching folders.
#ifndef WICKERLANE_PLATFORM_QUEUE_FOLDERWATCH_H
#define WICKERLANE_PLATFORM_QUEUE_FOLDERWATCH_H

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/queue/DescriptorSource.h"

namespace wickerlane {

/// Watches folders, by one inotify descriptor that is opened with the first of them and stays. It lives as
/// long as the process. Thread-safe.
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
    void readReports();

    const ReportsHandler handler;
    Mutex mutex; // of opening
    UniqueFd inotify;
    Ref<DescriptorSource> source;
};

} // namespace wickerlane

#endif
