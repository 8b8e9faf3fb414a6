// A file in memory.
#ifndef HOARDD_MEDIA_WORKER_MAPPEDFILE_H
#define HOARDD_MEDIA_WORKER_MAPPEDFILE_H

#include <sys/mman.h>
#include <sys/stat.h>

#include <cstddef>
#include <span>

#include "hoardd/media/worker/Image.h"

namespace wickerlane::hoardd::media {

/// Read-only. A file that shrinks meanwhile ends the worker, not hoardd.
class MappedFile {
public:
    explicit MappedFile(int descriptor) {
        struct stat status {};
        if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode))
            throw MediaError(MediaFailure::badRequest, "the input is not a file");
        length = static_cast<std::size_t>(status.st_size);
        if (length == 0)
            throw MediaError(MediaFailure::unknownFormat, "the file is empty");
        if (length > pictureLimits.fileBytes)
            throw MediaError(MediaFailure::tooLarge, "the file has more bytes than are allowed");
        start = mmap(nullptr, length, PROT_READ, MAP_PRIVATE, descriptor, 0);
        if (start == MAP_FAILED)
            throw MediaError(MediaFailure::shortage, "the input cannot be mapped");
    }
    MappedFile(const MappedFile &) = delete;
    MappedFile &operator=(const MappedFile &) = delete;
    ~MappedFile() { munmap(start, length); }

    [[nodiscard]] std::span<const std::byte> bytes() const {
        return {static_cast<const std::byte *>(start), length};
    }

private:
    void *start = nullptr;
    std::size_t length = 0;
};

} // namespace wickerlane::hoardd::media

#endif
