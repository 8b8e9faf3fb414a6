#include "hoardd/saving/SaveJob.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstring>

#include "wickerlane/platform/object/Number.h"
#include "wickerlane/protocol/JobKeys.h"
#include "wickerlane/store/ManagedAsset.h"

namespace wickerlane::hoardd {

namespace {

/// The last component of a path or name, no longer than a file name may be.
std::string plainName(std::string_view name) {
    constexpr std::size_t most = 255;
    name = name.substr(name.rfind('/') + 1);
    std::size_t length = std::min(name.size(), most);
    while (length > 0 && length < name.size() && (static_cast<unsigned char>(name[length]) & 0xC0) == 0x80)
        --length; // never inside a character
    return std::string(name.substr(0, length));
}

/// The value under a key: null when it is missing; a problem when it is of another class.
template <class T>
const T *read(const Dictionary *job, std::string_view key, std::string &problem) {
    const Object *value = job != nullptr ? job->get(key) : nullptr;
    const T *typed = as<T>(value);
    if (value != nullptr && typed == nullptr)
        problem = std::string(key) + " has a value of the wrong kind";
    return typed;
}

std::string readWishes(const Dictionary *job, SaveOrder &order) {
    std::string problem;
    if (const auto *type = read<Number>(job, protocol::job::assetType, problem)) {
        const std::uint64_t kind = type->uint64Value();
        if (kind > 1)
            return "assetType is neither 0 (photo) nor 1 (video)";
        order.kind = static_cast<AssetKind>(kind);
    }
    if (const auto *name = read<String>(job, protocol::job::originalFilename, problem))
        order.originalFilename = plainName(name->utf8());
    if (const auto *once = read<Number>(job, protocol::job::unlessPresent, problem))
        order.unlessPresent = once->boolValue();
    if (const auto *date = read<Date>(job, protocol::job::creationDate, problem)) {
        constexpr double farAway = 1e11; // some 3,000 years; also refuses what is no number
        if (!(std::abs(date->referenceSeconds()) < farAway))
            return "creationDate is out of range";
        order.creationDate = date->referenceSeconds();
    }
    return problem;
}

std::string openFile(const SaveJob &job, SaveOrder &order) {
    if (!order.path.starts_with('/') || order.path.find('\0') != std::string::npos)
        return "filePath is not an absolute path";
    if (!job.mayReadFiles)
        return "filePath is read only for the user that hoardd serves";
    // Without blocking, should it be a pipe.
    order.file.reset(::open(order.path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (!order.file || ::fstat(order.file.get(), &status) != 0)
        return "can't read " + order.path + ": " + std::strerror(errno);
    if (!S_ISREG(status.st_mode))
        return "can't read " + order.path + ": it is not a regular file";
    order.isEmpty = status.st_size == 0;
    order.modified = static_cast<double>(status.st_mtim.tv_sec) +
                     static_cast<double>(status.st_mtim.tv_nsec) * 1e-9 - Date::secondsFrom1970To2001;
    if (order.originalFilename.empty())
        order.originalFilename = plainName(order.path);
    return {};
}

std::string findSource(const SaveJob &job, SaveOrder &order) {
    std::string problem;
    order.data = read<Data>(job.dictionary.get(), protocol::job::imageData, problem);
    const auto *path = read<String>(job.dictionary.get(), protocol::job::filePath, problem);
    if (!problem.empty())
        return problem;
    if (order.data != nullptr) {
        order.isEmpty = order.data->length() == 0;
    } else if (path != nullptr) {
        order.path = path->utf8();
        problem = openFile(job, order);
    } else {
        order.surface = job.image.get();
        order.isEmpty = order.surface == nullptr;
    }
    return order.isEmpty ? "the job holds no data" : problem;
}

} // namespace

FileType SaveOrder::type() const {
    if (surface != nullptr) {
        // It becomes what its name asks for: a PNG without loss, else a JPEG.
        const std::string_view extension = store::extensionOf(originalFilename);
        return extension == "png" || extension == "PNG" ? FileType{AssetKind::photo, "image/png", "PNG"}
                                                        : FileType{AssetKind::photo, "image/jpeg", "JPG"};
    }
    std::array<std::byte, mediaTypeBytes> read;
    Bytes start = read;
    if (data != nullptr) {
        start = data->span().first(std::min(read.size(), data->length()));
    } else {
        const ssize_t count = ::pread(file.get(), read.data(), read.size(), 0);
        start = start.first(count > 0 ? static_cast<std::size_t>(count) : 0);
    }
    return fileTypeOf(start, originalFilename);
}

std::string readJob(const SaveJob &job, SaveOrder &order) {
    std::string problem = readWishes(job.dictionary.get(), order);
    return problem.empty() ? findSource(job, order) : problem;
}

} // namespace wickerlane::hoardd
