// An original that the library has, asked for through the client, beside a bare read of the same file.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <numeric>

#include "bench/InTurn.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/protocol/JobKeys.h"

using namespace wickerlane;

namespace {

// Every page of it, as a program that shows a picture would.
std::size_t touch(const void *bytes, std::size_t length) {
    std::size_t sum = 0;
    for (std::size_t at = 0; at < length; at += 4096)
        sum += std::to_integer<std::size_t>(static_cast<const std::byte *>(bytes)[at]);
    return sum;
}

std::size_t readBare(const std::string &path) {
    const UniqueFd file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status {};
    fstat(file.get(), &status);
    const auto size = static_cast<std::size_t>(status.st_size);
    const auto bytes = std::make_unique_for_overwrite<std::byte[]>(size);
    if (read(file.get(), bytes.get(), size) != status.st_size)
        std::abort();
    return touch(bytes.get(), size);
}

void measure(std::size_t size) {
    ReleaseScope scope;
    std::vector<std::byte> contents(size, std::byte{'x'}); // no picture, and kept all the same
    std::ranges::copy(std::as_bytes(std::span(&size, 1)), contents.begin());
    const auto data = Data::create(contents.data(), contents.size());
    const auto job = Dictionary::createWithKeys({{protocol::job::imageData, data.get()}});
    auto saved = Semaphore::create(0);
    Ref<Dictionary> result;
    JXGatekeeperClient *client = JXGatekeeperClient::sharedInstance();
    client->saveAssetWithJobDictionary(job.get(), [&](Dictionary *answered, Error *) {
        result = Ref<Dictionary>(answered);
        saved->signal();
    });
    saved->wait();
    if (!result || result->get(protocol::jobResult::uuid) == nullptr)
        std::abort();
    const std::string path =
        URL::of(result->get<String>(protocol::jobResult::fileURL)->utf8())->fileSystemPath();
    const auto uri = URL::create(result->get<String>(protocol::jobResult::objectIDURI)->utf8());
    const auto objectID = ManagedObjectID::create(uri.get());

    std::printf("%zu KiB\n", size >> 10);
    const std::size_t expected = readBare(path);
    bench::measureInTurn(15, size > 1 << 20 ? 20 : 200,
                         {{"bare read",
                           [&](int times) {
                               while (times-- > 0)
                                   if (readBare(path) != expected)
                                       std::abort();
                           }},
                          {"imageDataForAsset",
                           [&](int times) {
                               while (times-- > 0) {
                                   ReleaseScope each;
                                   const Data *bytes = client->imageDataForAsset(objectID.get(), 0);
                                   if (bytes == nullptr ||
                                       touch(bytes->span().data(), bytes->span().size()) != expected)
                                       std::abort();
                               }
                           }}},
                         [](const bench::Measured &measured) {
                             std::printf("  %-20s %9.1f us   ratio %.2f\n", measured.what,
                                         measured.best / 1e3, measured.ratio);
                         });
}

} // namespace

int main() {
    std::string folder = std::filesystem::temp_directory_path() / "wickerlane-bench-XXXXXX";
    if (mkdtemp(folder.data()) == nullptr)
        return 1;
    setenv("WICKERLANE_ROOT", folder.c_str(), 1);
    for (const std::size_t size : {30 << 10, 300 << 10, 4 << 20, 20 << 20})
        measure(size);
    // The daemon ends by itself; what it holds open may go.
    std::filesystem::remove_all(folder);
}
