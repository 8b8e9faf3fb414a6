#include "hoardd/saving/SaveJob.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>

#include "wickerlane/platform/object/Number.h"
#include "wickerlane/protocol/JobKeys.h"
#include "wickerlane/store/ManagedAsset.h"

namespace wickerlane::hoardd {

namespace {

/// The last component of a path or name, no longer than a file name may be.
std::string plainName(std::string_view name) {
    constexpr std::size_t maxBytes = 255;
    name = name.substr(name.rfind('/') + 1);
    std::size_t length = std::min(name.size(), maxBytes);
    while (length > 0 && length < name.size() && (static_cast<unsigned char>(name[length]) & 0xC0) == 0x80)
        --length; // never inside a character
    return std::string(name.substr(0, length));
}

/// The value under a key; null when it is missing.
template <class T>
Result<const T *> read(const Dictionary *job, std::string_view key) {
    const Object *value = job != nullptr ? job->get(key) : nullptr;
    const T *typed = as<T>(value);
    if (value != nullptr && typed == nullptr)
        return fail(ProblemKind::invalid, std::string(key) + " has a value of the wrong kind");
    return typed;
}

Result<> readWishes(const Dictionary *job, SaveOrder &order) {
    const auto type = read<Number>(job, protocol::job::assetType);
    const auto name = read<String>(job, protocol::job::originalFilename);
    const auto once = read<Number>(job, protocol::job::unlessPresent);
    const auto date = read<Date>(job, protocol::job::creationDate);
    if (!type)
        return passOn(type);
    if (!name)
        return passOn(name);
    if (!once)
        return passOn(once);
    if (!date)
        return passOn(date);
    if (*type != nullptr) {
        const std::uint64_t kind = (*type)->uint64Value();
        if (kind > 1)
            return fail(ProblemKind::invalid, "assetType is neither 0 (photo) nor 1 (video)");
        order.kind = static_cast<AssetKind>(kind);
    }
    if (*name != nullptr)
        order.originalFilename = plainName((*name)->utf8());
    order.unlessPresent = *once != nullptr && (*once)->boolValue();
    if (*date != nullptr) {
        constexpr double farAway = 1e11; // some 3,000 years; also refuses what is no number
        if (!(std::abs((*date)->referenceSeconds()) < farAway))
            return fail(ProblemKind::invalid, "creationDate is out of range");
        order.creationDate = (*date)->referenceSeconds();
    }
    return {};
}

Failure noData() {
    return fail(ProblemKind::empty, "the job holds no data");
}

Result<> openFile(const SaveJob &job, SaveOrder &order) {
    if (!order.path.starts_with('/') || order.path.find('\0') != std::string::npos)
        return fail(ProblemKind::invalid, "filePath is not an absolute path");
    if (!job.mayReadFiles)
        return fail(ProblemKind::refused, "filePath is read only for the user that hoardd serves");
    // Without blocking, should it be a pipe.
    order.file.reset(::open(order.path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (!order.file || ::fstat(order.file.get(), &status) != 0)
        return failSystem("read", order.path);
    if (!S_ISREG(status.st_mode))
        return fail(ProblemKind::invalid, "can't read " + order.path + ": it is not a regular file",
                    order.path);
    if (status.st_size == 0)
        return noData();
    order.modified = static_cast<double>(status.st_mtim.tv_sec) +
                     static_cast<double>(status.st_mtim.tv_nsec) * 1e-9 - Date::secondsFrom1970To2001;
    if (order.originalFilename.empty())
        order.originalFilename = plainName(order.path);
    return {};
}

Result<> findSource(const SaveJob &job, SaveOrder &order) {
    const auto data = read<Data>(job.dictionary.get(), protocol::job::imageData);
    const auto path = read<String>(job.dictionary.get(), protocol::job::filePath);
    if (!data)
        return passOn(data);
    if (!path)
        return passOn(path);
    if (*data != nullptr) {
        order.data = *data;
        return order.data->length() != 0 ? Result<>() : noData();
    }
    if (*path != nullptr) {
        order.path = (*path)->utf8();
        return openFile(job, order);
    }
    order.surface = job.image.get();
    return order.surface != nullptr ? Result<>() : noData();
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

Result<SaveOrder> readJob(const SaveJob &job) {
    SaveOrder order;
    if (const auto wishes = readWishes(job.dictionary.get(), order); !wishes)
        return passOn(wishes);
    if (const auto source = findSource(job, order); !source)
        return passOn(source);
    return order;
}

} // namespace wickerlane::hoardd
