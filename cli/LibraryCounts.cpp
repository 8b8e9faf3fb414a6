#include "cli/LibraryCounts.h"

#include <nlohmann/json.hpp>

#include <optional>

#include "cli/Awaited.h"
#include "cli/DaemonRequests.h"
#include "cli/Texts.h"
#include "wickerlane/client/JXGatekeeperClient.h"

namespace wickerlane::cli {

namespace {

std::optional<LibraryCounts> askCounts() {
    const Awaited<std::optional<LibraryCounts>> answer;
    JXGatekeeperClient::sharedInstance()->getPhotosAndVideosCountWithHandler(
        [answer](const Number *photos, const Number *videos) {
            if (photos != nullptr && videos != nullptr)
                answer.give(LibraryCounts{photos->uint64Value(), videos->uint64Value()});
            else
                answer.give(std::nullopt);
        });
    return answer.take();
}

} // namespace

Result<LibraryCounts> countLibrary() {
    if (const auto counts = askCounts())
        return *counts;
    if (const auto answers = requireDaemon(); !answers)
        return passOn(answers);
    // The daemon was just ending; another has taken its place.
    if (const auto counts = askCounts())
        return *counts;
    return failRequest({ProblemKind::failed, localized("the daemon gives no counts"), {}});
}

std::string textOf(const LibraryCounts &counts) {
    return joined({localizedCount(counts.photos, "{} photo", "{} photos"),
                   localizedCount(counts.videos, "{} video", "{} videos")});
}

JSON describe(const LibraryCounts &counts) {
    return {{"photos", counts.photos}, {"videos", counts.videos}};
}

} // namespace wickerlane::cli
