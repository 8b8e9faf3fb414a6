#include "cli/OpenedLibrary.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/file/Files.h"

namespace wickerlane::cli {

ExitCode failUnreachable() {
    return fail(
        ExitCode::unreachable,
        fmt::format("the daemon hoardd can't be reached (library below {}). It starts by itself when it is "
                    "installed; look for its complaints on standard error, or with: wickerlane daemon "
                    "status --start",
                    rootPath()));
}

bool daemonAnswers() {
    return JXGatekeeperClient::sharedInstance()->getCurrentModelVersion() >= 0;
}

Ref<store::ObjectStore> openStore() {
    const store::LibraryPaths paths;
    if (access(paths.database().c_str(), F_OK) != 0) {
        fail(ExitCode::notFound,
             fmt::format("there is no library in {} yet; make one by saving photos into it: "
                         "wickerlane import FOLDER",
                         paths.folder()));
        return nullptr;
    }
    std::string problem;
    auto store = store::ObjectStore::open(paths, &problem);
    if (!store)
        fail(ExitCode::notFound, fmt::format("the library in {} can't be read: {}", paths.folder(), problem));
    return store;
}

Ref<store::ManagedAsset> findAsset(store::ObjectStore &store, const std::string &name) {
    ReleaseScope scope;
    Ref<store::ManagedAsset> found = store.assetWithUUID(name);
    if (!found && name.find("://") != std::string::npos)
        if (const auto url = URL::create(name)) {
            found = store.assetWithURL(url.get());
            if (!found)
                found = store.assetWithObjectID(ManagedObjectID::create(url.get()).get());
        }
    if (!found)
        fail(ExitCode::notFound, fmt::format("there is no asset {} in {}; these there are: wickerlane list",
                                             name, store.paths().folder()));
    return found;
}

std::string outsideName(const store::AssetRecord &asset) {
    const std::string &name = asset.originalFilename;
    const bool usable = !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
                        name.find('\0') == std::string::npos && name.size() <= 200;
    return usable ? name : asset.filename;
}

JSON describe(const store::ManagedAsset &asset) {
    const store::AssetRecord &record = asset.record();
    std::string sum;
    for (const std::byte each : record.sha256)
        sum += fmt::format("{:02x}", std::to_integer<unsigned>(each));
    JSON result = {
        {"uuid", record.uuid},
        {"kind", record.kind == store::AssetKind::photo ? "photo" : "video"},
        {"name", outsideName(record)},
        {"format", record.format},
        {"width", record.width},
        {"height", record.height},
        {"orientation", record.orientation},
        {"created", isoDateText(record.dateCreated)},
        {"added", isoDateText(record.dateAdded)},
        {"bytes", record.byteSize},
        {"sha256", sum},
        {"url", std::string(asset.assetURL()->absoluteString()->utf8())},
        {"objectID", std::string(asset.objectID()->uriRepresentation()->absoluteString()->utf8())},
        {"file", asset.fileURL()->fileSystemPath()},
    };
    if (record.latitude && record.longitude)
        result["place"] = {{"latitude", *record.latitude}, {"longitude", *record.longitude}};
    if (record.duration > 0)
        result["duration"] = record.duration;
    if (!record.problem.empty())
        result["problem"] = record.problem;
    return result;
}

} // namespace wickerlane::cli
