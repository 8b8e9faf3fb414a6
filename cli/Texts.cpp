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

constexpr std::string_view bundleName = "WickerlaneCommand", tableName = "Command", english = "en";

constinit std::atomic<bool> speaksEnglish{false};

bool isEnglish(const std::string &language) {
    return language == english || language.starts_with("en-");
}

struct Translations {
    std::string language;
    Ref<Dictionary> texts; ///< Null for English.

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
        texts = createStringTableFromFile(bundle->pathForResource(tableName, "strings", language));
    }

    [[nodiscard]] std::optional<std::string_view> find(std::string_view key) const {
        const auto *text = texts->get<String>(key);
        return text != nullptr ? std::optional(text->utf8()) : std::nullopt;
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
    return formatted(all != nullptr ? all->find(viewOf(text)) : std::nullopt, viewOf(text), arguments);
}

std::string localizedCountText(std::uint64_t count, fmt::string_view one, fmt::string_view other,
                               fmt::format_args arguments) {
    const std::string key(other.data(), other.size());
    std::optional<std::string_view> translation;
    if (const Translations *all = translations()) {
        translation = all->find(fmt::format("{} [{}]", key, pluralCategory(all->language, count)));
        if (!translation)
            translation = all->find(key);
    }
    return formatted(translation, count == 1 ? viewOf(one) : key, arguments);
}

std::string joined(const std::vector<std::string> &parts) {
    return fmt::format("{}", fmt::join(parts, localized(", ")));
}

} // namespace wickerlane::cli
