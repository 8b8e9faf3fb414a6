// The SHA-256 sum of a file, without the code under test.
#ifndef TESTS_HOARDD_FILESUM_H
#define TESTS_HOARDD_FILESUM_H

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include <fstream>
#include <iterator>

#include "wickerlane/model/AssetRecord.h"

namespace wickerlane::test {

inline Sha256 sumOfFile(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    const std::string contents{std::istreambuf_iterator<char>(file), {}};
    Sha256 sum{};
    EXPECT_EQ(EVP_Digest(contents.data(), contents.size(), reinterpret_cast<unsigned char *>(sum.data()),
                         nullptr, EVP_sha256(), nullptr),
              1);
    return sum;
}

} // namespace wickerlane::test

#endif
