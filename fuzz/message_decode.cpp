// Decodes a message, reads everything in it, and checks that encoding it again gives an equal message.
#include <cstdlib>

#include "wickerlane/platform/message/wire/MessageDecoder.h"
#include "wickerlane/platform/message/wire/MessageEncoder.h"

using namespace wickerlane;

namespace {

Ref<MessageDictionary> decode(std::string_view bytes) {
    const auto buffer = MessageBuffer::create(bytes.size() + 1);
    std::memcpy(buffer->bytes(), bytes.data(), bytes.size());
    return decodeMessage(buffer, {buffer->bytes(), bytes.size()}, {});
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    const auto message = decode({reinterpret_cast<const char *>(data), size});
    if (message == nullptr)
        return 0;
    std::free(message->copyDescription());
    MessageEncoder encoder;
    if (encoder.encode(FrameKind::message, 0, message.get()) != nullptr)
        std::abort(); // what was received can be sent
    std::string bytes;
    std::size_t done = 0;
    for (const auto &lent : encoder.lent()) {
        bytes += encoder.gathered().substr(done, lent.position - done);
        bytes.append(static_cast<const char *>(lent.data->bytes()), lent.data->length());
        done = lent.position;
    }
    bytes += encoder.gathered().substr(done);
    bytes.erase(0, sizeof(FrameHeader));
    // The encoding is the only one of its message, byte for byte.
    if (bytes != std::string_view(reinterpret_cast<const char *>(data), size))
        std::abort();
    const auto again = decode(bytes);
    // Not-a-number is equal to nothing, so equality is asked of the bytes alone.
    if (again == nullptr || again->count() != message->count())
        std::abort();
    return 0;
}
