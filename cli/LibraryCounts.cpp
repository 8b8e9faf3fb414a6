#include "cli/LibraryCounts.h"

#include <nlohmann/json.hpp>

#include "cli/Awaited.h"
#include "cli/DaemonRequests.h"
#include "cli/Formatting.h"
#include "wickerlane/client/JXGatekeeperClient.h"

namespace wickerlane::cli {

Result<LibraryCounts> countLibrary() {
    const Awaited<Result<LibraryCounts>> answer;
    JXGatekeeperClient::sharedInstance()->getPhotosAndVideosCountWithHandler(
        [answer](const Number *photos, const Number *videos) {
            if (photos != nullptr && videos != nullptr)
                answer.give(LibraryCounts{photos->uint64Value(), videos->uint64Value()});
            else
                answer.give(failUnreachable());
        });
    return answer.take();
}

std::string textOf(const LibraryCounts &counts) {
    return countText(counts.photos, "photo", "photos") + ", " + countText(counts.videos, "video", "videos");
}

JSON describe(const LibraryCounts &counts) {
    return {{"photos", counts.photos}, {"videos", counts.videos}};
}

} // namespace wickerlane::cli
