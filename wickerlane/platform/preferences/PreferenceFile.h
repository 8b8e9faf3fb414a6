// The file of one preferences domain.
#ifndef WICKERLANE_PLATFORM_PREFERENCES_PREFERENCEFILE_H
#define WICKERLANE_PLATFORM_PREFERENCES_PREFERENCEFILE_H

#include <sys/stat.h>

#include <string>
#include <string_view>

#include "wickerlane/platform/object/Dictionary.h"

namespace wickerlane {

/// What a domain's file held when it was last read, and how to tell whether it still does. One thread at a
/// time.
class PreferenceFile {
public:
    /// The path of a domain's file; empty for a name that is no domain.
    [[nodiscard]] WL_EXPORT static std::string pathOf(std::string_view domain);

    /// The domain's dictionary, read again when the file has changed; empty for a file that is missing or
    /// damaged. Never null.
    [[nodiscard]] const Ref<Dictionary> &contents(const std::string &path);
    /// Reads the file. Null, with errno, when it is there but can't be read as a dictionary.
    [[nodiscard]] static Ref<Dictionary> read(const std::string &path);

private:
    struct stat status {};
    bool trusted = false; // the file is unchanged while its status is
    Ref<Dictionary> held;
};

} // namespace wickerlane

#endif
