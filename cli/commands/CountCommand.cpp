// wickerlane count
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "cli/Command.h"
#include "cli/OpenedLibrary.h"
#include "cli/Waiting.h"
#include "wickerlane/client/JXGatekeeperClient.h"

namespace wickerlane::cli {
namespace {

struct Counts {
    Ref<Number> photos;
    Ref<Number> videos;
};

ExitCode count(bool json) {
    Awaited<Counts> answer;
    JXGatekeeperClient::sharedInstance()->getPhotosAndVideosCountWithHandler(
        [answer](Number *photos, Number *videos) {
            answer.give({photos, videos});
        });
    const Counts counts = answer.take();
    if (!counts.photos || !counts.videos)
        return failUnreachable();

    const std::uint64_t photos = counts.photos->uint64Value();
    const std::uint64_t videos = counts.videos->uint64Value();
    if (json)
        printJSON({{"photos", photos}, {"videos", videos}});
    else
        print(countText(photos, "photo", "photos") + ", " + countText(videos, "video", "videos"));
    return ExitCode::success;
}

} // namespace

void addCount(Command app, Action &chosen) {
    const auto command = app.addSubcommand("count", "Say how many photos and videos the library holds");
    command.footer("Example:\n  wickerlane count --json");
    auto json = std::make_shared<bool>(false);
    command.addFlag("--json", *json, "Write JSON");
    command.callback([json, &chosen] { chosen = [json] { return count(*json); }; });
}

} // namespace wickerlane::cli
