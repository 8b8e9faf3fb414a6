#include "wickerlane/message/JXMsgData.h"

#include <sys/mman.h>

#include <cerrno>
#include <cstring>

#include "wickerlane/log/JXLog.h"

using namespace wickerlane;

constinit const Class JXMsgData::classInfo{"JXMsgData", &Data::classInfo, nullptr};
constinit const Class JXMsgShMemData::classInfo{"JXMsgShMemData", &Data::classInfo, nullptr};
WL_BUILT_IN_CLASS(JXMsgData);
WL_BUILT_IN_CLASS(JXMsgShMemData);

Ref<JXMsgData> JXMsgData::initWithMsgData(MessageData *data) {
    return data != nullptr ? Ref<JXMsgData>::adopt(new JXMsgData(data)) : nullptr;
}

const void *JXMsgData::bytes() const {
    return _data->bytes();
}

std::size_t JXMsgData::length() const {
    return _data->length();
}

void JXMsgData::getBytes(void *destination, std::size_t count) const {
    _data->getBytes(destination, 0, count);
}

void JXMsgData::getBytes(void *destination, Range range) const {
    _data->getBytes(destination, range.location, range.length);
}

String *JXMsgData::debugDescription() const {
    return String::format("<%@: %p> length=%lu", static_cast<const Object *>(this),
                          static_cast<const void *>(this), static_cast<unsigned long>(length()));
}

Ref<JXMsgShMemData> JXMsgShMemData::initWithMsgShmem(MessageSharedMemory *memory) {
    if (memory == nullptr)
        return nullptr;
    std::size_t length = 0;
    void *buffer = memory->map(&length);
    return length != 0 ? Ref<JXMsgShMemData>::adopt(new JXMsgShMemData(buffer, length)) : nullptr;
}

Ref<JXMsgShMemData> JXMsgShMemData::initWithMsgShmem(MessageSharedMemory *memory, std::size_t length) {
    auto made = initWithMsgShmem(memory);
    if (made)
        made->_dataLength = length;
    return made;
}

String *JXMsgShMemData::description() const {
    return String::format("<%s: %p> bufferLength=%lu dataLength=%lu", classObject()->name,
                          static_cast<const void *>(this), static_cast<unsigned long>(_bufferLength),
                          static_cast<unsigned long>(_dataLength));
}

JXMsgShMemData::~JXMsgShMemData() {
    if (_bufferLength == 0 || munmap(_buffer, _bufferLength) == 0)
        return;
    const int error = errno; // finding out whether to log may change it
    JX_LOG(3, JXGenericLog, "munmap(2) failed. (%s)", std::strerror(error));
}
