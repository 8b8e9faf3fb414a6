// wickerlane bulletins
#include <nlohmann/json.hpp>

#include <algorithm>

#include "cli/DaemonRequests.h"
#include "cli/Formatting.h"
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
