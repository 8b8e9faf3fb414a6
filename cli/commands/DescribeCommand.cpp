// wickerlane debug describe
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <nlohmann/json.hpp>

#include <charconv>

#include "cli/Output.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"
#include "wickerlane/platform/bundle/LocalizationMatcher.h"
#include "wickerlane/platform/locale/Locale.h"
#include "wickerlane/util/texts/JXCountDescription.h"
#include "wickerlane/util/texts/JXLocalization.h"

namespace wickerlane::cli {
namespace {

struct Options {
    std::uint64_t photos = 0;
    std::uint64_t videos = 0;
    std::uint64_t others = 0;
    std::string language;
    bool commas = false;
    bool lowerCase = false;
    bool json = false;
};

// The parser itself would accept a number that is too large, and clamp it.
std::string problemOfCount(const std::string &text) {
    std::uint64_t value = 0;
    const char *end = text.data() + text.size();
    const auto [stopped, problem] = std::from_chars(text.data(), end, value);
    return problem == std::errc() && stopped == end ? std::string() : localized("{} is not a count", text);
}

Result<ExitCode> describeCounts(const Options &options) {
    const std::vector<std::string> languages = JXPixholdFrameworkBundle()->localizations();
    if (languages.empty())
        return fail(ProblemKind::failed,
                    localized("the texts of the library (Pixhold.bundle) are not installed; "
                              "WICKERLANE_BUNDLES can say where they are"));
    if (!options.language.empty()) {
        if (matchingLocalizations(languages, std::vector{options.language}).empty())
            return fail(ProblemKind::invalid,
                        localized("there are no texts in \"{}\"; choose one of {}", options.language,
                                  fmt::format("{}", fmt::join(languages, ", "))));
        chooseLanguage();
        setProcessLanguages({options.language});
    }
    const String *text = JXLocalizedCountDescription(options.photos, options.videos, options.others,
                                                     !options.lowerCase, !options.commas);
    if (options.json) {
        const auto chosen = JXPixholdFrameworkBundle()->preferredLocalizations();
        printJSON({{"language",
                    chosen.empty() ? JXPixholdFrameworkBundle()->developmentLanguage() : chosen.front()},
                   {"text", text->utf8()}});
    } else
        print(text->utf8());
    return ExitCode::success;
}

} // namespace

void setUpDescribe(Command command) {
    command.footer("Examples:\n"
                   "  wickerlane debug describe --photos 1234 --videos 1\n"
                   "  wickerlane debug describe --photos 3 --others 2 --language pt-BR --commas");
    Options &options = command.runs(describeCounts);
    const auto addCount = [&](const char *name, std::uint64_t &count, const char *help) {
        command.addOption(name, count, help).check(problemOfCount).typeName("COUNT");
    };
    addCount("--photos", options.photos, "Number of photos");
    addCount("--videos", options.videos, "Number of videos");
    addCount("--others", options.others, "Number of other items");
    command
        .addOption("--language", options.language, "Such as de or pt-BR (default: that of the environment)")
        .typeName("LANGUAGE");
    command.addFlag("--commas", options.commas, "Write a list with commas instead of a phrase");
    command.addFlag("--lower-case", options.lowerCase, "Write everything in lower case");
    command.addFlag("--json", options.json, "Write JSON");
}

} // namespace wickerlane::cli
