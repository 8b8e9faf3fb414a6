#include "wickerlane/platform/object/Paths.h"

namespace wickerlane {
namespace {

std::string_view withoutTrailingSlashes(std::string_view path) noexcept {
    while (path.size() > 1 && path.back() == '/')
        path.remove_suffix(1);
    return path;
}

// Where the last component of a path without trailing slashes begins.
std::size_t lastComponentStart(std::string_view path) noexcept {
    if (path == "/")
        return 0;
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? 0 : slash + 1;
}

// The dot before the extension of a path without trailing slashes; npos when there is no extension. A dot
// that begins the name hides the file, and one that ends it begins nothing.
std::size_t extensionDot(std::string_view path) noexcept {
    const std::size_t start = lastComponentStart(path);
    const std::size_t dot = path.rfind('.');
    const bool any = dot != std::string_view::npos && dot > start && dot + 1 < path.size() &&
                     path.substr(start).find_first_not_of('.') < dot - start;
    return any ? dot : std::string_view::npos;
}

} // namespace

std::string_view lastPathComponent(std::string_view path) noexcept {
    path = withoutTrailingSlashes(path);
    return path.substr(lastComponentStart(path));
}

std::string_view parentFolder(std::string_view path) noexcept {
    path = withoutTrailingSlashes(path);
    return path == "/" ? path : withoutTrailingSlashes(path.substr(0, lastComponentStart(path)));
}

std::string_view pathExtension(std::string_view path) noexcept {
    path = withoutTrailingSlashes(path);
    const std::size_t dot = extensionDot(path);
    return dot == std::string_view::npos ? std::string_view() : path.substr(dot + 1);
}

} // namespace wickerlane
