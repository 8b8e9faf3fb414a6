// Reads a message as a job dictionary, as hoardd does with every save, and then what the job says.
#include <cstdlib>
#include <cstring>

#include "hoardd/saving/SaveJob.h"
#include "wickerlane/message/JXJobDictionary.h"
#include "wickerlane/platform/message/wire/MessageDecoder.h"
#include "wickerlane/platform/object/ReleaseScope.h"

using namespace wickerlane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    ReleaseScope scope;
    const auto buffer = MessageBuffer::create(size + 1);
    std::memcpy(buffer->bytes(), data, size);
    const auto message = decodeMessage(buffer, {buffer->bytes(), size}, {});
    if (message == nullptr)
        return 0;
    MutableDictionary *job = JXJobDictionaryFromMsgDictionary(message.get());
    if (job == nullptr)
        return 0;
    const auto again = Ref<MessageDictionary>::adopt(JXJobCreateMsgDictionaryFromDictionary(job));
    if (again == nullptr)
        std::abort(); // what a job dictionary holds can be sent on
    const auto order = hoardd::readJob({Ref<Dictionary>(job), nullptr, nullptr});
    if (!order)
        return 0;
    if (order->data == nullptr)
        std::abort(); // without a file or a surface, only data can be saved
    if (order->originalFilename.size() > 255 || order->originalFilename.find('/') != std::string::npos)
        std::abort();
    static_cast<void>(order->type());
    return 0;
}
