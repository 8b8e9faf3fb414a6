#include "wickerlane/platform/preferences/PreferenceWatch.h"

#include <sys/inotify.h>

#include <set>
#include <string>

#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/notification/LocalNotification.h"
#include "wickerlane/platform/object/NeverDestroyed.h"
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
    static NeverDestroyed<PreferenceWatch> watch;
    return *watch;
}

bool PreferenceWatch::start() {
    const std::string folder = pathUnderRoot("/var/mobile/Library/Preferences");
    if (!makeFolders(folder))
        return false;
    return folders.add(folder, IN_CLOSE_WRITE | IN_MOVE | IN_DELETE) >= 0;
}

void PreferenceWatch::handleReports(std::span<const FolderWatch::Report> reports) {
    std::set<std::string> domains;
    for (const auto &[number, name] : reports)
        if (name.ends_with(fileSuffix))
            domains.emplace(name.substr(0, name.size() - fileSuffix.size()));
        else if (number < 0) // reports were lost, which may concern any domain
            domains.emplace(globalPreferencesDomain);
    if (!domains.empty())
        post(std::move(domains));
}

} // namespace wickerlane
