#include "hoardd/library/Sha256.h"

#include <openssl/evp.h>
#include <unistd.h>

#include <cerrno>
#include <memory>
#include <new>
#include <vector>

namespace wickerlane::hoardd {

std::optional<store::Sha256> sha256OfFile(int descriptor) {
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    errno = ENOMEM;
    if (!context || EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) != 1)
        return std::nullopt;
    std::vector<std::byte> block(256 << 10);
    for (off_t offset = 0;;) {
        const ssize_t count = ::pread(descriptor, block.data(), block.size(), offset);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return std::nullopt;
        if (count == 0)
            break;
        offset += count;
        if (EVP_DigestUpdate(context.get(), block.data(), static_cast<std::size_t>(count)) != 1)
            return std::nullopt;
    }
    store::Sha256 sum;
    if (EVP_DigestFinal_ex(context.get(), reinterpret_cast<unsigned char *>(sum.data()), nullptr) != 1)
        return std::nullopt;
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
