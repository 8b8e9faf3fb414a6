// Parts of JSON that several commands write.
#ifndef CLI_SHAREDJSON_H
#define CLI_SHAREDJSON_H

#include <string>

#include "cli/Output.h"

namespace wickerlane::cli {

/// In degrees; north and east are positive.
JSON describePlace(double latitude, double longitude);

/// A file, by its path, and what is wrong with it.
JSON describeProblem(const std::string &path, const std::string &problem);

/// An album that is not described further.
JSON describeAlbum(const std::string &uuid, const std::string &name);

} // namespace wickerlane::cli

#endif
