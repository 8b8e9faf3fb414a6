#include "wickerlane/platform/bundle/Bundle.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <climits>
#include <memory>
#include <span>
#include <unordered_map>

#include "wickerlane/platform/bundle/LocalizationMatcher.h"
#include "wickerlane/platform/bundle/StringTable.h"
#include "wickerlane/platform/file/DataFolders.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/locale/Locale.h"
#include "wickerlane/platform/object/NeverDestroyed.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/platform/process/ProcessFacts.h"
#include "wickerlane/platform/propertylist/PropertyList.h"

// The bounds, by the linker, of the table that WL_CLASS_OF_BUNDLE fills.
extern "C" __attribute__((visibility("hidden")))
const wickerlane::BundledClass *const __start_wickerlane_bundled[]; // NOLINT
extern "C" __attribute__((visibility("hidden")))
const wickerlane::BundledClass *const __stop_wickerlane_bundled[]; // NOLINT

namespace wickerlane {
namespace {

constexpr std::size_t maxInfoBytes = std::size_t{1} << 20;
constexpr std::size_t maxLocalizations = 1024; // there are fewer languages that software is written in
constexpr std::string_view localizationSuffix = ".lproj";
constexpr std::string_view fallbackLanguage = "en";

struct Registry {
    Mutex mutex;
    std::unordered_map<std::string, Ref<Bundle>> bundles WL_GUARDED_BY(mutex); // by path
    std::vector<const BundledClass *> classes WL_GUARDED_BY(mutex);
};

Registry &registry() {
    static NeverDestroyed<Registry> made;
    return *made;
}

Bundle *sharedBundle(std::string path) {
    Registry &shared = registry();
    const MutexLock lock(shared.mutex);
    Ref<Bundle> &bundle = shared.bundles[path];
    if (!bundle)
        bundle = Bundle::create(std::move(path));
    return bundle.get();
}

// Whether it can be the name of one thing in a folder.
bool isName(std::string_view name) {
    return !name.empty() && name.size() <= NAME_MAX && !name.starts_with('.') &&
           name.find_first_of(std::string_view("/\0", 2)) == name.npos;
}

mode_t kindOf(const std::string &path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? status.st_mode & S_IFMT : 0;
}

std::string executableFolder() {
    return std::string(parentFolder(ownExecutable()));
}

std::string_view bundleOf(std::span<const BundledClass *const> classes, const Class *c) {
    const auto found =
        std::find_if(classes.rbegin(), classes.rend(), [c](const auto *each) { return each->held == c; });
    return found == classes.rend() ? std::string_view() : (*found)->bundle;
}

std::string_view bundleOf(const Class *c) {
    {
        Registry &shared = registry();
        const MutexLock lock(shared.mutex);
        if (const std::string_view added = bundleOf(shared.classes, c); !added.empty())
            return added;
    }
    return bundleOf({__start_wickerlane_bundled, __stop_wickerlane_bundled}, c);
}

} // namespace

constinit const Class Bundle::classInfo{"Bundle", &Object::classInfo, nullptr};
WL_BUILT_IN_CLASS(Bundle);

struct Bundle::Table {
    std::string name;
    std::uint64_t generation; // of the languages by which it was chosen
    Ref<Dictionary> texts;
    const Table *next;
};

Ref<Bundle> Bundle::create(std::string path) {
    return Ref<Bundle>::adopt(new Bundle(std::move(path)));
}

Bundle::~Bundle() {
    for (const Table *each = tables.load(); each != nullptr;)
        delete std::exchange(each, each->next);
}

Bundle *Bundle::main() {
    static Bundle *made = sharedBundle(executableFolder());
    return made;
}

Bundle *Bundle::named(std::string_view name) {
    if (!isName(name))
        return nullptr;
    for (std::string path : dataFolders("WICKERLANE_BUNDLES", "/Library/Bundles", "bundles")) {
        path.append("/").append(name).append(".bundle");
        if (kindOf(path) == S_IFDIR)
            return sharedBundle(std::move(path));
    }
    return nullptr;
}

Bundle *Bundle::forClass(const Class *c) {
    Bundle *found = c == nullptr ? nullptr : named(bundleOf(c));
    return found == nullptr ? main() : found;
}

void Bundle::registerClass(const BundledClass *added) {
    Registry &shared = registry();
    const MutexLock lock(shared.mutex);
    shared.classes.push_back(added);
}

std::string Bundle::developmentLanguage() const {
    std::vector<std::byte> bytes;
    if (readFile(folder + "/Info.plist", bytes, maxInfoBytes)) {
        const Ref<Object> root = createPropertyListObject(bytes);
        if (const auto *info = as<Dictionary>(root.get()))
            if (const auto *language = info->get<String>("DevelopmentLanguage");
                language && language->length() > 0)
                return std::string(language->utf8());
    }
    return std::string(fallbackLanguage);
}

std::vector<std::string> Bundle::localizations() const {
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR *)> opened(opendir(folder.c_str()), closedir);
    while (const dirent *entry = opened ? readdir(opened.get()) : nullptr) {
        const std::string_view name = entry->d_name;
        if (!name.ends_with(localizationSuffix) || !isName(name) ||
            kindOf(folder + '/' + entry->d_name) != S_IFDIR)
            continue;
        names.emplace_back(name.substr(0, name.size() - localizationSuffix.size()));
        if (names.size() == maxLocalizations)
            break;
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> Bundle::preferredLocalizations() const {
    const std::vector<std::string> all = localizations();
    std::vector<std::string> languages = processLanguages();
    languages.push_back(developmentLanguage());
    return matchingLocalizations(all, languages);
}

std::string Bundle::pathForResource(std::string_view name, std::string_view type,
                                    std::string_view localization) const {
    std::string file(name);
    if (!type.empty())
        file.append(".").append(type);
    if (!isName(file))
        return {};
    std::string path = folder;
    if (!localization.empty()) {
        if (!isName(localization))
            return {};
        path.append("/").append(localization).append(localizationSuffix);
    }
    path.append("/").append(file);
    // Not through a link: such a file would not be read.
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) ? path : std::string();
}

// A table that can't be read is as good as none, so that the next language has its turn.
Ref<Dictionary> Bundle::read(std::string_view table) const {
    std::vector<std::string> places = preferredLocalizations();
    places.emplace_back();
    for (const std::string &place : places)
        if (const std::string path = pathForResource(table, "strings", place); !path.empty())
            if (Ref<Dictionary> texts = createStringTableFromFile(path))
                return texts;
    return Dictionary::create();
}

const Bundle::Table &Bundle::table(std::string_view name) {
    const auto find = [&](std::uint64_t generation) {
        const Table *each = tables.load(std::memory_order_acquire);
        while (each != nullptr && (each->generation != generation || each->name != name))
            each = each->next;
        return each;
    };
    if (const Table *found = find(localeGeneration()))
        return *found;
    const MutexLock lock(reading);
    // Before the languages are read: what is read for newer ones is merely read again.
    const std::uint64_t generation = localeGeneration();
    if (const Table *found = find(generation))
        return *found;
    const auto *added = new Table{std::string(name), generation, read(name), tables.load()};
    tables.store(added, std::memory_order_release);
    return *added;
}

String *Bundle::localizedString(String *key, String *value, std::string_view tableName) {
    if (key != nullptr) {
        const Table &used = table(tableName.empty() ? "Localizable" : tableName);
        if (auto *text = used.texts->count() > 0 ? as<String>(used.texts->get(key)) : nullptr)
            return text;
    }
    String *otherwise = value != nullptr && value->length() > 0 ? value : key;
    return otherwise != nullptr ? otherwise : String::empty();
}

} // namespace wickerlane
