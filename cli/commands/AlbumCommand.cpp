// wickerlane album
#include <nlohmann/json.hpp>

#include <limits>

#include "cli/Albums.h"
#include "cli/AssetListing.h"
#include "cli/Confirmation.h"
#include "cli/DaemonRequests.h"
#include "cli/Formatting.h"
#include "cli/Queries.h"
#include "cli/Selection.h"
#include "cli/Subcommands.h"
#include "cli/Table.h"
#include "cli/Texts.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/protocol/AlbumRows.h"

namespace wickerlane::cli {
namespace {

struct Options {
    std::string album;
    std::string newName;
    Selection selection;
    bool json = false;
    AssetListingOptions listing;
};

JSON describe(const ManagedAlbum &album) {
    const AlbumRecord &record = album.record();
    JSON described = {{"name", record.name},
                      {"uuid", record.uuid},
                      {"url", album.groupURL()->absoluteString()->utf8()},
                      {"objectID", album.objectID()->uriRepresentation()->absoluteString()->utf8()},
                      {"added", isoDateText(record.dateCreated)},
                      {"assetCount", record.assetCount}};
    if (!record.streamID.empty())
        described["streamID"] = record.streamID;
    return described;
}

Result<ExitCode> list(const Options &options) {
    const auto albums = askForAlbums();
    if (!albums)
        return passOn(albums);
    JSON all = JSON::array();
    Table table({{"ASSETS", Table::Align::right},
                 {"CREATED", Table::Align::left, Table::Kind::whole, 0},
                 {"UUID", Table::Align::left, Table::Kind::uuid},
                 {"NAME", Table::Align::left, Table::Kind::text, 2}});
    for (const auto &album : *albums) {
        const AlbumRecord &record = album->record();
        all.push_back(describe(*album));
        table.add(
            {std::to_string(record.assetCount), dateText(record.dateCreated), record.uuid, record.name});
    }
    printListing(all, table, localized("there are no albums"), options.json);
    return ExitCode::success;
}

Result<ExitCode> create(const Options &options) {
    if (const auto answers = requireDaemon(); !answers)
        return passOn(answers);
    const auto created = createAlbum(options.album);
    if (!created)
        return passOn(created);
    print(*created);
    return ExitCode::success;
}

Result<ExitCode> add(const Options &options) {
    const auto named = askForAlbum(options.album);
    if (!named)
        return passOn(named);
    const AlbumRecord &album = (*named)->record();
    const auto selected = select(options.selection);
    if (!selected)
        return passOn(selected);
    if (selected->code != ExitCode::success)
        return selected->code; // before any is added
    const auto parted = partByAlbum(selected->uuids, album.uuid);
    if (!parted)
        return passOn(parted);
    const auto &[inside, outside] = *parted;
    if (options.selection.isDryRun)
        return printDryRun(outside, localizedCount(outside.size(), "{} asset would be added to {}",
                                                   "{} assets would be added to {}", album.name));
    const auto outcome = forEachSelected(outside, localized("adding"), [&](const ManagedAsset &asset) {
        return addToAlbum(asset.assetURL(), album.uuid, asset.record().uuid);
    });
    if (!outcome)
        return passOn(outcome);
    std::vector summary{
        localizedCount(outcome->done, "{} asset added to {}", "{} assets added to {}", album.name)};
    if (!inside.empty())
        summary.push_back(localizedCount(inside.size(), "{} was in it already", "{} were in it already"));
    summarize(joined(summary));
    return outcome->code;
}

Result<ExitCode> show(const Options &options) {
    const auto named = askForAlbum(options.album);
    if (!named)
        return passOn(named);
    const ManagedAlbum &album = **named;
    auto listing = AssetListing::create(options.listing);
    if (!listing)
        return passOn(listing);
    JSON described = describe(album);
    described["assets"] = JSON::array();
    const auto listed = forEachAsset({.filter = {.album = album.record().uuid}}, 0,
                                     std::numeric_limits<std::size_t>::max(), [&](const ManagedAsset &asset) {
                                         if (listing->isJSON())
                                             described["assets"].push_back(listing->describe(asset));
                                         else
                                             listing->add(asset);
                                     });
    if (!listed)
        return passOn(listed);
    if (listing->isJSON())
        printJSON(described);
    else
        listing->end(localized("the album is empty"));
    return ExitCode::success;
}

Result<ExitCode> rename(const Options &options) {
    const auto named = askForAlbum(options.album);
    if (!named)
        return passOn(named);
    const AlbumRecord &record = (*named)->record();
    client::Request request(protocol::renameAlbum);
    request.set(protocol::keys::albumUUID, String::of(record.uuid));
    request.set(protocol::keys::name, String::of(options.newName));
    if (const auto renamed = waitForWork(request); !renamed)
        return passOn(renamed);
    summarize(localized("{} is now {}", record.name, options.newName));
    return ExitCode::success;
}

Result<ExitCode> deleteAlbum(const Options &options) {
    const auto named = askForAlbum(options.album);
    if (!named)
        return passOn(named);
    const AlbumRecord &record = (*named)->record();

    if (!options.selection.yes)
        if (const auto confirmed = confirm(
                localizedCount(record.assetCount, "This deletes the album {1}, not the {0} asset in it.",
                               "This deletes the album {1}, not the {0} assets in it.", record.name),
                localized("nothing was deleted; --yes deletes without asking"));
            !confirmed)
            return passOn(confirmed);
    client::Request request(protocol::deleteAlbum);
    request.set(protocol::keys::albumUUID, String::of(record.uuid));
    if (const auto deleted = waitForWork(request); !deleted)
        return passOn(deleted);
    summarize(localizedCount(record.assetCount, "album {1} deleted; the library still has its {0} asset",
                             "album {1} deleted; the library still has its {0} assets", record.name));
    return ExitCode::success;
}

Result<ExitCode> remove(const Options &options) {
    const auto named = askForAlbum(options.album);
    if (!named)
        return passOn(named);
    const AlbumRecord &album = (*named)->record();
    const auto selected = select(options.selection);
    if (!selected)
        return passOn(selected);
    if (selected->code != ExitCode::success)
        return selected->code;
    const auto parted = partByAlbum(selected->uuids, album.uuid);
    if (!parted)
        return passOn(parted);
    const auto wouldBeDone = [&](std::size_t count) {
        return localizedCount(count, "{} asset would be removed from {}",
                              "{} assets would be removed from {}", album.name);
    };
    const auto done = [&](std::size_t count) {
        std::vector summary{
            localizedCount(count, "{} asset removed from {}", "{} assets removed from {}", album.name)};
        if (const std::size_t others = parted->outside.size(); others > 0)
            summary.push_back(localizedCount(others, "{} was not in it", "{} were not in it"));
        return joined(summary);
    };
    return change(
        parted->inside, options.selection,
        {.doing = localized("removing"), .wouldBeDone = wouldBeDone, .done = done}, protocol::removeFromAlbum,
        [&](client::Request &request) { request.set(protocol::keys::albumUUID, String::of(album.uuid)); });
}

Result<ExitCode> deleteEmpty(const Options &options) {
    const auto named = askForAlbum(options.album);
    if (!named)
        return passOn(named);
    const ManagedAlbum &album = **named;
    const AlbumRecord &record = album.record();
    if (record.assetCount != 0)
        return fail(ProblemKind::failed,
                    localizedCount(record.assetCount, "the album {1} is not empty: it holds {0} asset",
                                   "the album {1} is not empty: it holds {0} assets", record.name));
    JXGatekeeperClient::sharedInstance()->automaticallyDeleteEmptyAlbum(named->get());
    return waitUntilReceived().map([] { return ExitCode::success; });
}

} // namespace

void setUpAlbum(Command command) {
    command.requireSubcommand();
    command.footer("Examples:\n"
                   "  wickerlane album create Dunes\n"
                   "  wickerlane album add Dunes 7F3D0A52 IMG_0012.jpg\n"
                   "  wickerlane album add Dunes --where 'from=2019-08 words=dune'");
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
    addSelection(adding, added.selection);
    addDryRun(adding, added.selection);
    auto [showing, shown] = addVerb("show", "List the assets of an album", show);
    addListingOptions(showing, shown.listing);
    auto [removing, removed] =
        addVerb("remove", "Take assets out of an album; the library keeps them", remove);
    addSelection(removing, removed.selection);
    addDryRun(removing, removed.selection);
    auto [renaming, renamed] = addVerb("rename", "Give an album another name", rename);
    renaming.addOption("NAME", renamed.newName, "Its new name, of at most 1024 bytes").required().notEmpty();
    auto [deleting, deleted] =
        addVerb("delete", "Delete an album; the library keeps the assets in it", deleteAlbum);
    addYes(deleting, deleted.selection.yes);
    addVerb("delete-empty", "Delete an album that is empty", deleteEmpty);
}

} // namespace wickerlane::cli
