#include "hoardd/library/Sha256.h"

#include <openssl/evp.h>
#include <unistd.h>

#include <memory>
#include <new>
#include <vector>

#include "wickerlane/platform/file/Retry.h"

namespace wickerlane::hoardd {

Result<store::Sha256> sha256OfFile(int descriptor, const std::string &path) {
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    if (!context || EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1)
        throw std::bad_alloc();
    std::vector<std::byte> block(256 << 10);
    for (off_t offset = 0;;) {
        const ssize_t count =
            retryInterrupted([&] { return ::pread(descriptor, block.data(), block.size(), offset); });
        if (count < 0)
            return failSystem("read", path);
        if (count == 0)
            break;
        offset += count;
        if (EVP_DigestUpdate(context.get(), block.data(), static_cast<std::size_t>(count)) != 1)
            throw std::bad_alloc();
    }
    store::Sha256 sum;
    if (EVP_DigestFinal_ex(context.get(), reinterpret_cast<unsigned char *>(sum.data()), nullptr) != 1)
        throw std::bad_alloc();
    return sum;
}

store::Sha256 sha256Of(Bytes bytes) {
    store::Sha256 sum{};
    if (EVP_Digest(bytes.data(), bytes.size(), reinterpret_cast<unsigned char *>(sum.data()), nullptr,
                   EVP_sha256(), nullptr) != 1)
        throw std::bad_alloc();
    return sum;
}

} // namespace wickerlane::hoardd
