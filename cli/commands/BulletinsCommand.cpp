// wickerlane bulletins
#include <nlohmann/json.hpp>

#include <algorithm>
#include <utility>

#include "cli/DaemonRequests.h"
#include "cli/Formatting.h"
#include "cli/ObjectJSON.h"
#include "cli/SharedJSON.h"
#include "cli/Subcommands.h"
#include "cli/Table.h"
#include "cli/Texts.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/protocol/BulletinKeys.h"

namespace wickerlane::cli {
namespace {

struct Options {
    bool json = false;
    bool clear = false;
};

/// A text, number or point in time of a bulletin, if it has that.
JSON valueOf(const Dictionary &bulletin, const String *key) {
    const Object *value = bulletin.get(key->utf8());
    if (const auto *date = as<Date>(value))
        return isoDateText(date->referenceSeconds());
    return jsonOf(value);
}

JSON describe(const Dictionary &bulletin) {
    const auto *type = bulletin.get<Number>(kBulletinkeyBulletinType->utf8());
    JSON described = {{"kind", type != nullptr && type->int64Value() == 0 ? "added" : "damaged"}};
    const std::pair<const char *, const String *> values[] = {
        {"number", kBulletinKeyRecordID},
        {"firstNumber", kBulletinKeyOriginalRecordID},
        {"date", kBulletinKeyDate},
        {"firstDate", kBulletinKeyOriginalDate},
        {"keptUntil", kBulletinKeyExpirationDate},
        {"title", kBulletinKeyTitle},
        {"message", kBulletinKeyMessage},
        {"assetCount", kBulletinKeyAssetCount},
        {"keyAsset", kBulletinKeyAssetUUID},
        {"senders", kBulletinKeySenderNames},
        {"url", kBulletinKeyDefaultURL},
    };
    for (const auto &[key, original] : values)
        if (JSON value = valueOf(bulletin, original); !value.is_null())
            described[key] = std::move(value);
    const auto *album = bulletin.get<String>(kBulletinKeyAlbumUUID->utf8());
    const auto *name = bulletin.get<String>(kBulletinKeyTitle->utf8());
    if (album != nullptr && name != nullptr)
        described["album"] = describeAlbum(std::string(album->utf8()), std::string(name->utf8()));
    return described;
}

Result<ExitCode> bulletins(const Options &options) {
    JXGatekeeperClient *client = JXGatekeeperClient::sharedInstance();
    if (const auto answers = requireDaemon(); !answers)
        return passOn(answers);
    const Array *all = client->getCurrentBulletins();
    if (all == nullptr)
        return fail(ProblemKind::failed, localized("the daemon can't list the bulletins; see its log"));
    JSON described = JSON::array();
    Table table({{"DATE"}, {"ABOUT"}, {"BULLETIN"}});
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
    printListing(described, table, localized("there are no bulletins"), options.json);
    if (options.clear && last != 0) {
        client->clearAllBulletinsWithLastClearedRecordID(last);
        if (const auto received = waitUntilReceived(); !received)
            return passOn(received);
    }
    return ExitCode::success;
}

} // namespace

void setUpBulletins(Command command) {
    command.footer("Example:\n  wickerlane bulletins --clear");
    Options &options = command.runs(bulletins);
    command.addFlag("--clear", options.clear, "Clear the bulletins that were shown");
    command.addFlag("--json", options.json, "Write JSON");
}

} // namespace wickerlane::cli
