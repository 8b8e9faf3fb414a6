// wickerlane resolve
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "cli/Command.h"
#include "cli/OpenedLibrary.h"
#include "wickerlane/api/WLNPersistentURL.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/store/AssetURL.h"

namespace wickerlane::cli {
namespace {

ExitCode resolveOne(const std::string &text, JSON &resolved, bool json) {
    ReleaseScope scope;
    const auto url = URL::create(text);
    if (!WLNIsPersistentURL(url.get()))
        return fail(
            ExitCode::usage,
            fmt::format("{} is no persistent URL; those of assets look like {}://asset/asset.JPG?id=...",
                        text, store::assetURLScheme));
    const auto path = Ref<String>::adopt(WLNCreatePathForPersistentURL(url.get()));
    if (!path) {
        if (!daemonAnswers())
            return failUnreachable();
        return fail(ExitCode::notFound, fmt::format("the photo library has no file for {}", text));
    }
    if (json)
        resolved.push_back({{"url", text}, {"path", std::string(path->utf8())}});
    else
        print(path->utf8());
    return ExitCode::success;
}

ExitCode resolve(const std::vector<std::string> &urls, bool json) {
    JSON resolved = JSON::array();
    ExitCode worst = ExitCode::success;
    for (const std::string &url : urls) {
        const ExitCode result = resolveOne(url, resolved, json);
        if (result != ExitCode::success)
            worst = result;
        if (result == ExitCode::unreachable)
            break;
    }
    if (json)
        printJSON(resolved);
    return worst;
}

} // namespace

void addResolve(Command app, Action &chosen) {
    const auto command = app.addSubcommand(
        "resolve", "Say where the files are that persistent URLs name: the current ones, edits included");
    command.footer("Example:\n  wickerlane resolve "
                   "'rez-vault://asset/asset.JPG?id=7F3D0A52-6C1B-4E0E-9D43-2B1C7A5E8F10&ext=JPG'");
    struct Options {
        std::vector<std::string> urls;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    command.addOption("URL", options->urls, "Persistent URLs, as show and list --json tell them").required();
    command.addFlag("--json", options->json, "Write JSON");
    command.callback(
        [options, &chosen] { chosen = [options] { return resolve(options->urls, options->json); }; });
}

} // namespace wickerlane::cli
