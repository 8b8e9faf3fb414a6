// The name of a camera.
#ifndef HOARDD_PICTURES_CAMERANAME_H
#define HOARDD_PICTURES_CAMERANAME_H

#include <string>
#include <string_view>

namespace wickerlane::hoardd {

/// What people call a camera, by what it writes of its maker and its model. The maker goes without its legal
/// form, and is left out when the model begins with it. Empty when neither is known.
[[nodiscard]] std::string cameraName(std::string_view maker, std::string_view model);

} // namespace wickerlane::hoardd

#endif
