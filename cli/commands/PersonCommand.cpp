// wickerlane person
#include <fmt/format.h>

#include <nlohmann/json.hpp>

#include "cli/OpenedLibrary.h"
#include "wickerlane/client/JXGatekeeperClient.h"

namespace wickerlane::cli {
namespace {

struct Options {
    std::string person;
    std::vector<std::string> entries; ///< "key=value"
    bool clear = false;
    bool json = false;
};

ExitCode show(const Options &options) {
    const Dictionary *info =
        JXGatekeeperClient::sharedInstance()->personInfoDictionaryForPersonID(String::of(options.person));
    if (info == nullptr)
        return fail(ExitCode::notFound, fmt::format("nothing is known of {}", options.person));
    JSON described = JSON::object();
    for (const auto &[key, value] : *info) {
        const std::string name(as<String>(key)->utf8()), text(value->description()->utf8());
        described[name] = text;
        if (!options.json)
            print(fmt::format("{}: {}", name, text));
    }
    if (options.json)
        printJSON(described);
    return ExitCode::success;
}

ExitCode person(const Options &options) {
    ReleaseScope scope;
    if (!daemonAnswers())
        return failUnreachable();
    if (!options.clear && options.entries.empty())
        return show(options);
    Ref<MutableDictionary> info = options.clear ? nullptr : MutableDictionary::create();
    for (const std::string &entry : options.entries) {
        const std::size_t equals = entry.find('=');
        if (equals == std::string::npos || equals == 0)
            return fail(ExitCode::usage, fmt::format("{} is not KEY=VALUE", entry));
        info->set(String::of(entry.substr(0, equals)), String::of(entry.substr(equals + 1)));
    }
    JXGatekeeperClient::sharedInstance()->setPersonInfoDictionary(info.get(), String::of(options.person));
    // The request has no answer; one that has tells that the daemon got it.
    return daemonAnswers() ? ExitCode::success : failUnreachable();
}

} // namespace

void addPerson(Command app, Action &chosen) {
    const auto command = app.addSubcommand("person", "Show or note what is known of a person");
    command.footer("Example:\n  wickerlane person p-17 name=Ada city=London");
    auto options = std::make_shared<Options>();
    command.addOption("PERSON", options->person, "The person's ID").required();
    const auto entries =
        command.addOption("ENTRY", options->entries, "KEY=VALUE, in place of what was known");
    command.addFlag("--clear", options->clear, "Forget what is known").excludes(entries);
    command.addFlag("--json", options->json, "Write JSON");
    command.callback([options, &chosen] { chosen = [options] { return person(*options); }; });
}

} // namespace wickerlane::cli
