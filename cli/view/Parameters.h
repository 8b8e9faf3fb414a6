// What a request asks for.
#ifndef CLI_VIEW_PARAMETERS_H
#define CLI_VIEW_PARAMETERS_H

#include <httplib.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cli/Output.h"
#include "wickerlane/model/AssetQuery.h"
#include "wickerlane/model/Result.h"

namespace wickerlane::cli::view {

/// Assets that one request may name.
inline constexpr std::size_t maxNamedAssets = 10'000;

/// A UUID in the form in which the library has it; empty for another text.
std::string uuidIn(std::string_view text);

/// A whole number, not negative, or `otherwise` when the request has none of that name.
Result<std::uint64_t> numberIn(const httplib::Request &request, const char *name, std::uint64_t otherwise);
/// The first moment of a day, "2026-11-24", as a filter has it. Nothing when the request has none.
Result<std::optional<double>> dayIn(const httplib::Request &request, const char *name);

/// Hidden assets are left out unless the request asks for them.
Result<AssetFilter> filterIn(const httplib::Request &request);

// Of the body of a change.

Result<JSON> objectIn(const std::string &body);
/// A UUID that must be there.
Result<std::string> uuidIn(const JSON &body, const char *name);
/// UUIDs, at least one and no more than allowed.
Result<std::vector<std::string>> uuidsIn(const JSON &body, const char *name);
/// A text that must be there.
Result<std::string> textIn(const JSON &body, const char *name);
Result<std::int64_t> integerIn(const JSON &body, const char *name);

} // namespace wickerlane::cli::view

#endif
