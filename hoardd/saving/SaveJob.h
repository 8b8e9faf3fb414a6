// What a caller asks to be saved.
#ifndef HOARDD_SAVING_SAVEJOB_H
#define HOARDD_SAVING_SAVEJOB_H

#include <sys/stat.h>

#include <optional>
#include <string>

#include "hoardd/library/CallersFile.h"
#include "hoardd/media/FileType.h"
#include "wickerlane/model/Result.h"
#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/surface/ImageSurface.h"

namespace wickerlane::hoardd {

/// One asset to be saved: a job dictionary, whose vocabulary JobKeys.h lists, and what travelled beside it.
struct SaveJob {
    Ref<Dictionary> dictionary; ///< Null when there is none.
    Ref<ImageSurface> image;    ///< Null when there is none.
    Ref<ImageSurface> preview;  ///< Serves as the thumbnails when none can be made of the image itself.
    CallersFiles files{false};  ///< Those that it may name.
    /// Of an asset that comes back, which the library must not have; empty for a new one.
    std::string uuid{};
    /// Of the file to be saved when the dictionary names none: unlike a text, it may hold any bytes.
    std::string filePath{};
};

/// What a job says, once it has been read: where the bytes come from, which is one of three, and what its
/// caller asks for. Views live as long as the job.
struct SaveOrder {
    const Data *data = nullptr;
    UniqueFd file;
    const ImageSurface *surface = nullptr;

    std::string path;               ///< Of `file`; else empty.
    struct stat status {};          ///< Of `file` when it was opened.
    std::optional<double> modified; ///< When `file` was changed last; seconds since 2001-01-01 00:00:00 UTC.
    std::string originalFilename;   ///< Text; may be empty.
    std::string sidecarPath;        ///< Of a file of metadata that is kept with it; empty for none.
    std::string companionPath;      ///< Of a second file of the same shot; empty for none.
    std::optional<AssetKind> kind;
    std::optional<double> creationDate; ///< Seconds since 2001-01-01 00:00:00 UTC.
    bool unlessPresent = false;         ///< The same bytes are not to be saved twice.

    /// What kind of file the original will be.
    [[nodiscard]] FileType type() const;
};

/// Reads a job, and opens the file that it names. The problem is `empty` when the job names nothing to save,
/// or something empty.
[[nodiscard]] Result<SaveOrder> readJob(const SaveJob &job);

} // namespace wickerlane::hoardd

#endif
