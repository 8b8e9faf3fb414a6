#include "wickerlane/util/JXLocalization.h"

#include <array>
#include <atomic>

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

// Filled without a guard: callers that come first together find the same bundle and store it twice.
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

constexpr std::array frameworkTables{"Pixhold-Device", "Pixhold", "Pixhold-Avalanche", "Pixhold-GM"};
constexpr std::array servicesTables{"PixholdServices", "PixholdServices-GM"};

// A text that equals its key is a miss.
template <class Tables, class LookUp>
String *firstText(const Tables &tables, String *key, LookUp lookUp) {
    String *text = nullptr;
    for (const char *table : tables) {
        text = lookUp(table);
        if (!areEqual(text, key))
            break;
    }
    return text;
}

template <class Tables>
String *textFromBundle(Bundle *bundle, const Tables &tables, String *key) {
    return firstText(tables, key,
                     [=](const char *table) { return bundle->localizedString(key, String::empty(), table); });
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
