// Files that the page saves into the library.
#ifndef CLI_VIEW_IMPORTS_H
#define CLI_VIEW_IMPORTS_H

#include <httplib.h>

#include "cli/Output.h"
#include "wickerlane/model/Result.h"

namespace wickerlane::cli::view {

/// Saves the body of /api/import, which goes to the disk as it comes: a file, behind it perhaps a second one
/// that may be of the same shot, then the metadata of the one and of the other. A second file that is of
/// another shot is saved by itself.
Result<JSON> importFile(const httplib::Request &request, const httplib::ContentReader &body);
/// Which of the files that a page is about to send may be of one shot.
Result<JSON> pairFiles(const JSON &body);

} // namespace wickerlane::cli::view

#endif
