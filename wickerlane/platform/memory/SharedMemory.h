// Memory that several processes share.
#ifndef WICKERLANE_PLATFORM_MEMORY_SHAREDMEMORY_H
#define WICKERLANE_PLATFORM_MEMORY_SHAREDMEMORY_H

#include <cstddef>

#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/object/Object.h"

namespace wickerlane {

/// A memory file of fixed size. What is received from another process is accepted only when it can neither
/// shrink nor be written any more (or is copied out, see open()).
class WL_EXPORT SharedMemory final : public Object {
    WL_OBJECT
public:
    /// Zero-filled memory, writable through writableBytes() until seal(). Null when there is no memory for
    /// it.
    [[nodiscard]] static Ref<SharedMemory> create(std::size_t length);
    /// Takes a received descriptor. Null, with nothing mapped, when it is not a memory file, is empty or
    /// longer than `limit`, or may still shrink. One that may still be written is copied into one that may
    /// not.
    [[nodiscard]] static Ref<SharedMemory> open(UniqueFd descriptor, std::size_t limit);

    [[nodiscard]] std::size_t length() const noexcept { return size; }
    /// Start of the mapping that create() made; null after seal().
    [[nodiscard]] void *writableBytes() const noexcept { return isWritable ? mapping : nullptr; }
    /// The same to read, before and after seal(); lives as long as the object. Null for what open() gave.
    [[nodiscard]] const void *bytes() const noexcept { return mapping; }
    /// Ends writing for good and seals the size: from now on it may be sent. No thread may read bytes()
    /// meanwhile. False on failure.
    [[nodiscard]] bool seal();
    /// Whether neither its size nor its contents can change any more.
    [[nodiscard]] bool isSealed() const noexcept { return isSealed(fd.get()); }
    /// The same of a file that is not an object yet. False for what is no memory file.
    [[nodiscard]] static bool isSealed(int descriptor) noexcept;
    /// The descriptor; stays the object's.
    [[nodiscard]] int descriptor() const noexcept { return fd.get(); }
    /// Makes another, read-only mapping. The caller unmaps `*length` bytes with munmap(). Null, with 0, on
    /// failure.
    [[nodiscard]] void *map(std::size_t *length) const;

    ~SharedMemory() override;

private:
    SharedMemory(UniqueFd descriptor, std::size_t length, void *made) noexcept;
    UniqueFd fd;
    std::size_t size;
    void *mapping;
    bool isWritable;
};

} // namespace wickerlane

#endif
