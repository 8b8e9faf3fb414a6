// wickerlane album
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "cli/AssetDescription.h"
#include "cli/Awaited.h"
#include "cli/DaemonRequests.h"
#include "cli/Formatting.h"
#include "cli/StoreLookup.h"
#include "cli/Subcommands.h"
#include "cli/Table.h"
#include "wickerlane/client/JXGatekeeperClient.h"

namespace wickerlane::cli {
namespace {

struct Options {
    std::string album;
    std::vector<std::string> assets;
    bool json = false;
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

/// An album, and the store that it was found in.
struct NamedAlbum {
    std::unique_ptr<store::StoreReader> store;
    Ref<ManagedAlbum> album;
};

Result<NamedAlbum> openAlbum(const std::string &name) {
    auto store = openStore();
    if (!store)
        return passOn(store);
    auto album = findAlbum(**store, name);
    if (!album)
        return passOn(album);
    return NamedAlbum{*std::move(store), *std::move(album)};
}

Result<ExitCode> list(const Options &options) {
    const auto store = openStore();
    if (!store)
        return passOn(store);
    const auto albums = (*store)->albums();
    if (!albums)
        return failToReadStore(albums);
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

Result<> addAsset(store::StoreReader &store, const ManagedAlbum &album, const std::string &name) {
    const auto asset = findAsset(store, name);
    if (!asset)
        return passOn(asset);
    return waitForSuccess(fmt::format("{} could not be added; see the daemon's log", name),
                          [&](const SuccessHandler &handler) {
                              JXGatekeeperClient::sharedInstance()->addAssetWithURL(
                                  (*asset)->assetURL(), String::of(album.record().uuid), handler);
                          });
}

Result<ExitCode> add(const Options &options) {
    const auto named = openAlbum(options.album);
    if (!named)
        return passOn(named);
    const auto &[store, album] = *named;
    if (const auto answers = requireDaemon(); !answers)
        return passOn(answers);
    ExitCode code = ExitCode::success;
    std::size_t added = 0;
    for (const std::string &name : options.assets)
        if (const auto result = addAsset(*store, *album, name))
            ++added;
        else
            code = report(result.error());
    print(fmt::format("{} added to {}", countText(added, "asset", "assets"), album->record().name));
    return code;
}

Result<ExitCode> show(const Options &options) {
    const auto named = openAlbum(options.album);
    if (!named)
        return passOn(named);
    const auto &[store, album] = *named;
    const auto assets = store->assets({.album = album->record().primaryKey});
    if (!assets)
        return failToReadStore(assets);
    JSON described = describe(*album);
    described["assets"] = JSON::array();
    Table table({{"CREATED"}, {"UUID"}, {"NAME"}});
    for (const auto &asset : *assets) {
        const AssetRecord &record = asset->record();
        described["assets"].push_back(cli::describe(*asset));
        table.add({createdText(record), record.uuid, outsideName(record)});
    }
    printListing(described, table, "the album is empty", options.json);
    return ExitCode::success;
}

Result<ExitCode> deleteEmpty(const Options &options) {
    const auto named = openAlbum(options.album);
    if (!named)
        return passOn(named);
    const auto &[store, album] = *named;
    const AlbumRecord &record = album->record();
    if (record.assetCount != 0)
        return fail(ProblemKind::failed, fmt::format("the album {} is not empty: it holds {}", record.name,
                                                     countText(record.assetCount, "asset", "assets")));
    JXGatekeeperClient::sharedInstance()->automaticallyDeleteEmptyAlbum(album.get());
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
    addVerb("delete-empty", "Delete an album that is empty", deleteEmpty);
}

} // namespace wickerlane::cli
