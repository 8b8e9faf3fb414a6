#include "cli/SharedJSON.h"

#include <nlohmann/json.hpp>

namespace wickerlane::cli {

JSON describePlace(double latitude, double longitude) {
    return {{"latitude", latitude}, {"longitude", longitude}};
}

JSON describeProblem(const std::string &path, const std::string &problem) {
    return {{"path", path}, {"problem", problem}};
}

JSON describeAlbum(const std::string &uuid, const std::string &name) {
    return {{"uuid", uuid}, {"name", name}};
}

} // namespace wickerlane::cli
