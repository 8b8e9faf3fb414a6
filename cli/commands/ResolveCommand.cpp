// wickerlane resolve
#include <nlohmann/json.hpp>

#include "cli/DaemonRequests.h"
#include "cli/Output.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"
#include "wickerlane/api/WLNPersistentURL.h"
#include "wickerlane/model/AssetURL.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane::cli {
namespace {

struct Options {
    std::vector<std::string> urls;
    bool json = false;
};

Result<std::string> pathOf(const std::string &text) {
    const ReleaseScope scope;
    const auto url = URL::create(text);
    if (!WLNIsPersistentURL(url.get()))
        return fail(ProblemKind::invalid, localized("{} is not a persistent URL; that of an asset looks like "
                                                    "{}://asset/asset.JPG?id=...",
                                                    text, assetURLScheme));
    const auto path = Ref<String>::adopt(WLNCreatePathForPersistentURL(url.get()));
    if (!path)
        return failRequest({ProblemKind::notFound, localized("the library has no file for {}", text), {}});
    return std::string(path->utf8());
}

Result<ExitCode> resolve(const Options &options) {
    JSON resolved = JSON::array();
    ExitCode code = ExitCode::success;
    for (const std::string &url : options.urls) {
        const auto path = pathOf(url);
        if (!path) {
            code = report(path.error());
            if (code == ExitCode::unreachable)
                break;
        } else if (options.json) {
            resolved.push_back({{"url", url}, {"path", *path}});
        } else {
            print(*path);
        }
    }
    if (options.json)
        printJSON(resolved);
    return code;
}

} // namespace

void setUpResolve(Command command) {
    command.footer("For an asset that has been edited, this is the edited picture.\n\n"
                   "Example:\n  wickerlane resolve "
                   "'rez-vault://asset/asset.JPG?id=7F3D0A52-6C1B-4E0E-9D43-2B1C7A5E8F10&ext=JPG'");
    Options &options = command.runs(resolve);
    command.addOption("URL", options.urls, "Persistent URLs, as shown by `show` and `list --json`")
        .required();
    command.addFlag("--json", options.json, "Write JSON");
}

} // namespace wickerlane::cli
