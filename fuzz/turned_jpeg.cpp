// Pictures to be turned, which strangers may have made.
#include <cstddef>
#include <cstdint>
#include <span>

#include "cli/view/TurnedJPEG.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    using namespace wickerlane::cli::view;
    if (size == 0)
        return 0;
    const auto picture = std::as_bytes(std::span(data + 1, size - 1));
    static_cast<void>(turnedJPEG(picture, data[0] % 3 + 1));
    return 0;
}
