// wickerlane entitlement
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include "cli/ProgramDecision.h"
#include "cli/Subcommands.h"
#include "cli/Table.h"
#include "cli/Texts.h"
#include "wickerlane/platform/consent/Consent.h"
#include "wickerlane/protocol/Entitlements.h"

namespace wickerlane::cli {
namespace {

struct Options {
    std::string program;
    std::string entitlement;
    bool json = false;
};

Result<ExitCode> list(const Options &options) {
    if (const auto counted = decisionsCount(); !counted)
        return passOn(counted);
    JSON all = JSON::array();
    Table table({{"PROGRAM"}, {"ENTITLEMENTS"}});
    const auto rules = ConsentStore::shared().rules();
    for (const ProgramEntitlements &each : rules->programs) {
        all.push_back({{"program", each.executable}, {"entitlements", each.names}});
        table.add(
            {each.executable, each.names.empty() ? "none" : fmt::format("{}", fmt::join(each.names, ", "))});
    }
    printListing(all, table, localized("no program is listed"), options.json);
    return ExitCode::success;
}

Result<ExitCode> setEntitled(const Options &options, bool granted) {
    const String *name =
        options.entitlement == "write-assets" ? JXWriteAssetsEntitlement : JXDeleteAssetsEntitlement;
    return changeDecisions([&](ConsentStore &decisions) {
        return decisions.setEntitled(pathToDecideAbout(options.program), name->utf8(), granted);
    });
}

Result<ExitCode> grant(const Options &options) {
    return setEntitled(options, true);
}

Result<ExitCode> revoke(const Options &options) {
    return setEntitled(options, false);
}

} // namespace

void setUpEntitlement(Command command) {
    command.requireSubcommand();
    command.footer(
        "Entitlements:\n"
        "  write-assets    set edited renditions\n"
        "  delete-assets   delete assets\n\n"
        "In your own library, a program of yours has every entitlement until it is listed here.\n\n"
        "Example:\n  wickerlane entitlement revoke /usr/bin/viewer delete-assets");
    const auto listing = command.addSubcommand("list", "List programs and their entitlements");
    listing.addFlag("--json", listing.runs(list).json, "Write JSON");
    const auto addVerb = [&](const char *name, const char *help, Result<ExitCode> (*work)(const Options &)) {
        const auto verb = command.addSubcommand(name, help);
        Options &options = verb.runs(work);
        verb.addOption("PROGRAM", options.program, "Path of the program").required();
        verb.addOption("ENTITLEMENT", options.entitlement, "write-assets or delete-assets")
            .required()
            .oneOf({"write-assets", "delete-assets"});
    };
    addVerb("grant", "Give an entitlement to a program", grant);
    addVerb("revoke", "Take an entitlement from a program", revoke);
}

} // namespace wickerlane::cli
