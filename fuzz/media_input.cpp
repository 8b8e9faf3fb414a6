// Gives a foreign file to the code of a media worker, without its confinement.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>

#include "hoardd/media/worker/RequestHandler.h"
#include "wickerlane/model/AssetDetails.h"

using namespace wickerlane::hoardd::media;
using wickerlane::UniqueFd;
using wickerlane::hoardd::MediaFailure;

namespace {

UniqueFd memoryFile(const std::uint8_t *data, std::size_t size) {
    UniqueFd file(memfd_create("fuzz", MFD_CLOEXEC));
    if (!file || write(file.get(), data, size) != static_cast<ssize_t>(size))
        std::abort();
    return file;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***arguments) {
    return prepareHandling(**arguments) ? 0 : 1;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size) {
    std::vector<UniqueFd> descriptors;
    descriptors.push_back(memoryFile(data, size));
    WorkerRequest request;
    request.kind = WorkerRequest::Kind::probe;
    const WorkerAnswer probed = handle(request, descriptors);
    if (probed.failure != MediaFailure::none && probed.reason.text().empty())
        std::abort(); // a failure says why
    if (!wickerlane::isCaption(probed.facts.caption) || !wickerlane::areKeywordLines(probed.facts.keywords))
        std::abort(); // they are texts, whatever the file holds
    // Memory and time are limited by what a worker is confined to, which is absent here.
    constexpr std::uint64_t maxPixels = 1 << 20;
    if (probed.failure != MediaFailure::none ||
        std::uint64_t{probed.facts.width} * probed.facts.height > maxPixels)
        return 0;
    descriptors.push_back(memoryFile(nullptr, 0));
    descriptors.push_back(memoryFile(nullptr, 0));
    request.thumbnailCount = 2;
    request.thumbnailSides = {256, 1024};
    request.kind = WorkerRequest::Kind::examine;
    const WorkerAnswer examined = handle(request, descriptors);
    if (examined.failure == MediaFailure::none &&
        (examined.facts.width != probed.facts.width || examined.facts.height != probed.facts.height))
        std::abort(); // both read the same header
    descriptors[1] = memoryFile(nullptr, 0);
    descriptors[2] = memoryFile(nullptr, 0);
    request.kind = WorkerRequest::Kind::probe;
    const WorkerAnswer thumbnails = handle(request, descriptors);
    if (thumbnails.failure == MediaFailure::none && lseek(descriptors[1].get(), 0, SEEK_END) == 0)
        std::abort(); // a thumbnail that was made is there
    return 0;
}
