#include "hoardd/media/worker/JpegLayout.h"

#include <algorithm>

namespace wickerlane::hoardd::media {

namespace {

// A frame header: marker SOF0 to SOF15 but for DHT, JPG and DAC.
bool isFrameHeader(unsigned marker) {
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

} // namespace

JpegLayout layoutOfJpeg(std::span<const std::byte> file) {
    const auto *bytes = reinterpret_cast<const unsigned char *>(file.data());
    JpegLayout layout;
    for (std::size_t at = 2; at + 4 <= file.size();) {
        const unsigned marker = bytes[at + 1];
        if (bytes[at] != 0xFF || marker == 0xFF || marker == 0) {
            ++at;
            continue;
        }
        if (isFrameHeader(marker))
            layout.isProgressive = marker == 0xC2 || marker == 0xC6 || marker == 0xCA || marker == 0xCE;
        at += 2 + (std::size_t{bytes[at + 2]} << 8 | bytes[at + 3]);
        if (marker == 0xDA) {
            layout.pixels = std::min(at, file.size());
            break;
        }
    }
    return layout;
}

} // namespace wickerlane::hoardd::media
