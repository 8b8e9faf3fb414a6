// wickerlane person
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "cli/DaemonRequests.h"
#include "cli/Output.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"
#include "wickerlane/client/JXGatekeeperClient.h"

namespace wickerlane::cli {
namespace {

struct Options {
    std::string person;
    std::vector<std::string> entries; ///< "key=value"
    bool clear = false;
    bool json = false;
};

Result<ExitCode> show(const Options &options) {
    const Dictionary *info =
        JXGatekeeperClient::sharedInstance()->personInfoDictionaryForPersonID(String::of(options.person));
    if (info == nullptr)
        return fail(ProblemKind::notFound,
                    localized("there is no information about the person {}", options.person));
    JSON entries = JSON::object();
    for (const auto &[key, value] : *info) {
        const std::string name(as<String>(key)->utf8()), text(value->description()->utf8());
        entries[name] = text;
        if (!options.json)
            print(fmt::format("{}: {}", name, text));
    }
    if (options.json)
        printJSON({{"person", options.person}, {"entries", std::move(entries)}});
    return ExitCode::success;
}

Result<Ref<MutableDictionary>> readEntries(const std::vector<std::string> &entries) {
    auto info = MutableDictionary::create();
    for (const std::string &entry : entries) {
        const std::size_t equals = entry.find('=');
        if (equals == std::string::npos || equals == 0)
            return fail(ProblemKind::invalid, localized("{} is not KEY=VALUE", entry));
        info->set(String::of(entry.substr(0, equals)), String::of(entry.substr(equals + 1)));
    }
    return info;
}

Result<ExitCode> store(const Options &options, Dictionary *info) {
    JXGatekeeperClient::sharedInstance()->setPersonInfoDictionary(info, String::of(options.person));
    return waitUntilReceived().map([] { return ExitCode::success; });
}

Result<ExitCode> person(const Options &options) {
    if (const auto answers = requireDaemon(); !answers)
        return passOn(answers);
    if (options.clear)
        return store(options, nullptr);
    if (options.entries.empty())
        return show(options);
    const auto info = readEntries(options.entries);
    return info ? store(options, info->get()) : passOn(info);
}

} // namespace

void setUpPerson(Command command) {
    command.footer("Example:\n  wickerlane person p-17 name=Ada city=London");
    Options &options = command.runs(person);
    command.addOption("PERSON", options.person, "ID of the person").required();
    const auto entries =
        command.addOption("ENTRY", options.entries, "KEY=VALUE; the entries replace all old ones");
    command.addFlag("--clear", options.clear, "Delete all information").excludes(entries);
    command.addFlag("--json", options.json, "Write JSON");
}

} // namespace wickerlane::cli
