#include "wickerlane/platform/memory/SharedMemory.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>

#include <limits>

#include "wickerlane/platform/file/Retry.h"

namespace wickerlane {

constinit const Class SharedMemory::classInfo{"SharedMemory", &Object::classInfo, nullptr};
WL_BUILT_IN_CLASS(SharedMemory);

namespace {

constexpr int allSeals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL;
constexpr std::size_t maxFileSize = std::numeric_limits<off_t>::max();

UniqueFd createFile(std::size_t length) {
    if (length == 0 || length > maxFileSize)
        return {};
    UniqueFd fd(memfd_create("wickerlane", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (fd && ftruncate(fd.get(), static_cast<off_t>(length)) != 0)
        fd.reset();
    return fd;
}

} // namespace

SharedMemory::SharedMemory(UniqueFd descriptor, std::size_t length, void *made) noexcept
    : fd(std::move(descriptor)), size(length), mapping(made), isWritable(made != nullptr) {
}

SharedMemory::~SharedMemory() {
    if (mapping != nullptr)
        munmap(mapping, size);
}

Ref<SharedMemory> SharedMemory::create(std::size_t length) {
    UniqueFd fd = createFile(length);
    if (!fd)
        return nullptr;
    void *made = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, fd.get(), 0);
    if (made == MAP_FAILED)
        return nullptr;
    return Ref<SharedMemory>::adopt(new SharedMemory(std::move(fd), length, made));
}

Ref<SharedMemory> SharedMemory::open(UniqueFd descriptor, std::size_t limit) {
    const int seals = fcntl(descriptor.get(), F_GET_SEALS);
    if (seals < 0 || (seals & F_SEAL_SHRINK) == 0)
        return nullptr;
    struct stat status;
    // The size is read after the seal was seen: from then on it can only grow.
    if (fstat(descriptor.get(), &status) != 0 || status.st_size <= 0)
        return nullptr;
    const auto length = static_cast<std::size_t>(status.st_size);
    if (length > limit)
        return nullptr;
    if ((seals & F_SEAL_WRITE) != 0 && (seals & F_SEAL_GROW) != 0)
        return Ref<SharedMemory>::adopt(new SharedMemory(std::move(descriptor), length, nullptr));

    // Copied by the kernel rather than through a mapping, so that a file of a kind that can fail to deliver a
    // page fails a call instead of the process.
    Ref<SharedMemory> copy = create(length);
    if (copy == nullptr)
        return nullptr;
    for (std::size_t done = 0; done < length;) {
        const ssize_t count = retryInterrupted([&] {
            return pread(descriptor.get(), static_cast<char *>(copy->mapping) + done, length - done,
                         static_cast<off_t>(done));
        });
        if (count <= 0)
            return nullptr;
        done += static_cast<std::size_t>(count);
    }
    return copy->seal() ? copy : nullptr;
}

bool SharedMemory::seal() {
    if (!isWritable)
        return isSealed();
    // The kernel refuses the seal while a writable mapping exists: nothing stands in its place meanwhile, so
    // that the bytes keep their address.
    isWritable = false;
    if (mmap(mapping, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_FIXED, -1, 0) ==
        MAP_FAILED)
        return false;
    const bool sealed = fcntl(fd.get(), F_ADD_SEALS, allSeals) == 0;
    return mmap(mapping, size, PROT_READ, MAP_SHARED | MAP_FIXED, fd.get(), 0) != MAP_FAILED && sealed;
}

bool SharedMemory::isSealed(int descriptor) noexcept {
    constexpr int fixed = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE;
    const int seals = fcntl(descriptor, F_GET_SEALS);
    return seals >= 0 && (seals & fixed) == fixed;
}

void *SharedMemory::map(std::size_t *length) const {
    *length = 0;
    void *made = mmap(nullptr, size, PROT_READ, MAP_SHARED, fd.get(), 0);
    if (made == MAP_FAILED)
        return nullptr;
    *length = size;
    return made;
}

} // namespace wickerlane
