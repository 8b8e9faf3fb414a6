// Bundles: folders that hold resources, texts in several languages among them.
//
//     Name.bundle/
//         Info.plist               a property list; its "DevelopmentLanguage" has all texts
//         <language>.lproj/        a localization, such as de.lproj or zh-Hant.lproj
//             <table>.strings      a string table (see StringTable.h)
//         <table>.strings          a string table for all languages
//
// Bundles by name lie in the folders that the environment variable WICKERLANE_BUNDLES lists; when it is not
// set, in /Library/Bundles below the root and in share/wickerlane/bundles of the installation.
#ifndef WICKERLANE_PLATFORM_BUNDLE_BUNDLE_H
#define WICKERLANE_PLATFORM_BUNDLE_BUNDLE_H

#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/object/String.h"

namespace wickerlane {

/// A class, and the name of the bundle that holds its resources. Never destroyed.
struct BundledClass {
    const Class *held;  ///< Never null.
    const char *bundle; ///< Never null.
};

/// In a source file of this library: says which bundle holds a class. The linker gathers these into one
/// constant table.
#define WL_CLASS_OF_BUNDLE(T, bundleName)                                                    \
    static constinit const ::wickerlane::BundledClass bundled##T{&T::classInfo, bundleName}; \
    [[gnu::section("wickerlane_bundled"),                                                    \
      gnu::used]] static constinit const ::wickerlane::BundledClass *const bundledEntry##T = &bundled##T

/// A folder of resources, whose contents are foreign data: anything missing, unreadable or malformed counts
/// as not there. Thread-safe.
class WL_EXPORT Bundle : public Object {
    WL_OBJECT
public:
    /// The bundle of a folder, which need not exist.
    [[nodiscard]] static Ref<Bundle> create(std::string path);

    // These are made once, and live as long as the process.

    /// The bundle of this program: the folder of its executable.
    [[nodiscard]] static Bundle *main();
    /// The bundle of that name; null when no such folder is found, or for what is no name.
    [[nodiscard]] static Bundle *named(std::string_view name);
    /// The bundle that holds a class; that of the program for a class that none holds or whose bundle is not
    /// found, and for null.
    [[nodiscard]] static Bundle *forClass(const Class *c);
    /// Says which bundle holds a class of the caller's own. What was said last counts; `added` must live as
    /// long as the process.
    static void registerClass(const BundledClass *added);

    [[nodiscard]] const std::string &path() const noexcept { return folder; }
    /// The language that has all texts: from Info.plist; English when that does not say.
    [[nodiscard]] std::string developmentLanguage() const;
    /// The languages for which there is a localization, sorted. Read on every call.
    [[nodiscard]] std::vector<std::string> localizations() const;
    /// Of these, the ones that serve this process, the best first: by its languages, and behind them the
    /// development language.
    [[nodiscard]] std::vector<std::string> preferredLocalizations() const;
    /// The path of a file of that name and type ("strings") in a localization, or beside the localizations
    /// for an empty one; empty when there is no regular file.
    [[nodiscard]] std::string pathForResource(std::string_view name, std::string_view type,
                                              std::string_view localization) const;

    /// The text for a key, in the language of this process: from the table of the first of the preferred
    /// localizations that has that table, else from the table beside them. When it has no such text, `value`,
    /// or the key itself when `value` is null or empty; an empty text for a null key. An empty `table` means
    /// "Localizable". Tables are read once, and again after a change of the languages that was noticed.
    /// A text lives as long as the bundle; a key or value that is handed back is the caller's own object.
    [[nodiscard]] String *localizedString(String *key, String *value, std::string_view table);

    ~Bundle() override;

private:
    struct Table;
    explicit Bundle(std::string path) : folder(std::move(path)) {}
    const Table &table(std::string_view name);
    [[nodiscard]] Ref<Dictionary> read(std::string_view table) const;

    const std::string folder;
    // A list that only grows, so that it is read without a lock; what an earlier choice of languages left in
    // it stands behind what counts.
    std::atomic<const Table *> tables{nullptr};
    Mutex reading;
};

} // namespace wickerlane

#endif
