#include "wickerlane/platform/preferences/PreferenceWatch.h"

#include <sys/epoll.h>
#include <sys/inotify.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <set>
#include <string>

#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/notification/LocalNotification.h"
#include "wickerlane/platform/object/String.h"
#include "wickerlane/platform/preferences/Preferences.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane {
namespace {

constexpr std::string_view fileSuffix = ".plist";

// On a queue: observers may take their time.
void post(std::set<std::string> domains) {
    WorkQueue::global()->async([domains = std::move(domains)] {
        for (const std::string &domain : domains)
            if (const Ref<String> name = String::create(domain))
                postLocalNotification(preferencesDidChangeNotification, name.get());
    });
}

} // namespace

PreferenceWatch &PreferenceWatch::shared() {
    static PreferenceWatch &watch = *new PreferenceWatch;
    return watch;
}

bool PreferenceWatch::start() {
    const std::string folder = pathUnderRoot("/var/mobile/Library/Preferences");
    if (!makeFolders(folder))
        return false;
    const std::lock_guard guard(mutex);
    if (!inotify) {
        inotify.reset(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
        if (!inotify)
            return false;
        source = DescriptorSource::create(inotify.get(), [this](std::uint32_t) { readReports(); });
        source->arm(EPOLLIN);
    }
    // For a folder that is watched already, this changes nothing.
    return inotify_add_watch(inotify.get(), folder.c_str(),
                             IN_CLOSE_WRITE | IN_MOVE | IN_DELETE | IN_ONLYDIR | IN_DONT_FOLLOW) >= 0;
}

// On the reader thread.
void PreferenceWatch::readReports() {
    alignas(inotify_event) std::array<char, 8192> buffer;
    std::set<std::string> domains;
    for (;;) {
        const ssize_t length = read(inotify.get(), buffer.data(), buffer.size());
        if (length < 0 && errno == EINTR)
            continue;
        if (length <= 0)
            break;
        for (std::size_t at = 0; at < static_cast<std::size_t>(length);) {
            inotify_event report;
            std::memcpy(&report, buffer.data() + at, sizeof report);
            const std::string_view name =
                report.len > 0 ? std::string_view(buffer.data() + at + sizeof report) : std::string_view();
            if (name.ends_with(fileSuffix))
                domains.emplace(name.substr(0, name.size() - fileSuffix.size()));
            else if ((report.mask & IN_Q_OVERFLOW) != 0) // whatever was lost may concern everybody
                domains.emplace(globalPreferencesDomain);
            at += sizeof report + report.len;
        }
    }
    if (!domains.empty())
        post(std::move(domains));
    source->arm(EPOLLIN);
}

} // namespace wickerlane
