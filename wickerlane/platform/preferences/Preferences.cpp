#include "wickerlane/platform/preferences/Preferences.h"

#include <cerrno>
#include <charconv>
#include <string>
#include <unordered_map>

#include "wickerlane/platform/file/FileLock.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/notification/LocalNotification.h"
#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/object/NeverDestroyed.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/preferences/PreferenceFile.h"
#include "wickerlane/platform/preferences/PreferenceWatch.h"
#include "wickerlane/platform/process/ProcessFacts.h"
#include "wickerlane/platform/propertylist/PropertyList.h"

namespace wickerlane {
namespace {

struct Preferences {
    Mutex mutex;
    std::unordered_map<std::string, PreferenceFile> files WL_GUARDED_BY(mutex); // by path
    std::string applicationDomain WL_GUARDED_BY(mutex);
};

Preferences &preferences() {
    static NeverDestroyed<Preferences> made;
    return *made;
}

Ref<Object> valueIn(std::string_view domain, std::string_view key) {
    const std::string path = PreferenceFile::pathOf(domain);
    if (path.empty())
        return nullptr;
    Preferences &shared = preferences();
    const MutexLock lock(shared.mutex);
    return shared.files[path].contents(path)->get(key);
}

std::string domainOfExecutable() {
    const std::string name(lastPathComponent(ownExecutable()));
    return name == "hoardd" || name == "wickerlane" ? "org.wickerlane." + name : name;
}

// False, with errno, when it can't be stored.
bool storeValue(const std::string &path, String *key, Object *value) {
    if (!makeFolders(std::string(parentFolder(path))))
        return false;
    // The lock is a file beside, since the file itself is replaced.
    const UniqueFd lock = openLocked(path + ".lock");
    if (!lock)
        return false;
    const Ref<Dictionary> before = PreferenceFile::read(path);
    if (!before)
        return false;
    if (value == nullptr && before->get(key) == nullptr)
        return true;
    const Ref<MutableDictionary> changed = MutableDictionary::create(before.get());
    changed->set(key, value);
    const Ref<Data> data = createPropertyListData(changed.get());
    if (!data) {
        errno = EINVAL;
        return false;
    }
    return replaceFile(path, {static_cast<const std::byte *>(data->bytes()), data->length()});
}

} // namespace

Object *preferenceValue(std::string_view key, std::string_view domain) {
    Ref<Object> value = valueIn(domain, key);
    if (!value)
        value = valueIn(globalPreferencesDomain, key);
    return autorelease(std::move(value));
}

std::int64_t preferenceInteger(std::string_view key, std::string_view domain, std::int64_t otherwise) {
    ReleaseScope scope;
    Object *value = preferenceValue(key, domain);
    if (const auto *number = as<Number>(value))
        return number->int64Value();
    if (const auto *text = as<String>(value)) {
        const std::string_view digits = text->utf8();
        std::int64_t spelt = 0;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), spelt);
        if (error == std::errc() && end == digits.data() + digits.size())
            return spelt;
    }
    return otherwise;
}

bool setPreferenceValue(std::string_view key, Object *value, std::string_view domain) {
    const std::string path = PreferenceFile::pathOf(domain);
    const Ref<String> keyText = String::create(key), domainText = String::create(domain);
    if (path.empty() || !keyText) {
        errno = EINVAL;
        return false;
    }
    if (!storeValue(path, keyText.get(), value))
        return false;
    postLocalNotification(preferencesDidChangeNotification, domainText.get());
    return true;
}

void synchronizePreferences(std::string_view domain) {
    const std::string path = PreferenceFile::pathOf(domain);
    Preferences &shared = preferences();
    const MutexLock lock(shared.mutex);
    shared.files.erase(path);
}

bool watchPreferences() {
    return PreferenceWatch::shared().start();
}

std::string applicationDomain() {
    Preferences &shared = preferences();
    const MutexLock lock(shared.mutex);
    if (shared.applicationDomain.empty())
        shared.applicationDomain = domainOfExecutable();
    return shared.applicationDomain;
}

void setApplicationDomain(std::string_view domain) {
    Preferences &shared = preferences();
    const MutexLock lock(shared.mutex);
    shared.applicationDomain = domain;
}

} // namespace wickerlane
