#include "wickerlane/platform/bundle/LocalizationMatcher.h"

#include <unicode/localematcher.h>

#include <algorithm>
#include <cstring>
#include <optional>

namespace wickerlane {
namespace {

constexpr std::size_t maxNameLength = 100; // more than any tag that names a language needs

bool isNamePart(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' || c == '_';
}

struct Localization {
    const std::string *name;
    icu::Locale locale;
    icu::Locale full; // with the script and region that its name leaves out
};

std::optional<Localization> parse(const std::string &name) {
    if (name.empty() || name.size() > maxNameLength || !std::all_of(name.begin(), name.end(), isNamePart))
        return std::nullopt;
    Localization parsed{&name, icu::Locale::createCanonical(name.c_str()), {}};
    if (parsed.locale.isBogus() || *parsed.locale.getLanguage() == '\0')
        return std::nullopt;
    UErrorCode status = U_ZERO_ERROR;
    parsed.full = parsed.locale;
    parsed.full.addLikelySubtags(status);
    return parsed;
}

std::vector<Localization> parse(std::span<const std::string> names) {
    std::vector<Localization> all;
    for (const std::string &name : names)
        if (auto parsed = parse(name))
            all.push_back(std::move(*parsed));
    return all;
}

bool isPlainFormOf(const Localization &plain, const Localization &other) {
    return *plain.locale.getCountry() == '\0' && *plain.locale.getVariant() == '\0' &&
           std::strcmp(plain.full.getLanguage(), other.full.getLanguage()) == 0 &&
           std::strcmp(plain.full.getScript(), other.full.getScript()) == 0;
}

} // namespace

std::vector<std::string> matchingLocalizations(std::span<const std::string> available,
                                               std::span<const std::string> preferred) {
    const std::vector<Localization> candidates = parse(available);
    const std::vector<Localization> languages = parse(preferred);
    if (candidates.empty() || languages.empty())
        return {};

    icu::LocaleMatcher::Builder builder;
    builder.setNoDefaultLocale();
    for (const Localization &each : candidates)
        builder.addSupportedLocale(each.locale);
    UErrorCode status = U_ZERO_ERROR;
    const icu::LocaleMatcher matcher = builder.build(status);

    std::vector<std::string> matches;
    const auto add = [&matches](const Localization &match) {
        if (std::find(matches.begin(), matches.end(), *match.name) == matches.end())
            matches.push_back(*match.name);
    };
    for (const Localization &language : languages) {
        const icu::LocaleMatcher::Result result = matcher.getBestMatchResult(language.locale, status);
        if (U_FAILURE(status))
            return matches;
        if (result.getSupportedIndex() < 0)
            continue;
        const Localization &best = candidates[static_cast<std::size_t>(result.getSupportedIndex())];
        add(best);
        for (const Localization &each : candidates)
            if (isPlainFormOf(each, best))
                add(each);
    }
    return matches;
}

} // namespace wickerlane
