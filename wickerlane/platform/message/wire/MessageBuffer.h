// The memory that received messages are read from in place.
#ifndef WICKERLANE_PLATFORM_MESSAGE_WIRE_MESSAGEBUFFER_H
#define WICKERLANE_PLATFORM_MESSAGE_WIRE_MESSAGEBUFFER_H

#include <cstdlib>
#include <new>

#include "wickerlane/platform/object/Object.h"

namespace wickerlane {

/// Bytes received from a peer. Shared by the messages that lie in it, and by the values read from them.
class MessageBuffer final : public Object {
public:
    /// Uninitialised bytes; null when there is no memory.
    [[nodiscard]] static Ref<MessageBuffer> create(std::size_t capacity) {
        auto *memory = static_cast<std::byte *>(std::malloc(capacity));
        return memory == nullptr ? nullptr : Ref<MessageBuffer>::adopt(new MessageBuffer(memory, capacity));
    }
    [[nodiscard]] std::byte *bytes() const noexcept { return memory; }
    [[nodiscard]] std::size_t capacity() const noexcept { return size; }
    /// Makes it larger, before anything refers to its bytes; false when there is no memory.
    [[nodiscard]] bool grow(std::size_t capacity) noexcept {
        auto *moved = static_cast<std::byte *>(std::realloc(memory, capacity));
        if (moved == nullptr)
            return false;
        memory = moved;
        size = capacity;
        return true;
    }

    /// Has an object live as long as this.
    void keep(Ref<Object> kept) noexcept { keptObject = std::move(kept); }

    ~MessageBuffer() override { std::free(memory); }

private:
    MessageBuffer(std::byte *owned, std::size_t capacity) noexcept : memory(owned), size(capacity) {}
    std::byte *memory;
    std::size_t size;
    Ref<Object> keptObject;
};

} // namespace wickerlane

#endif
