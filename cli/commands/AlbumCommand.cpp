// wickerlane album
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <limits>
#include <span>

#include "cli/AssetDescription.h"
#include "cli/Awaited.h"
#include "cli/Confirmation.h"
#include "cli/DaemonRequests.h"
#include "cli/Formatting.h"
#include "cli/Queries.h"
#include "cli/Subcommands.h"
#include "cli/Table.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/protocol/AlbumRows.h"

namespace wickerlane::cli {
namespace {

/// Assets in one request.
constexpr std::size_t batchSize = 10'000;

struct Options {
    std::string album;
    std::string newName;
    std::vector<std::string> assets;
    bool json = false;
    bool yes = false;
};

JSON describe(const ManagedAlbum &album) {
    const AlbumRecord &record = album.record();
    JSON described = {{"name", record.name},
                      {"uuid", record.uuid},
                      {"url", album.groupURL()->absoluteString()->utf8()},
                      {"objectID", album.objectID()->uriRepresentation()->absoluteString()->utf8()},
                      {"created", isoDateText(record.dateCreated)},
                      {"assets", record.assetCount}};
    if (!record.streamID.empty())
        described["streamID"] = record.streamID;
    return described;
}

Result<ExitCode> list(const Options &options) {
    const auto albums = askForAlbums();
    if (!albums)
        return passOn(albums);
    JSON all = JSON::array();
    Table table({{"ASSETS", Table::Align::right}, {"CREATED"}, {"UUID"}, {"NAME"}});
    for (const auto &album : *albums) {
        const AlbumRecord &record = album->record();
        all.push_back(describe(*album));
        table.add(
            {std::to_string(record.assetCount), dateText(record.dateCreated), record.uuid, record.name});
    }
    printListing(all, table, "there are no albums", options.json);
    return ExitCode::success;
}

Result<ExitCode> create(const Options &options) {
    if (const auto answers = requireDaemon(); !answers)
        return passOn(answers);
    struct Created {
        bool nameTaken = false;
        std::string url;
    };
    const Awaited<Created> answer;
    JXGatekeeperClient::sharedInstance()->addGroupWithName(
        String::of(options.album), [answer](bool nameTaken, const URL *groupURL, Error *) {
            answer.give({nameTaken, groupURL != nullptr ? std::string(groupURL->absoluteString()->utf8())
                                                        : std::string()});
        });
    const Created created = answer.take();
    if (created.nameTaken)
        return fail(ProblemKind::exists, fmt::format("there is already an album {}", options.album));
    if (created.url.empty())
        return fail(ProblemKind::failed, "the album could not be made; see the daemon's log");
    print(created.url);
    return ExitCode::success;
}

Result<> addAsset(const ManagedAsset *asset, const ManagedAlbum &album, const std::string &name) {
    if (asset == nullptr)
        return failToFindAsset(name);
    return waitForSuccess(name + " was not added", [&](const SuccessHandler &handler) {
        JXGatekeeperClient::sharedInstance()->addAssetWithURL(asset->assetURL(),
                                                              String::of(album.record().uuid), handler);
    });
}

Result<ExitCode> add(const Options &options) {
    const auto named = askForAlbum(options.album);
    if (!named)
        return passOn(named);
    const ManagedAlbum &album = **named;
    const auto assets = askForAssets(options.assets);
    if (!assets)
        return passOn(assets);
    ExitCode code = ExitCode::success;
    std::size_t added = 0;
    for (std::size_t i = 0; i < assets->size(); ++i)
        if (const auto result = addAsset((*assets)[i].get(), album, options.assets[i]))
            ++added;
        else
            code = report(result.error());
    print(fmt::format("{} added to {}", countText(added, "asset", "assets"), album.record().name));
    return code;
}

Result<ExitCode> show(const Options &options) {
    const auto named = askForAlbum(options.album);
    if (!named)
        return passOn(named);
    const ManagedAlbum &album = **named;
    JSON described = describe(album);
    described["assets"] = JSON::array();
    Table table({{"CREATED"}, {"UUID"}, {"NAME"}});
    const auto listed =
        forEachAsset({.filter = {.album = album.record().uuid}}, 0, std::numeric_limits<std::size_t>::max(),
                     [&](const ManagedAsset &asset) {
                         const AssetRecord &record = asset.record();
                         if (options.json)
                             described["assets"].push_back(cli::describe(asset));
                         else
                             table.add({createdText(record), record.uuid, outsideName(record)});
                     });
    if (!listed)
        return passOn(listed);
    printListing(described, table, "the album is empty", options.json);
    return ExitCode::success;
}

Result<> ask(const client::Request &request) {
    return requireDaemon().and_then([&] { return waitForWork(request); });
}

Result<ExitCode> rename(const Options &options) {
    const auto named = askForAlbum(options.album);
    if (!named)
        return passOn(named);
    const AlbumRecord &record = (*named)->record();
    client::Request request(protocol::renameAlbum);
    request.set(protocol::keys::albumUUID, String::of(record.uuid));
    request.set(protocol::keys::name, String::of(options.newName));
    if (const auto renamed = ask(request); !renamed)
        return passOn(renamed);
    print(fmt::format("{} is now {}", record.name, options.newName));
    return ExitCode::success;
}

Result<ExitCode> deleteAlbum(const Options &options) {
    const auto named = askForAlbum(options.album);
    if (!named)
        return passOn(named);
    const AlbumRecord &record = (*named)->record();
    const std::string assets = countText(record.assetCount, "asset", "assets");
    if (!options.yes &&
        !isConfirmed(fmt::format("This deletes the album {}, not the {} in it.", record.name, assets)))
        return fail(ProblemKind::failed, "nothing was deleted; --yes deletes without asking");
    client::Request request(protocol::deleteAlbum);
    request.set(protocol::keys::albumUUID, String::of(record.uuid));
    if (const auto deleted = ask(request); !deleted)
        return passOn(deleted);
    print(fmt::format("album {} deleted; the library still has its {}", record.name, assets));
    return ExitCode::success;
}

/// Removes nothing if one of the assets is not there.
Result<ExitCode> remove(const Options &options) {
    const auto named = askForAlbum(options.album);
    if (!named)
        return passOn(named);
    const ManagedAlbum &album = **named;
    const auto uuids = askForUUIDs(options.assets);
    if (!uuids)
        return passOn(uuids);
    for (std::span left(*uuids); !left.empty();) {
        const auto photos = MutableArray::create();
        const auto batch = left.first(std::min(left.size(), batchSize));
        left = left.subspan(batch.size());
        for (const std::string &each : batch)
            photos->append(String::of(each));
        client::Request request(protocol::removeFromAlbum);
        request.set(protocol::keys::photoUUIDs, photos.get());
        request.set(protocol::keys::albumUUID, String::of(album.record().uuid));
        if (const auto removed = ask(request); !removed)
            return passOn(removed);
    }
    print(
        fmt::format("{} removed from {}", countText(uuids->size(), "asset", "assets"), album.record().name));
    return ExitCode::success;
}

Result<ExitCode> deleteEmpty(const Options &options) {
    const auto named = askForAlbum(options.album);
    if (!named)
        return passOn(named);
    const ManagedAlbum &album = **named;
    const AlbumRecord &record = album.record();
    if (record.assetCount != 0)
        return fail(ProblemKind::failed, fmt::format("the album {} is not empty: it holds {}", record.name,
                                                     countText(record.assetCount, "asset", "assets")));
    JXGatekeeperClient::sharedInstance()->automaticallyDeleteEmptyAlbum(named->get());
    return waitUntilReceived().map([] { return ExitCode::success; });
}

} // namespace

void setUpAlbum(Command command) {
    command.requireSubcommand();
    command.footer("Example:\n"
                   "  wickerlane album create Dunes\n"
                   "  wickerlane album add Dunes 7F3D0A52-6C1B-4E0E-9D43-2B1C7A5E8F10");
    const auto listing = command.addSubcommand("list", "List all albums");
    listing.addFlag("--json", listing.runs(list).json, "Write JSON");
    const auto addVerb = [&](const char *name, const char *help, Result<ExitCode> (*work)(const Options &)) {
        const auto verb = command.addSubcommand(name, help);
        Options &options = verb.runs(work);
        verb.addOption("ALBUM", options.album, "Name or UUID of the album").required().notEmpty();
        return std::pair<Command, Options &>(verb, options);
    };
    addVerb("create", "Create an album and write its URL", create);
    auto [adding, added] = addVerb("add", "Add assets to an album", add);
    adding.addOption("ASSET", added.assets, "UUIDs, URLs or object IDs of assets").required();
    auto [showing, shown] = addVerb("show", "List the assets of an album", show);
    showing.addFlag("--json", shown.json, "Write JSON");
    auto [removing, removed] =
        addVerb("remove", "Take assets out of an album; the library keeps them", remove);
    removing.addOption("ASSET", removed.assets, "UUIDs, URLs or object IDs of assets").required();
    auto [renaming, renamed] = addVerb("rename", "Give an album another name", rename);
    renaming.addOption("NAME", renamed.newName, "Its new name, of at most 1024 bytes").required().notEmpty();
    auto [deleting, deleted] =
        addVerb("delete", "Delete an album; the library keeps the assets in it", deleteAlbum);
    deleting.addFlag("-y,--yes", deleted.yes, "Do not ask");
    addVerb("delete-empty", "Delete an album that is empty", deleteEmpty);
}

} // namespace wickerlane::cli
