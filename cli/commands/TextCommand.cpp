// wickerlane debug text
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include <filesystem>

#include "cli/Output.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"
#include "wickerlane/platform/bundle/LocalizationMatcher.h"
#include "wickerlane/platform/locale/Locale.h"
#include "wickerlane/util/texts/JXLocalization.h"

namespace wickerlane::cli {
namespace {

struct Options {
    std::string key;
    std::string language;
    std::string table;
    std::string bundle = "Pixhold";
    bool json = false;
};

/// A name with a slash is a path.
Result<Ref<Bundle>> findBundle(const std::string &name) {
    const bool isPath = name.find('/') != std::string::npos;
    const Ref<Bundle> bundle = !isPath                               ? Bundle::named(name)
                               : std::filesystem::is_directory(name) ? Bundle::create(name)
                                                                     : nullptr;
    if (!bundle)
        return fail(ProblemKind::notFound,
                    localized("there is no bundle {}; give a path, or the name of a bundle in a folder of "
                              "WICKERLANE_BUNDLES",
                              name));
    return bundle;
}

String *lookUp(Bundle *bundle, String *key, const std::string &table) {
    if (table.empty() && bundle == JXPixholdFrameworkBundle())
        return JXLocalizedFrameworkString(key);
    if (table.empty() && bundle == JXPixholdServicesFrameworkBundle())
        return JXServicesLocalizedFrameworkString(key);
    return bundle->localizedString(key, nullptr, table);
}

Result<ExitCode> showText(const Options &options) {
    if (!options.language.empty()) {
        chooseLanguage();
        setProcessLanguages({options.language});
    }
    const auto found = findBundle(options.bundle);
    if (!found)
        return passOn(found);
    Bundle *bundle = found->get();
    const std::vector<std::string> languages = bundle->localizations();
    if (!options.language.empty() && !languages.empty() &&
        matchingLocalizations(languages, std::vector{options.language}).empty())
        return fail(ProblemKind::invalid,
                    localized("there are no texts in \"{}\"; choose one of {}", options.language,
                              fmt::format("{}", fmt::join(languages, ", "))));
    const Ref<String> key = String::create(options.key);
    if (!key)
        return fail(ProblemKind::invalid, localized("the key is not valid UTF-8"));
    const std::string_view text = lookUp(bundle, key.get(), options.table)->utf8();
    // The library gives the key itself when there is no text.
    if (text == options.key)
        return fail(ProblemKind::notFound, localized("{} has no text for {}", bundle->path(), options.key));
    if (options.json)
        printJSON({{"key", options.key}, {"text", text}, {"languages", bundle->preferredLocalizations()}});
    else
        print(text);
    return ExitCode::success;
}

} // namespace

void setUpText(Command command) {
    command.footer("Example:\n  wickerlane debug text SELECT_PHOTOS --language pt-BR");
    Options &options = command.runs(showText);
    command.addOption("KEY", options.key, "Key of the text").required();
    command
        .addOption("-l,--language", options.language,
                   "Language, such as de or zh-Hant-HK (default: that of the environment)")
        .typeName("LANGUAGE");
    command.addOption("-t,--table", options.table, "String table (default: all, in the library's order)")
        .typeName("TABLE");
    command.addOption("-b,--bundle", options.bundle, "Name or path of the bundle")
        .typeName("BUNDLE")
        .showDefault();
    command.addFlag("--json", options.json, "Write JSON");
}

} // namespace wickerlane::cli
