#include "cli/TargetFolder.h"

#include <filesystem>

#include "cli/FileFailures.h"
#include "cli/Texts.h"
#include "wickerlane/model/MediaType.h"
#include "wickerlane/platform/object/Paths.h"

namespace wickerlane::cli {

Result<> requireTargetFolder(const std::string &path) {
    std::error_code error;
    const bool isThere = std::filesystem::exists(path, error);
    if (isThere && !std::filesystem::is_directory(path, error))
        return fail(ProblemKind::invalid, localized("{} is not a folder; several assets need one", path));
    if (!isThere && !path.ends_with('/') && mediaTypeOfExtension(pathExtension(path)) != nullptr)
        return fail(ProblemKind::invalid,
                    localized("{0} is the name of a file, and several assets need a folder. To make a folder "
                              "of this name: --to {0}/",
                              path));
    std::filesystem::create_directories(path, error);
    if (std::error_code unknown; !std::filesystem::is_directory(path, unknown))
        return fail(ProblemKind::invalid,
                    localized("{} can't be made: {}", path, textOfError(error.value())));
    return {};
}

} // namespace wickerlane::cli
