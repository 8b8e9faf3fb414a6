// wickerlane consent, wickerlane entitlement
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>

#include "cli/Output.h"
#include "wickerlane/platform/consent/Consent.h"
#include "wickerlane/protocol/Entitlements.h"

namespace wickerlane::cli {
namespace {

namespace fs = std::filesystem;

struct Options {
    std::string program;
    std::string name;
    std::int64_t user = -1;
    bool json = false;
};

/// Programs are known by the path that the kernel gives: absolute, without links.
std::string programPath(const std::string &program) {
    std::error_code error;
    const fs::path path = fs::canonical(program, error);
    return error ? fs::absolute(program).lexically_normal().string() : path.string();
}

uid_t userOf(const Options &options) {
    return options.user >= 0 ? static_cast<uid_t>(options.user) : getuid();
}

ExitCode outcome(bool done) {
    if (done)
        return ExitCode::success;
    return fail(
        ExitCode::failure,
        fmt::format("the decisions can't be changed: {}. They belong to the owner of the library's root",
                    std::strerror(errno)));
}

ExitCode listConsent(bool json) {
    JSON all = JSON::array();
    Table table({{"DECISION"}, {"USER", Table::Align::right}, {"PROGRAM"}});
    for (const ConsentDecision &each : ConsentStore::shared().decisions()) {
        if (each.service != kPVGServicePhotos)
            continue;
        all.push_back({{"program", each.executable}, {"user", each.user}, {"granted", each.isGranted}});
        table.add({each.isGranted ? "granted" : "denied", std::to_string(each.user), each.executable});
    }
    if (json)
        printJSON(all);
    else if (all.empty())
        note("nobody has decided anything; the library's owner has access");
    else
        table.print();
    return ExitCode::success;
}

ExitCode listEntitlements(bool json) {
    JSON all = JSON::object();
    Table table({{"PROGRAM"}, {"ENTITLEMENTS"}});
    for (const ProgramEntitlements &each : ConsentStore::shared().entitlements()) {
        all[each.executable] = each.names;
        table.add(
            {each.executable, each.names.empty() ? "none" : fmt::format("{}", fmt::join(each.names, ", "))});
    }
    if (json)
        printJSON(all);
    else if (all.empty())
        note("no program is listed");
    else
        table.print();
    return ExitCode::success;
}

Command addVerb(Command command, const char *name, const char *help,
                const std::shared_ptr<Options> &options) {
    const auto verb = command.addSubcommand(name, help);
    verb.addOption("PROGRAM", options->program, "Path of the program").required();
    return verb;
}

} // namespace

void addConsent(Command app, Action &chosen) {
    const auto command = app.addSubcommand("consent", "Decide which programs may use the library");
    command.requireSubcommand();
    command.footer(
        "The owner's programs may, unless they are denied; others only when they are granted. A decision\n"
        "holds from the next request on.\n\n"
        "Example:\n  wickerlane consent deny /usr/bin/nosy");
    auto options = std::make_shared<Options>();
    const auto list = command.addSubcommand("list", "Show what has been decided");
    list.addFlag("--json", options->json, "Write JSON");
    list.callback([options, &chosen] { chosen = [options] { return listConsent(options->json); }; });
    const auto addDecision = [&](const char *name, const char *help, std::optional<bool> granted) {
        const auto verb = addVerb(command, name, help, options);
        verb.addOption("--user", options->user, "For that user's processes (default: yours)")
            .typeName("UID")
            .notNegative();
        verb.callback([options, granted, &chosen] {
            chosen = [options, granted] {
                const std::string program = programPath(options->program);
                auto &store = ConsentStore::shared();
                return outcome(granted
                                   ? store.decide({kPVGServicePhotos, program, userOf(*options), *granted})
                                   : store.forget(kPVGServicePhotos, program, userOf(*options)));
            };
        });
    };
    addDecision("grant", "Let a program use the library", true);
    addDecision("deny", "Keep a program out", false);
    addDecision("revoke", "Take a decision back", std::nullopt);
}

void addEntitlement(Command app, Action &chosen) {
    const auto command = app.addSubcommand("entitlement", "Say what programs are entitled to");
    command.requireSubcommand();
    command.footer(
        "Entitlements:\n"
        "  write-assets    setting edited renditions\n"
        "  delete-assets   deleting assets\n\n"
        "In a library of your own, your programs are entitled to everything until they are listed here.\n\n"
        "Example:\n  wickerlane entitlement revoke /usr/bin/viewer delete-assets");
    auto options = std::make_shared<Options>();
    const auto list = command.addSubcommand("list", "Show the programs that are listed");
    list.addFlag("--json", options->json, "Write JSON");
    list.callback([options, &chosen] { chosen = [options] { return listEntitlements(options->json); }; });
    for (const bool granted : {true, false}) {
        const auto verb = granted ? addVerb(command, "grant", "Entitle a program", options)
                                  : addVerb(command, "revoke", "Take an entitlement from a program", options);
        verb.addOption("ENTITLEMENT", options->name, "write-assets or delete-assets")
            .required()
            .oneOf({"write-assets", "delete-assets"});
        verb.callback([options, granted, &chosen] {
            chosen = [options, granted] {
                const String *name =
                    options->name == "write-assets" ? JXWriteAssetsEntitlement : JXDeleteAssetsEntitlement;
                return outcome(
                    ConsentStore::shared().setEntitled(programPath(options->program), name->utf8(), granted));
            };
        });
    }
}

} // namespace wickerlane::cli
