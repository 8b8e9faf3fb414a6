// Files that the page saves into the library.
#ifndef CLI_VIEW_IMPORTS_H
#define CLI_VIEW_IMPORTS_H

#include <httplib.h>

#include "cli/Output.h"
#include "wickerlane/model/Result.h"

namespace wickerlane::cli::view {

/// Saves the body of /api/import, which goes to the disk as it comes.
Result<JSON> importFile(const httplib::Request &request, const httplib::ContentReader &body);

} // namespace wickerlane::cli::view

#endif
