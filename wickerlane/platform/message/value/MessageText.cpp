#include "wickerlane/platform/message/value/MessageText.h"

#include "wickerlane/platform/object/UTF8Internal.h"

namespace wickerlane {

bool isUTF8(std::string_view text) noexcept {
    const std::size_t ascii = utf8::asciiPrefix(text);
    return ascii == text.size() || utf8::lengthInUTF16(text.substr(ascii)) != utf8::notValid;
}

} // namespace wickerlane
