// wickerlane bulletins, wickerlane purge, wickerlane stream
#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include <algorithm>

#include "cli/OpenedLibrary.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/protocol/BulletinKeys.h"

namespace wickerlane::cli {
namespace {

struct Options {
    bool json = false;
    bool clear = false;
    std::uint64_t bytes = 0;
    bool isDryRun = false;
    std::string streamID;
};

JSON describe(const Dictionary &bulletin) {
    JSON described;
    for (const auto &[key, value] : bulletin) {
        const std::string name(as<String>(key)->utf8());
        if (const auto *number = as<Number>(value))
            described[name] = number->int64Value();
        else if (const auto *date = as<Date>(value))
            described[name] = isoDateText(date->referenceSeconds());
        else if (const auto *text = as<String>(value))
            described[name] = text->utf8();
        else if (const auto *list = as<Array>(value))
            for (Object *each : *list)
                described[name].push_back(std::string(each->description()->utf8()));
    }
    return described;
}

ExitCode bulletins(const Options &options) {
    ReleaseScope scope;
    if (!daemonAnswers())
        return failUnreachable();
    JXGatekeeperClient *client = JXGatekeeperClient::sharedInstance();
    const Array *all = client->getCurrentBulletins();
    if (all == nullptr)
        return fail(ExitCode::failure, "the daemon can't tell the bulletins; its log says why");
    JSON described = JSON::array();
    Table table({{"DATE"}, {"ALBUM"}, {"BULLETIN"}});
    std::uint64_t last = 0;
    for (Object *each : *all) {
        const auto &bulletin = *as<Dictionary>(each);
        described.push_back(describe(bulletin));
        const auto *title = bulletin.get<String>(kBulletinKeyTitle->utf8());
        const auto *message = bulletin.get<String>(kBulletinKeyMessage->utf8());
        const auto *date = bulletin.get<Date>(kBulletinKeyDate->utf8());
        const auto *number = bulletin.get<Number>(kBulletinKeyRecordID->utf8());
        if (title == nullptr || message == nullptr || date == nullptr || number == nullptr)
            continue;
        last = std::max(last, number->uint64Value());
        table.add(
            {dateText(date->referenceSeconds()), std::string(title->utf8()), std::string(message->utf8())});
    }
    if (options.json)
        printJSON(described);
    else if (described.empty())
        note("there are no bulletins");
    else
        table.print();
    if (options.clear && last != 0) {
        client->clearAllBulletinsWithLastClearedRecordID(last);
        if (!daemonAnswers()) // which tells that the daemon got the request, which has no answer
            return failUnreachable();
    }
    return ExitCode::success;
}

ExitCode purge(const Options &options) {
    ReleaseScope scope;
    if (!daemonAnswers())
        return failUnreachable();
    JXGatekeeperClient *client = JXGatekeeperClient::sharedInstance();
    const std::int64_t bytes = options.isDryRun ? client->purgeableSharedAssetsSpace()
                                                : client->attemptToPurgeSharedAssetsSpace(options.bytes);
    if (options.json)
        printJSON({{options.isDryRun ? "purgeable" : "freed", bytes}});
    else
        print(sizeText(static_cast<std::uint64_t>(bytes)) +
              (options.isDryRun ? " could be freed" : " freed"));
    return ExitCode::success;
}

ExitCode stream(const Options &options) {
    ReleaseScope scope;
    if (!daemonAnswers())
        return failUnreachable();
    JXGatekeeperClient::sharedInstance()->createSnapriverAlbumWithStreamID(String::of(options.streamID));
    const auto store = openStore();
    const Array *albums = store ? store->albums() : nullptr;
    for (std::size_t i = 0; albums != nullptr && i < albums->count(); ++i)
        if (const auto *album = as<store::ManagedAlbum>(albums->at(i));
            album->record().streamID == options.streamID) {
            print(album->groupURL()->absoluteString()->utf8());
            return ExitCode::success;
        }
    return fail(ExitCode::failure, "the stream has got no album; the daemon's log says why");
}

} // namespace

void addBulletins(Command app, Action &chosen) {
    const auto command = app.addSubcommand("bulletins", "Show what has happened in shared albums");
    command.footer("Example:\n  wickerlane bulletins --clear");
    auto options = std::make_shared<Options>();
    command.addFlag("--clear", options->clear, "Clear what was shown");
    command.addFlag("--json", options->json, "Write JSON");
    command.callback([options, &chosen] { chosen = [options] { return bulletins(*options); }; });
}

void addPurge(Command app, Action &chosen) {
    const auto command = app.addSubcommand("purge", "Free space that shared albums take");
    command.footer("Only larger thumbnails go, which are made again when they are asked for.\n\n"
                   "Example:\n  wickerlane purge 50MB");
    auto options = std::make_shared<Options>();
    const auto bytes = command.addOption("BYTES", options->bytes, "How much to free, such as 50MB").asSize();
    command.addFlag("-n,--dry-run", options->isDryRun, "Only say how much could be freed").excludes(bytes);
    command.addFlag("--json", options->json, "Write JSON");
    command.callback([options, bytes, &chosen] {
        if (!options->isDryRun && !bytes.isGiven())
            failMissing("BYTES, or --dry-run,");
        chosen = [options] { return purge(*options); };
    });
}

void addStream(Command app, Action &chosen) {
    const auto command = app.addSubcommand("stream", "Make the shared album of a stream, and write its URL");
    command.footer("There is no server: a stream is what the library itself keeps of it.");
    auto options = std::make_shared<Options>();
    command.addOption("STREAM", options->streamID, "The stream's ID").required().notEmpty();
    command.callback([options, &chosen] { chosen = [options] { return stream(*options); }; });
}

} // namespace wickerlane::cli
