// wickerlane text
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include <filesystem>

#include "cli/Output.h"
#include "wickerlane/platform/bundle/LocalizationMatcher.h"
#include "wickerlane/platform/locale/Locale.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/util/texts/JXLocalization.h"

namespace wickerlane::cli {
namespace {

struct Options {
    std::string key;
    std::string language;
    std::string table;
    std::string bundle;
    bool json = false;
};

// By its path when the name holds a slash. Null when there is none.
Ref<Bundle> findBundle(const std::string &name) {
    if (name.find('/') == name.npos)
        return Bundle::named(name);
    return std::filesystem::is_directory(name) ? Bundle::create(name) : nullptr;
}

String *lookUp(Bundle *bundle, String *key, const std::string &table) {
    if (table.empty() && bundle == JXPixholdFrameworkBundle())
        return JXLocalizedFrameworkString(key);
    if (table.empty() && bundle == JXPixholdServicesFrameworkBundle())
        return JXServicesLocalizedFrameworkString(key);
    return bundle->localizedString(key, nullptr, table);
}

ExitCode text(const Options &options) {
    const ReleaseScope scope;
    if (!options.language.empty())
        setProcessLanguages({options.language});
    const Ref<Bundle> bundle = findBundle(options.bundle);
    if (!bundle)
        return fail(ExitCode::notFound,
                    fmt::format("there is no bundle {}; bundles are looked for in the folders "
                                "of WICKERLANE_BUNDLES, or give a path",
                                options.bundle));
    if (!options.language.empty() && !bundle->localizations().empty() &&
        matchingLocalizations(bundle->localizations(), std::vector{options.language}).empty())
        return fail(ExitCode::usage, fmt::format("there are no texts in \"{}\"; choose one of {}",
                                                 options.language, fmt::join(bundle->localizations(), ", ")));
    const Ref<String> key = String::create(options.key);
    if (!key)
        return fail(ExitCode::usage, "the key is not valid UTF-8");
    const std::string_view found = lookUp(bundle.get(), key.get(), options.table)->utf8();
    // By its own rule the library takes a text that equals its key for none.
    if (found == options.key)
        return fail(ExitCode::notFound, fmt::format("{} has no text for {}", bundle->path(), options.key));
    if (options.json)
        printJSON({{"key", options.key}, {"text", found}, {"languages", bundle->preferredLocalizations()}});
    else
        print(found);
    return ExitCode::success;
}

} // namespace

void addText(Command app, Action &chosen) {
    const auto command = app.addSubcommand("text", "Show a text of the library in a language");
    command.footer("Example:\n  wickerlane text SELECT_PHOTOS --language pt-BR");
    auto options = std::make_shared<Options>();
    options->bundle = "Pixhold";
    command.addOption("KEY", options->key, "Key of the text").required();
    command
        .addOption("-l,--language", options->language,
                   "Language such as de or zh-Hant-HK (default: that of the environment)")
        .typeName("LANGUAGE");
    command.addOption("-t,--table", options->table, "String table (default: all, in the library's order)")
        .typeName("TABLE");
    command.addOption("-b,--bundle", options->bundle, "Name or path of the bundle")
        .typeName("BUNDLE")
        .showDefault();
    command.addFlag("--json", options->json, "Write JSON");
    command.callback([options, &chosen] { chosen = [options] { return text(*options); }; });
}

} // namespace wickerlane::cli
