#include "hoardd/media/worker/Image.h"

namespace wickerlane::hoardd::media {

MediaError imageLibraryError() {
    std::string text = vips_error_buffer();
    vips_error_clear();
    // The library adds a line for each level that the failure passed; the first says what happened.
    text.resize(std::min(text.find('\n'), text.size()));
    const bool memory = text.find("out of memory") != std::string::npos ||
                        text.find("nsufficient memory") != std::string::npos ||
                        text.find("unable to allocate") != std::string::npos;
    if (memory)
        return {MediaFailure::tooLarge, ""};
    return {MediaFailure::damaged, text.empty() ? "the picture cannot be decoded" : text};
}

} // namespace wickerlane::hoardd::media
