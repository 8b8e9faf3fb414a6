// The folder that several files are written to.
#ifndef CLI_TARGETFOLDER_H
#define CLI_TARGETFOLDER_H

#include <string>

#include "wickerlane/model/Result.h"

namespace wickerlane::cli {

/// Makes a folder if it is not there. Refuses a new one whose name is that of a picture or a video, unless it
/// ends with a slash: it was meant for a single file.
Result<> requireTargetFolder(const std::string &path);

} // namespace wickerlane::cli

#endif
