#include "wickerlane/platform/locale/Locale.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdlib>
#include <optional>
#include <utility>

#include "wickerlane/platform/notification/LocalNotification.h"
#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/object/NeverDestroyed.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/String.h"
#include "wickerlane/platform/preferences/Preferences.h"
#include "wickerlane/platform/queue/Once.h"

namespace wickerlane {
namespace {

struct Environment {
    std::string locale; // empty for one that has no language
    std::vector<std::string> languages;
};

struct State {
    Mutex mutex;
    std::vector<std::string> chosen WL_GUARDED_BY(mutex);
    // Read once: an application that changes its environment must not meet a thread of this library that
    // reads it.
    std::optional<Environment> environment WL_GUARDED_BY(mutex);
    // Held while the change is posted, so that a thread that finds a change noticed finds it posted as well;
    // recursive, since observers may look for changes, too.
    RecursiveMutex noticing;
    std::string known WL_GUARDED_BY(noticing); // all whose changes are posted, as it was when last read
};

State &state() {
    static NeverDestroyed<State> made;
    return *made;
}

constinit std::atomic<std::uint64_t> generation{0};

// A locale's name as the environment spells it, "sr_RS.UTF-8@latin", as a language tag; empty for the locales
// that have no language.
std::string tagOf(std::string_view posix) {
    const std::size_t at = posix.find('@');
    const std::string_view modifier = at == posix.npos ? std::string_view() : posix.substr(at + 1);
    std::string tag(posix.substr(0, std::min(posix.find('.'), at)));
    if (tag == "C" || tag == "POSIX")
        return {};
    std::replace(tag.begin(), tag.end(), '_', '-');
    constexpr std::array<std::pair<std::string_view, std::string_view>, 3> scripts{
        {{"latin", "-Latn"}, {"cyrillic", "-Cyrl"}, {"devanagari", "-Deva"}}};
    for (const auto &[name, script] : scripts)
        if (modifier == name)
            tag.insert(std::min(tag.find('-'), tag.size()), script);
    return tag;
}

std::string localeOfEnvironment() {
    for (const char *name : {"LC_ALL", "LC_MESSAGES", "LANG"})
        if (const char *value = std::getenv(name); value != nullptr && *value != '\0')
            return tagOf(value);
    return {};
}

// By the rules of gettext: the list counts only for a locale that has a language.
Environment readEnvironment() {
    Environment environment{localeOfEnvironment(), {}};
    if (environment.locale.empty())
        return environment;
    const char *listed = std::getenv("LANGUAGE");
    for (std::string_view rest = listed != nullptr ? listed : ""; !rest.empty();) {
        const std::size_t colon = std::min(rest.find(':'), rest.size());
        if (std::string tag = tagOf(rest.substr(0, colon)); !tag.empty())
            environment.languages.push_back(std::move(tag));
        rest.remove_prefix(std::min(colon + 1, rest.size()));
    }
    environment.languages.push_back(environment.locale);
    return environment;
}

Environment environment() {
    State &shared = state();
    const MutexLock lock(shared.mutex);
    if (!shared.environment)
        shared.environment = readEnvironment();
    return *shared.environment;
}

std::vector<std::string> userLanguages() {
    ReleaseScope scope;
    std::vector<std::string> languages;
    if (const auto *list = as<Array>(preferenceValue(languagesPreference, globalPreferencesDomain)))
        for (const Object *each : *list)
            if (const auto *text = as<String>(each); text != nullptr && text->length() > 0)
                languages.emplace_back(text->utf8());
    return languages;
}

std::vector<std::string> chosenLanguages() {
    State &shared = state();
    const MutexLock lock(shared.mutex);
    return shared.chosen;
}

// Posts a notification when anything has changed since this was last called.
void noticeChanges() {
    State &shared = state();
    const BasicMutexLock<RecursiveMutex> lock(shared.noticing);
    const ReleaseScope scope;
    std::string now = currentLocale();
    for (const std::string &language : processLanguages())
        now.append("\n").append(language);
    // As it stands, since others may take an odd list in another way than is done here.
    if (const Object *list = preferenceValue(languagesPreference, globalPreferencesDomain))
        now.append("\n\n").append(list->description()->utf8());
    if (shared.known == now)
        return;
    shared.known = std::move(now);
    generation.fetch_add(1, std::memory_order_release);
    postLocalNotification(localeDidChangeNotification);
}

} // namespace

std::vector<std::string> processLanguages() {
    if (std::vector<std::string> languages = chosenLanguages(); !languages.empty())
        return languages;
    if (std::vector<std::string> languages = environment().languages; !languages.empty())
        return languages;
    if (std::vector<std::string> languages = userLanguages(); !languages.empty())
        return languages;
    return {"en"};
}

void setProcessLanguages(std::vector<std::string> languages) {
    {
        State &shared = state();
        const MutexLock lock(shared.mutex);
        shared.chosen = std::move(languages);
    }
    noticeChanges();
}

void watchLocale() {
    static constinit Once observing;
    observing.run([] {
        static_cast<void>(observeLocalNotification(preferencesDidChangeNotification, nullptr,
                                                   [](const LocalNotification &) { noticeChanges(); }));
    });
    watchPreferences();
    noticeChanges();
}

void noticeLocaleChange() {
    {
        State &shared = state();
        const MutexLock lock(shared.mutex);
        shared.environment = readEnvironment();
    }
    noticeChanges();
}

std::string currentLocale() {
    if (std::vector<std::string> chosen = chosenLanguages(); !chosen.empty())
        return std::move(chosen.front());
    if (std::string locale = environment().locale; !locale.empty())
        return locale;
    if (std::vector<std::string> languages = userLanguages(); !languages.empty())
        return std::move(languages.front());
    return {};
}

std::string currentLanguageCode() {
    const std::string locale = currentLocale();
    return locale.substr(0, locale.find_first_of("-_"));
}

std::uint64_t localeGeneration() noexcept {
    return generation.load(std::memory_order_acquire);
}

} // namespace wickerlane
