// Values of messages that travel as file descriptors.
#ifndef WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGEDESCRIPTORS_H
#define WICKERLANE_PLATFORM_MESSAGE_VALUE_MESSAGEDESCRIPTORS_H

#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/memory/SharedMemory.h"
#include "wickerlane/platform/message/value/MessageKind.h"

namespace wickerlane {

/// A region of memory that the receiver maps.
class WL_EXPORT MessageSharedMemory final : public MessageValue {
    WL_OBJECT
public:
    /// `memory` must be sealed; null otherwise.
    [[nodiscard]] static Ref<MessageSharedMemory> create(SharedMemory *memory);
    [[nodiscard]] SharedMemory *memory() const noexcept {
        return region.get();
    } ///< Lives as long as the value.
    /// Maps the region into this process and gives its size; the caller unmaps it. Null and 0 on failure.
    [[nodiscard]] void *map(std::size_t *length) const { return region->map(length); }

private:
    explicit MessageSharedMemory(SharedMemory *memory)
        : MessageValue(MessageKind::sharedMemory), region(memory) {}
    Ref<SharedMemory> region;
};

/// An open file.
class WL_EXPORT MessageFileDescriptor final : public MessageValue {
    WL_OBJECT
public:
    /// Holds a duplicate of its own. Null when duplication fails.
    [[nodiscard]] static Ref<MessageFileDescriptor> create(int duplicated);
    [[nodiscard]] static Ref<MessageFileDescriptor> createAdopting(UniqueFd owned);
    [[nodiscard]] int peek() const noexcept { return fd.get(); } ///< Stays the value's.
    [[nodiscard]] int duplicate() const noexcept; ///< The caller's, close-on-exec; -1 on failure.

private:
    explicit MessageFileDescriptor(UniqueFd owned)
        : MessageValue(MessageKind::fileDescriptor), fd(std::move(owned)) {}
    UniqueFd fd;
};

} // namespace wickerlane

#endif
