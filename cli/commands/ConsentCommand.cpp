// wickerlane consent
#include <unistd.h>

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
    std::int64_t user = -1;
    bool json = false;

    [[nodiscard]] uid_t userID() const { return user >= 0 ? static_cast<uid_t>(user) : getuid(); }
};

Result<ExitCode> list(const Options &options) {
    if (const auto counted = decisionsCount(); !counted)
        return passOn(counted);
    JSON all = JSON::array();
    Table table({{"DECISION"}, {"USER", Table::Align::right}, {"PROGRAM"}});
    const auto rules = ConsentStore::shared().rules();
    for (const ConsentDecision &each : rules->decisions) {
        if (each.service != kPVGServicePhotos)
            continue;
        all.push_back({{"program", each.executable}, {"user", each.user}, {"granted", each.isGranted}});
        table.add({each.isGranted ? "granted" : "denied", std::to_string(each.user), each.executable});
    }
    printListing(all, table,
                 localized("there are no decisions; all programs of the library's owner have access"),
                 options.json);
    return ExitCode::success;
}

Result<ExitCode> decide(const Options &options, bool granted) {
    return changeDecisions([&](ConsentStore &decisions) {
        return decisions.decide(
            {kPVGServicePhotos, pathToDecideAbout(options.program), options.userID(), granted});
    });
}

Result<ExitCode> grant(const Options &options) {
    return decide(options, true);
}

Result<ExitCode> deny(const Options &options) {
    return decide(options, false);
}

Result<ExitCode> revoke(const Options &options) {
    return changeDecisions([&](ConsentStore &decisions) {
        return decisions.forget(kPVGServicePhotos, programPath(options.program), options.userID());
    });
}

} // namespace

void setUpConsent(Command command) {
    command.requireSubcommand();
    command.footer(
        "Programs of the library's owner may use it unless they are denied. Other programs may use\n"
        "it only if they are granted. A decision takes effect with the next request.\n\n"
        "A denial also holds for other names of the same file. The programs of one user are not\n"
        "protected from each other by this.\n\n"
        "Example:\n  wickerlane consent deny /usr/bin/nosy");
    const auto listing = command.addSubcommand("list", "List all decisions");
    listing.addFlag("--json", listing.runs(list).json, "Write JSON");
    const auto addVerb = [&](const char *name, const char *help, Result<ExitCode> (*work)(const Options &)) {
        const auto verb = command.addSubcommand(name, help);
        Options &options = verb.runs(work);
        verb.addOption("PROGRAM", options.program, "Path of the program").required();
        verb.addOption("--user", options.user, "For processes of this user (default: you)")
            .typeName("UID")
            .notNegative();
    };
    addVerb("grant", "Let a program use the library", grant);
    addVerb("deny", "Keep a program from using the library", deny);
    addVerb("revoke", "Remove a decision", revoke);
}

} // namespace wickerlane::cli
