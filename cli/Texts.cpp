#include "cli/Texts.h"

#include <atomic>
#include <exception>
#include <optional>
#include <string_view>

#include "wickerlane/platform/bundle/Bundle.h"
#include "wickerlane/platform/bundle/StringTable.h"
#include "wickerlane/platform/locale/Locale.h"
#include "wickerlane/platform/locale/PluralRules.h"
#include "wickerlane/platform/object/NeverDestroyed.h"
#include "wickerlane/platform/object/String.h"

namespace wickerlane::cli {
namespace {

constexpr std::string_view bundleName = "WickerlaneCommand", english = "en";
// The command's own texts, and those of the daemon about problems.
constexpr std::string_view commandTable = "Command", problemTable = "Problems";

constinit std::atomic<bool> speaksEnglish{false};

bool isEnglish(const std::string &language) {
    return language == english || language.starts_with("en-");
}

Ref<Dictionary> tableNamed(std::string_view name, std::string_view language) {
    const Bundle *bundle = Bundle::named(bundleName);
    return bundle != nullptr ? createStringTableFromFile(bundle->pathForResource(name, "strings", language))
                             : nullptr;
}

std::optional<std::string_view> find(const Ref<Dictionary> &texts, std::string_view key) {
    const auto *text = texts ? texts->get<String>(key) : nullptr;
    return text != nullptr ? std::optional(text->utf8()) : std::nullopt;
}

struct Translations {
    std::string language;
    Ref<Dictionary> texts, problems; ///< Null for English.

    // Kept, since commands may change the languages of the process.
    Translations() {
        if (isEnglish(processLanguages().front())) // the usual case, in which nothing is read
            return;
        const Bundle *bundle = Bundle::named(bundleName);
        if (bundle == nullptr)
            return;
        const auto localizations = bundle->preferredLocalizations();
        if (localizations.empty() || isEnglish(localizations.front()))
            return;
        language = localizations.front();
        texts = tableNamed(commandTable, language);
        problems = problemTexts(language);
    }
};

/// Null in English.
const Translations *translations() {
    if (speaksEnglish.load())
        return nullptr;
    static NeverDestroyed<const Translations> found;
    return found->texts ? &*found : nullptr;
}

std::string formatted(std::optional<std::string_view> translation, std::string_view otherwise,
                      fmt::format_args arguments) {
    if (translation)
        try {
            return fmt::vformat(*translation, arguments);
        } catch (const std::exception &) { // its places do not fit
        }
    return fmt::vformat(otherwise, arguments);
}

std::string_view viewOf(fmt::string_view text) {
    return {text.data(), text.size()};
}

} // namespace

void chooseLanguage() {
    static_cast<void>(translations());
}

void speakEnglish() {
    speaksEnglish.store(true);
}

bool isInEnglish() {
    return translations() == nullptr;
}

std::string localizedText(fmt::string_view text, fmt::format_args arguments) {
    const Translations *all = translations();
    return formatted(all != nullptr ? find(all->texts, viewOf(text)) : std::nullopt, viewOf(text), arguments);
}

Ref<Dictionary> problemTexts(std::string_view language) {
    return tableNamed(problemTable, language);
}

std::optional<std::string> translatedProblem(std::string_view text) {
    const Translations *all = translations();
    if (all == nullptr)
        return std::nullopt;
    if (const auto whole = find(all->problems, text))
        return std::string(*whole);
    constexpr std::string_view stop = ". ";
    const std::size_t end = text.find(stop);
    const auto sentence = find(all->problems, text.substr(0, end));
    if (end == text.npos || !sentence)
        return std::nullopt;
    const std::string_view advice = text.substr(end + stop.size());
    return fmt::format("{}{}{}", *sentence, find(all->problems, stop).value_or(stop),
                       find(all->problems, advice).value_or(advice));
}

std::string localizedCountText(std::uint64_t count, fmt::string_view one, fmt::string_view other,
                               fmt::format_args arguments) {
    const std::string key(other.data(), other.size());
    std::optional<std::string_view> translation;
    if (const Translations *all = translations()) {
        translation = find(all->texts, fmt::format("{} [{}]", key, pluralCategory(all->language, count)));
        if (!translation)
            translation = find(all->texts, key);
    }
    return formatted(translation, count == 1 ? viewOf(one) : key, arguments);
}

std::string joined(const std::vector<std::string> &parts) {
    return fmt::format("{}", fmt::join(parts, localized(", ")));
}

} // namespace wickerlane::cli
