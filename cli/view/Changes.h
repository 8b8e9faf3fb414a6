// Changes of the library that the page asks for.
#ifndef CLI_VIEW_CHANGES_H
#define CLI_VIEW_CHANGES_H

#include <span>
#include <string_view>

#include "cli/Output.h"
#include "wickerlane/model/Result.h"

namespace wickerlane::cli::view {

/// Makes a change that a JSON object describes, and gives what to answer.
using Change = Result<JSON>(const JSON &body);

struct NamedChange {
    std::string_view path;
    Change *make;
};

/// All changes that are described by JSON; imports send files.
std::span<const NamedChange> changesOfLibrary();

} // namespace wickerlane::cli::view

#endif
