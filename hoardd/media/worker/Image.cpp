#include "hoardd/media/worker/Image.h"

namespace wickerlane::hoardd::media {

MediaError imageLibraryError(const char *reason) {
    // The library tells causes apart by text only, and adds a line for each level that the failure passed;
    // the first says what happened.
    const std::string all = vips_error_buffer();
    const std::string text = all.substr(0, all.find('\n'));
    vips_error_clear();
    const auto says = [&](const char *part) { return text.find(part) != std::string::npos; };
    if (says("out of memory") || says("nsufficient memory") || says("unable to allocate"))
        return {MediaFailure::tooLarge, ""};
    if (says("write error"))
        return {MediaFailure::outputFailed, unwritableOutput};
    return {MediaFailure::damaged, reason};
}

} // namespace wickerlane::hoardd::media
