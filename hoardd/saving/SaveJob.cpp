#include "hoardd/saving/SaveJob.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "hoardd/library/Clock.h"
#include "wickerlane/model/ManagedAsset.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/protocol/JobKeys.h"

namespace wickerlane::hoardd {

namespace {

/// The last component of a path or name, no longer than a file name may be. What is no text in it becomes
/// U+FFFD.
std::string plainName(std::string_view path) {
    constexpr std::size_t maxBytes = 255;
    path = lastPathComponent(path);
    if (path == "/")
        return {};
    auto repaired = MutableString::create();
    repaired->append(path);
    const std::string_view name = repaired->utf8();
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

Result<> readOptions(const Dictionary *job, SaveOrder &order) {
    const auto type = read<Number>(job, protocol::job::assetType);
    const auto name = read<String>(job, protocol::job::originalFilename);
    const auto once = read<Number>(job, protocol::job::unlessPresent);
    const auto date = read<Date>(job, protocol::job::creationDate);
    const auto sidecar = read<String>(job, protocol::job::sidecarPath);
    const auto companion = read<String>(job, protocol::job::companionPath);
    if (!type)
        return passOn(type);
    if (!name)
        return passOn(name);
    if (!once)
        return passOn(once);
    if (!date)
        return passOn(date);
    if (!sidecar)
        return passOn(sidecar);
    if (!companion)
        return passOn(companion);
    if (*type != nullptr) {
        const std::uint64_t kind = (*type)->uint64Value();
        if (kind > 1)
            return fail(ProblemKind::invalid, "assetType is neither 0 (photo) nor 1 (video)");
        order.kind = static_cast<AssetKind>(kind);
    }
    if (*name != nullptr)
        order.originalFilename = plainName((*name)->utf8());
    if (*sidecar != nullptr)
        order.sidecarPath = (*sidecar)->utf8();
    if (*companion != nullptr)
        order.companionPath = (*companion)->utf8();
    order.unlessPresent = *once != nullptr && (*once)->boolValue();
    if (*date != nullptr) {
        constexpr double farAway = 1e11; // some 3,000 years; also refuses what is no number
        if (!(std::abs((*date)->referenceSeconds()) < farAway))
            return fail(ProblemKind::invalid, "creationDate is out of range");
        order.creationDate = (*date)->referenceSeconds();
    }
    return {};
}

FileType typeOf(const MediaType &type) {
    return {type.kind, std::string(type.name), std::string(type.extensions.front())};
}

Failure noData() {
    return fail(ProblemKind::empty, "the job holds no data");
}

Result<> openFile(const SaveJob &job, SaveOrder &order) {
    auto opened = job.files.open(order.path);
    if (!opened)
        return passOn(opened);
    if (opened->status.st_size == 0)
        return noData();
    order.file = std::move(opened->file);
    order.status = opened->status;
    order.modified = referenceSeconds(order.status.st_mtim);
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
    if (*path != nullptr || !job.filePath.empty()) {
        order.path = *path != nullptr ? std::string((*path)->utf8()) : job.filePath;
        return openFile(job, order);
    }
    order.surface = job.image.get();
    return order.surface != nullptr ? Result<>() : noData();
}

} // namespace

FileType SaveOrder::type() const {
    if (surface != nullptr) {
        // It becomes what its name asks for: a PNG without loss, else a JPEG.
        const MediaType *named = mediaTypeOfExtension(extensionOf(originalFilename));
        const bool isPNG = named != nullptr && named->format == MediaFormat::png;
        return typeOf(isPNG ? *named : *mediaTypeOfExtension("JPG"));
    }
    if (data != nullptr)
        return fileTypeOf(data->span().first(std::min(mediaTypeBytes, data->length())), originalFilename);
    return fileTypeOf(file.get(), originalFilename);
}

Result<SaveOrder> readJob(const SaveJob &job) {
    SaveOrder order;
    if (const auto options = readOptions(job.dictionary.get(), order); !options)
        return passOn(options);
    if (const auto source = findSource(job, order); !source)
        return passOn(source);
    return order;
}

} // namespace wickerlane::hoardd
