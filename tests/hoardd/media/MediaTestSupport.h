// What the tests of the media workers share: a pool, and files that have no name.
#ifndef TESTS_HOARDD_MEDIA_MEDIATESTSUPPORT_H
#define TESTS_HOARDD_MEDIA_MEDIATESTSUPPORT_H

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

#include "hoardd/media/MediaWorkers.h"
#include "tests/support/TestImages.h"
#include "wickerlane/platform/file/UniqueFd.h"

namespace wickerlane::hoardd {

using wickerlane::UniqueFd;
using wickerlane::test::Bytes;

inline MediaWorkersOptions testOptions(unsigned workers = 1) {
    MediaWorkersOptions options;
    options.program = MEDIA_WORKER;
    options.maxWorkers = workers;
    // Machines under load, and sanitizers, take their time; tests of the limits set their own.
    options.processorTime = std::chrono::seconds(60);
    options.deadline = std::chrono::seconds(100);
    return options;
}

/// One for all tests of the program; it holds its sockets between them.
inline MediaWorkers &pool() {
    static MediaWorkers &shared = *new MediaWorkers(testOptions());
    return shared;
}

/// Why a request failed; empty when it did not.
template <class T>
std::string reasonOf(const Result<T> &ended) {
    return ended ? "" : ended.error().text;
}

template <class T>
std::optional<ProblemKind> problemOf(const Result<T> &ended) {
    return ended ? std::nullopt : std::optional(ended.error().kind);
}

inline UniqueFd fileOf(const Bytes &contents) {
    UniqueFd file(memfd_create("test", MFD_CLOEXEC));
    if (write(file.get(), contents.data(), contents.size()) != static_cast<ssize_t>(contents.size()))
        ADD_FAILURE() << "cannot write";
    return file;
}

inline Bytes contentsOf(const UniqueFd &file) {
    struct stat status {};
    fstat(file.get(), &status);
    Bytes contents(static_cast<std::size_t>(status.st_size));
    EXPECT_EQ(pread(file.get(), contents.data(), contents.size(), 0), status.st_size);
    return contents;
}

inline bool isLike(wickerlane::test::Colour a, wickerlane::test::Colour b, int tolerance = 24) {
    return std::abs(a.red - b.red) <= tolerance && std::abs(a.green - b.green) <= tolerance &&
           std::abs(a.blue - b.blue) <= tolerance && std::abs(a.alpha - b.alpha) <= tolerance;
}

/// The four corners of a picture, clockwise from the top left, as letters: R, G, B, Y, or ? for something
/// else.
inline std::string cornersOf(const wickerlane::test::Pixels &pixels) {
    using namespace wickerlane::test;
    if (pixels.width < 8 || pixels.height < 8)
        return "too small";
    const std::uint32_t right = pixels.width - 3;
    const std::uint32_t bottom = pixels.height - 3;
    std::string letters;
    for (const Colour colour :
         {pixels.at(2, 2), pixels.at(right, 2), pixels.at(right, bottom), pixels.at(2, bottom)})
        letters += isLike(colour, cornerRed)      ? 'R'
                   : isLike(colour, cornerGreen)  ? 'G'
                   : isLike(colour, cornerBlue)   ? 'B'
                   : isLike(colour, cornerYellow) ? 'Y'
                                                  : '?';
    return letters;
}

} // namespace wickerlane::hoardd

#endif
