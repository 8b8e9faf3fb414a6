// wickerlane album
#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "cli/OpenedLibrary.h"
#include "cli/Waiting.h"
#include "wickerlane/client/JXGatekeeperClient.h"

namespace wickerlane::cli {
namespace {

struct Options {
    std::string name;
    std::vector<std::string> assets;
    bool json = false;
};

/// The album that a person named by its name or UUID. Null, after an error on standard error, when there is
/// none.
Ref<store::ManagedAlbum> findAlbum(store::ObjectStore &store, const std::string &name) {
    store::ManagedAlbum *album = store.albumNamed(name);
    if (album == nullptr)
        album = store.albumWithUUID(name);
    if (album == nullptr)
        fail(ExitCode::notFound, fmt::format("there is no album {}; see `wickerlane album list`", name));
    return Ref<store::ManagedAlbum>(album);
}

JSON describe(const store::ManagedAlbum &album) {
    const store::AlbumRecord &record = album.record();
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

ExitCode list(bool json) {
    ReleaseScope scope;
    const auto store = openStore();
    const Array *albums = store ? store->albums() : nullptr;
    if (albums == nullptr)
        return store ? fail(ExitCode::failure, "the library's store can't be read") : ExitCode::notFound;
    JSON all = JSON::array();
    Table table({{"ASSETS", Table::Align::right}, {"CREATED"}, {"UUID"}, {"NAME"}});
    for (Object *each : *albums) {
        const auto &album = *as<store::ManagedAlbum>(each);
        all.push_back(describe(album));
        table.add({std::to_string(album.record().assetCount), dateText(album.record().dateCreated),
                   album.record().uuid, album.record().name});
    }
    if (json)
        printJSON(all);
    else if (all.empty())
        note("there are no albums");
    else
        table.print();
    return ExitCode::success;
}

ExitCode create(const Options &options) {
    ReleaseScope scope;
    if (!daemonAnswers())
        return failUnreachable();
    struct Outcome {
        bool nameTaken = false;
        std::string url;
    };
    Awaited<Outcome> outcome;
    JXGatekeeperClient::sharedInstance()->addGroupWithName(
        String::of(options.name), [outcome](bool nameTaken, const URL *groupURL, Error *) {
            outcome.give({nameTaken, groupURL != nullptr ? std::string(groupURL->absoluteString()->utf8())
                                                         : std::string()});
        });
    const Outcome made = outcome.take();
    if (made.nameTaken)
        return fail(ExitCode::failure, fmt::format("there is an album {} already", options.name));
    if (made.url.empty())
        return fail(ExitCode::failure, "the album could not be made; the daemon's log says why");
    print(made.url);
    return ExitCode::success;
}

ExitCode add(const Options &options) {
    ReleaseScope scope;
    const auto store = openStore();
    const auto album = store ? findAlbum(*store, options.name) : nullptr;
    if (!album)
        return ExitCode::notFound;
    if (!daemonAnswers())
        return failUnreachable();
    ExitCode code = ExitCode::success;
    std::size_t added = 0;
    for (const std::string &name : options.assets) {
        const auto asset = findAsset(*store, name);
        if (!asset) {
            code = ExitCode::notFound;
            continue;
        }
        Awaited<bool> outcome;
        JXGatekeeperClient::sharedInstance()->addAssetWithURL(
            asset->assetURL(), String::of(album->record().uuid),
            [outcome](bool success, Error *) { outcome.give(success); });
        if (outcome.take())
            ++added;
        else
            code = fail(ExitCode::failure,
                        fmt::format("{} could not be added; the daemon's log says why", name));
    }
    print(fmt::format("{} in {}", countText(added, "asset", "assets"), album->record().name));
    return code;
}

ExitCode show(const Options &options) {
    ReleaseScope scope;
    const auto store = openStore();
    const auto album = store ? findAlbum(*store, options.name) : nullptr;
    if (!album)
        return ExitCode::notFound;
    const Array *assets = store->assets({.album = album->record().primaryKey});
    if (assets == nullptr)
        return fail(ExitCode::failure, "the library's store can't be read");
    JSON described = describe(*album);
    described["assets"] = JSON::array();
    Table table({{"CREATED"}, {"UUID"}, {"NAME"}});
    for (Object *each : *assets) {
        const auto &asset = *as<store::ManagedAsset>(each);
        described["assets"].push_back(cli::describe(asset));
        table.add({dateText(asset.record().dateCreated), asset.record().uuid, outsideName(asset.record())});
    }
    if (options.json)
        printJSON(described);
    else
        table.print();
    return ExitCode::success;
}

ExitCode deleteEmpty(const Options &options) {
    ReleaseScope scope;
    const auto store = openStore();
    const auto album = store ? findAlbum(*store, options.name) : nullptr;
    if (!album)
        return ExitCode::notFound;
    if (album->record().assetCount != 0)
        return fail(ExitCode::failure, fmt::format("{} holds {}", album->record().name,
                                                   countText(album->record().assetCount, "asset", "assets")));
    JXGatekeeperClient::sharedInstance()->automaticallyDeleteEmptyAlbum(album.get());
    // The request has no answer; one that has tells that the daemon got it.
    if (!daemonAnswers())
        return failUnreachable();
    return ExitCode::success;
}

} // namespace

void addAlbum(Command app, Action &chosen) {
    const auto command = app.addSubcommand("album", "Make albums and put assets into them");
    command.requireSubcommand();
    command.footer("Example:\n"
                   "  wickerlane album create Dunes\n"
                   "  wickerlane album add Dunes 7F3D0A52-6C1B-4E0E-9D43-2B1C7A5E8F10");
    auto options = std::make_shared<Options>();
    const auto run = [options, &chosen](Command verb, ExitCode (*work)(const Options &)) {
        verb.callback([options, work, &chosen] { chosen = [options, work] { return work(*options); }; });
    };
    const auto listing = command.addSubcommand("list", "List all albums");
    listing.addFlag("--json", options->json, "Write JSON");
    run(listing, [](const Options &given) { return list(given.json); });
    const auto addVerb = [&](const char *name, const char *help, ExitCode (*work)(const Options &)) {
        const auto verb = command.addSubcommand(name, help);
        verb.addOption("ALBUM", options->name, "Name or UUID of the album").required().notEmpty();
        run(verb, work);
        return verb;
    };
    addVerb("create", "Make an album and write its URL", create);
    addVerb("add", "Put assets into an album", add)
        .addOption("ASSET", options->assets, "UUIDs, URLs or object IDs of assets")
        .required();
    addVerb("show", "Show what is in an album", show).addFlag("--json", options->json, "Write JSON");
    addVerb("delete-empty", "Delete an album that holds nothing", deleteEmpty);
}

} // namespace wickerlane::cli
