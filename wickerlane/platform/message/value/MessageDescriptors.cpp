#include "wickerlane/platform/message/value/MessageDescriptors.h"

#include <fcntl.h>

namespace wickerlane {

constinit const Class MessageSharedMemory::classInfo{"MessageSharedMemory", &MessageValue::classInfo,
                                                     nullptr};
constinit const Class MessageFileDescriptor::classInfo{"MessageFileDescriptor", &MessageValue::classInfo,
                                                       nullptr};
WL_BUILT_IN_CLASS(MessageSharedMemory);
WL_BUILT_IN_CLASS(MessageFileDescriptor);

Ref<MessageSharedMemory> MessageSharedMemory::create(SharedMemory *memory) {
    if (memory == nullptr || !memory->isSealed())
        return nullptr;
    return Ref<MessageSharedMemory>::adopt(new MessageSharedMemory(memory));
}

Ref<MessageFileDescriptor> MessageFileDescriptor::create(int duplicated) {
    return createAdopting(UniqueFd(fcntl(duplicated, F_DUPFD_CLOEXEC, 0)));
}

Ref<MessageFileDescriptor> MessageFileDescriptor::createAdopting(UniqueFd owned) {
    if (!owned)
        return nullptr;
    return Ref<MessageFileDescriptor>::adopt(new MessageFileDescriptor(std::move(owned)));
}

int MessageFileDescriptor::duplicate() const noexcept {
    return fcntl(fd.get(), F_DUPFD_CLOEXEC, 0);
}

} // namespace wickerlane
