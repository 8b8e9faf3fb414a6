#include "wickerlane/util/texts/JXLocalization.h"

#include <array>
#include <atomic>
#include <string>
#include <vector>

#include "wickerlane/platform/bundle/LocalizationMatcher.h"
#include "wickerlane/platform/bundle/StringTable.h"
#include "wickerlane/platform/locale/Locale.h"
#include "wickerlane/platform/notification/LocalNotification.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/preferences/Preferences.h"
#include "wickerlane/platform/process/Sanitizers.h"

#if WL_ADDRESS_SANITIZER
#include <sanitizer/lsan_interface.h>
#endif

using namespace wickerlane;

namespace {

// The classes by which the two bundles are found. Nothing makes instances of them here.
struct JXPhotoTileViewController {
    static const Class classInfo;
};
struct JXPixhold {
    static const Class classInfo;
};
constinit const Class JXPhotoTileViewController::classInfo{"JXPhotoTileViewController", &Object::classInfo,
                                                           nullptr};
constinit const Class JXPixhold::classInfo{"JXPixhold", &Object::classInfo, nullptr};
WL_BUILT_IN_CLASS(JXPhotoTileViewController);
WL_BUILT_IN_CLASS(JXPixhold);
WL_CLASS_OF_BUNDLE(JXPhotoTileViewController, "Pixhold");
WL_CLASS_OF_BUNDLE(JXPixhold, "PixholdServices");

// Filled without a guard: first callers on several threads find the same bundle and store it twice.
constinit std::atomic<Bundle *> frameworkBundle{nullptr};
constinit std::atomic<Bundle *> servicesBundle{nullptr};

Bundle *bundleOfClass(const char *name, std::atomic<Bundle *> &cache) {
    if (Bundle *cached = cache.load(std::memory_order_acquire))
        return cached;
    Bundle *found = Bundle::forClass(classNamed(name));
    found->retain();
    cache.store(found, std::memory_order_release);
    return found;
}

constexpr std::array<std::string_view, 4> frameworkTables{"Pixhold-Device", "Pixhold", "Pixhold-Avalanche",
                                                          "Pixhold-GM"};
constexpr std::array<std::string_view, 2> servicesTables{"PixholdServices", "PixholdServices-GM"};

// A text that equals its key counts as missing, save in the last table.
template <class Tables, class LookUp>
String *firstText(const Tables &tables, String *key, LookUp lookUp) {
    String *text = nullptr;
    for (const std::string_view table : tables) {
        text = lookUp(table);
        if (text != key && !areEqual(text, key))
            return text;
    }
    return text == key ? autorelease(Ref<String>(key)) : text;
}

template <class Tables>
String *textFromBundle(Bundle *bundle, const Tables &tables, String *key) {
    return firstText(tables, key, [=](std::string_view table) {
        return bundle->localizedString(key, String::empty(), table);
    });
}

// A replaced language is never released, since other threads may be using it. Each change of the language
// leaks a few bytes.
constinit std::atomic<String *> preferredLanguage{nullptr};
constinit std::atomic<bool> followsPreferences{false};

void keepAlive([[maybe_unused]] const String *replaced) {
#if WL_ADDRESS_SANITIZER
    if (replaced != nullptr)
        __lsan_ignore_object(replaced);
#endif
}

Ref<String> firstPreferredLanguage() {
    const ReleaseScope scope;
    synchronizePreferences(globalPreferencesDomain);
    const auto *languages = as<Array>(preferenceValue(languagesPreference, globalPreferencesDomain));
    if (languages != nullptr && languages->count() > 0)
        if (auto *first = as<String>(languages->at(0)))
            return first;
    const std::string code = currentLanguageCode();
    const Ref<String> language = String::create(code.empty() ? "en" : code);
    return language ? language : String::create("en");
}

void _updatePreferredLanguage() {
    std::uint64_t generation = 0;
    // Again when the locale has changed meanwhile, so that an older language never replaces a newer one.
    do {
        generation = localeGeneration();
        keepAlive(preferredLanguage.exchange(firstPreferredLanguage().leak()));
    } while (generation != localeGeneration());
}

const String *_currentPreferredLanguage() {
    if (const String *cached = preferredLanguage.load(std::memory_order_acquire))
        return cached;
    watchLocale();
    const std::uint64_t generation = localeGeneration();
    _updatePreferredLanguage();
    if (!followsPreferences.exchange(true)) {
        static_cast<void>(
            observeLocalNotification(localeDidChangeNotification, nullptr,
                                     [](const LocalNotification &) { _updatePreferredLanguage(); }));
        // A change before there was an observer.
        if (generation != localeGeneration())
            _updatePreferredLanguage();
    }
    return preferredLanguage.load(std::memory_order_acquire);
}

// The text of the localization that matches the preferred language best; null when there is none.
String *preferredText(const String *key, std::string_view table, const Bundle *bundle) {
    const String *language = _currentPreferredLanguage();
    if (key == nullptr || key->length() == 0 || table.empty() || language->length() == 0)
        return nullptr;
    const std::vector<std::string> localizations = bundle->localizations();
    const std::string wanted(language->utf8());
    const std::vector<std::string> matches = matchingLocalizations(localizations, {&wanted, 1});
    if (matches.empty())
        return nullptr;
    const std::string path = bundle->pathForResource(table, "strings", matches.front());
    const Ref<Dictionary> texts = path.empty() ? nullptr : createStringTableFromFile(path);
    return texts ? autorelease(Ref<String>(as<String>(texts->get(key)))) : nullptr;
}

String *_localizedStringFromTableInBundle(String *key, std::string_view table, Bundle *bundle) {
    String *text = preferredText(key, table, bundle);
    return text != nullptr ? text : bundle->localizedString(key, String::empty(), table);
}

} // namespace

Bundle *JXPixholdFrameworkBundle() {
    return bundleOfClass("JXPhotoTileViewController", frameworkBundle);
}

Bundle *JXPixholdServicesFrameworkBundle() {
    return bundleOfClass("JXPixhold", servicesBundle);
}

String *JXLocalizedFrameworkString(String *key) {
    return textFromBundle(JXPixholdFrameworkBundle(), frameworkTables, key);
}

String *JXServicesLocalizedFrameworkString(String *key) {
    return textFromBundle(JXPixholdServicesFrameworkBundle(), servicesTables, key);
}

String *JXServicesLocalizedFrameworkStringForHoardd(String *key) {
    return firstText(servicesTables, key, [key](std::string_view table) {
        return _localizedStringFromTableInBundle(key, table, JXPixholdServicesFrameworkBundle());
    });
}
