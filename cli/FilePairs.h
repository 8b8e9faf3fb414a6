// Files that may be of one shot, as their names and first bytes say.
#ifndef CLI_FILEPAIRS_H
#define CLI_FILEPAIRS_H

#include <map>
#include <string>
#include <vector>

namespace wickerlane::cli {

/// The second files among some, by the paths of the first: beside each other, with names that differ in
/// their extensions alone. A JPEG or HEIF picture comes first; second is a raw file, or else a video. hoardd
/// decides by contents and times whether they are of one shot.
[[nodiscard]] std::map<std::string, std::string> pairsAmong(const std::vector<std::string> &files);
/// The same of files that are elsewhere, by their first bytes: `mediaTypeBytes` of them, or all.
[[nodiscard]] std::map<std::string, std::string> pairsAmong(const std::map<std::string, std::string> &starts);

} // namespace wickerlane::cli

#endif
