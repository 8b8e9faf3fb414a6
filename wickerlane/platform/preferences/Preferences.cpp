#include "wickerlane/platform/preferences/Preferences.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <mutex>
#include <string>
#include <unordered_map>

#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/notification/LocalNotification.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/preferences/PreferenceFile.h"
#include "wickerlane/platform/preferences/PreferenceWatch.h"
#include "wickerlane/platform/propertylist/PropertyList.h"

namespace wickerlane {
namespace {

struct Preferences {
    std::mutex mutex;
    std::unordered_map<std::string, PreferenceFile> files; // by path
    std::string applicationDomain;
};

Preferences &preferences() {
    static Preferences &made = *new Preferences;
    return made;
}

Ref<Object> valueIn(std::string_view domain, std::string_view key) {
    const std::string path = PreferenceFile::pathOf(domain);
    if (path.empty())
        return nullptr;
    std::lock_guard guard(preferences().mutex);
    return preferences().files[path].contents(path)->get(key);
}

std::string domainOfExecutable() {
    std::array<char, PATH_MAX> buffer;
    const ssize_t length = readlink("/proc/self/exe", buffer.data(), buffer.size());
    std::string_view path(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    if (path.ends_with(" (deleted)")) // replaced while it runs, by an update
        path.remove_suffix(std::string_view(" (deleted)").size());
    const std::string name(path.substr(path.rfind('/') + 1));
    return name == "hoardd" || name == "wickerlane" ? "org.wickerlane." + name : name;
}

// False, with errno, when it can't be stored.
bool storeValue(const std::string &path, String *key, Object *value) {
    if (!makeFolders(path.substr(0, path.rfind('/'))))
        return false;
    // The lock is a file beside, since the file itself is replaced; closing it unlocks it.
    const UniqueFd lock = openFile(path + ".lock", O_RDWR | O_CREAT);
    if (!lock)
        return false;
    while (flock(lock.get(), LOCK_EX) != 0)
        if (errno != EINTR)
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
    const std::lock_guard guard(preferences().mutex);
    preferences().files.erase(path);
}

bool watchPreferences() {
    return PreferenceWatch::shared().start();
}

std::string applicationDomain() {
    std::lock_guard guard(preferences().mutex);
    std::string &domain = preferences().applicationDomain;
    if (domain.empty())
        domain = domainOfExecutable();
    return domain;
}

void setApplicationDomain(std::string_view domain) {
    std::lock_guard guard(preferences().mutex);
    preferences().applicationDomain = domain;
}

} // namespace wickerlane
