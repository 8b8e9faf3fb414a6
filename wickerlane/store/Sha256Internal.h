// SHA-256 sums, for the programs that link OpenSSL: the library itself does not.
#ifndef WICKERLANE_STORE_SHA256INTERNAL_H
#define WICKERLANE_STORE_SHA256INTERNAL_H

#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include <openssl/evp.h>

#include "wickerlane/model/AssetRecord.h"
#include "wickerlane/model/Result.h"
#include "wickerlane/platform/file/Retry.h"
#include "wickerlane/platform/object/Data.h"
#include "wickerlane/platform/object/Handler.h"

namespace wickerlane::store {

/// The sum of a file's bytes, from its start. `path` is what problems call it. Fails with `ending` once
/// `goesOn`, if it is not null, gives false.
[[nodiscard]] inline Result<Sha256> sha256OfFile(int descriptor, const std::string &path,
                                                 const Handler<bool()> &goesOn = {}) {
    const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    bool isSound = context && EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr) == 1;
    std::vector<std::byte> block(256 << 10);
    for (off_t offset = 0; isSound;) {
        if (goesOn && !goesOn())
            return fail(ProblemKind::ending, "stopped reading " + path, path);
        const ssize_t count =
            retryInterrupted([&] { return ::pread(descriptor, block.data(), block.size(), offset); });
        if (count < 0)
            return failSystem("read", path);
        if (count == 0)
            break;
        offset += count;
        isSound = EVP_DigestUpdate(context.get(), block.data(), static_cast<std::size_t>(count)) == 1;
    }
    Sha256 sum{};
    if (!isSound ||
        EVP_DigestFinal_ex(context.get(), reinterpret_cast<unsigned char *>(sum.data()), nullptr) != 1)
        return fail(ProblemKind::failed, "can't work out the sum of " + path, path);
    return sum;
}

/// The sum of bytes in memory.
[[nodiscard]] inline Result<Sha256> sha256Of(Bytes bytes) {
    Sha256 sum{};
    if (EVP_Digest(bytes.data(), bytes.size(), reinterpret_cast<unsigned char *>(sum.data()), nullptr,
                   EVP_sha256(), nullptr) != 1)
        return fail(ProblemKind::failed, "can't work out a sum");
    return sum;
}

} // namespace wickerlane::store

#endif
