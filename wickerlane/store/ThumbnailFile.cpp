#include "wickerlane/store/ThumbnailFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <vector>

#include "wickerlane/platform/file/Files.h"

namespace wickerlane::store {

namespace {

/// Far above any thumbnail.
constexpr std::size_t maxThumbnailBytes = 64 << 20;
/// Enough for the header that hoardd writes, which has no metadata.
constexpr std::size_t headBytes = 4096;
constexpr std::size_t markerBytes = 2;

namespace marker {
constexpr unsigned frame = 0xC0, lastFrame = 0xCF, huffmanTables = 0xC4, reserved = 0xC8,
                   arithmeticTables = 0xCC, firstRestart = 0xD0, lastRestart = 0xD7, start = 0xD8, end = 0xD9,
                   scan = 0xDA;
} // namespace marker

Failure damaged(const char *how) {
    return fail(ProblemKind::invalid, how);
}

bool isMarker(Bytes file, std::size_t at, unsigned which) {
    return at + markerBytes <= file.size() && file[at] == std::byte{0xFF} && file[at + 1] == std::byte(which);
}

std::size_t bigEndian(Bytes file, std::size_t at) {
    return std::to_integer<std::size_t>(file[at]) << 8 | std::to_integer<std::size_t>(file[at + 1]);
}

bool isFrame(unsigned which) {
    return which >= marker::frame && which <= marker::lastFrame && which != marker::huffmanTables &&
           which != marker::reserved && which != marker::arithmeticTables;
}

/// The segment at `at`: its marker, and what follows it. The marker and the length are there.
struct Segment {
    unsigned which = 0;
    std::size_t end = 0;
};
Result<Segment> segmentAt(Bytes file, std::size_t at) {
    if (at + 2 * markerBytes > file.size())
        return damaged("it is cut off in its header");
    if (file[at] != std::byte{0xFF})
        return damaged("its header is damaged");
    const std::size_t length = bigEndian(file, at + markerBytes), end = at + markerBytes + length;
    if (length < markerBytes || end > file.size())
        return damaged("its header is damaged");
    return Segment{std::to_integer<unsigned>(file[at + 1]), end};
}

Result<> checkSize(Bytes frame, std::uint32_t maxSide) {
    constexpr std::size_t height = 5, width = 7, bytes = 9; // places in the segment
    if (frame.size() < bytes)
        return damaged("its header is damaged");
    for (const std::size_t side : {bigEndian(frame, height), bigEndian(frame, width)})
        if (side == 0 || side > maxSide)
            return damaged("it has another size than it should");
    return {};
}

/// Where the first coded pixels begin.
Result<std::size_t> checkHeader(Bytes file, std::uint32_t maxSide) {
    if (!isMarker(file, 0, marker::start))
        return damaged("it is no JPEG file");
    bool hasSize = false;
    for (std::size_t at = markerBytes;;) {
        const auto segment = segmentAt(file, at);
        if (!segment)
            return passOn(segment);
        if (isFrame(segment->which)) {
            if (const auto size = checkSize(file.subspan(at, segment->end - at), maxSide); !size)
                return passOn(size);
            hasSize = true;
        }
        at = segment->end;
        if (segment->which == marker::scan)
            return hasSize ? Result<std::size_t>(at) : damaged("its header is damaged");
    }
}

/// From the first coded pixels: among them only certain markers are possible, and the last one ends the file.
Result<> checkScans(Bytes file, std::size_t at) {
    while (at + markerBytes <= file.size()) {
        const void *found = std::memchr(file.data() + at, 0xFF, file.size() - markerBytes + 1 - at);
        if (found == nullptr)
            break;
        at = static_cast<std::size_t>(static_cast<const std::byte *>(found) - file.data());
        const auto which = std::to_integer<unsigned>(file[at + 1]);
        if (which == marker::end)
            return at + markerBytes == file.size() ? Result<>() : damaged("its pixels are damaged");
        if (which == 0 || (which >= marker::firstRestart && which <= marker::lastRestart)) {
            at += markerBytes;
        } else if (which == marker::huffmanTables || which == marker::scan) {
            const auto segment = segmentAt(file, at);
            if (!segment)
                return passOn(segment);
            at = segment->end;
        } else {
            return damaged("its pixels are damaged");
        }
    }
    return damaged("it is cut off");
}

} // namespace

Result<> checkThumbnail(Bytes file, std::uint32_t maxSide, ThumbnailLook look) {
    if (look == ThumbnailLook::name)
        return {};
    const auto pixels = checkHeader(file, maxSide);
    if (!pixels)
        return passOn(pixels);
    if (look == ThumbnailLook::whole)
        return checkScans(file, *pixels);
    if (file.size() < *pixels + markerBytes || !isMarker(file, file.size() - markerBytes, marker::end))
        return damaged("it is cut off");
    return {};
}

Result<> checkThumbnail(const std::string &path, std::uint32_t maxSide, ThumbnailLook look) {
    if (look == ThumbnailLook::name)
        return ::access(path.c_str(), F_OK) == 0 ? Result<>() : failSystem("find", path);
    const UniqueFd file = openFile(path, O_RDONLY | O_NONBLOCK); // a pipe in its place must not block
    struct stat status {};
    if (!file || ::fstat(file.get(), &status) != 0)
        return failSystem("open", path);
    if (!S_ISREG(status.st_mode))
        return damaged("it is no file");
    const auto size = static_cast<std::size_t>(status.st_size);
    if (size > maxThumbnailBytes)
        return damaged("it is larger than a thumbnail can be");
    const auto read = [&](std::span<std::byte> bytes, std::size_t from) {
        return ::pread(file.get(), bytes.data(), bytes.size(), static_cast<off_t>(from)) ==
               static_cast<ssize_t>(bytes.size());
    };
    if (look == ThumbnailLook::ends && size > headBytes) {
        // The end is put after the beginning, as if nothing were between them.
        std::array<std::byte, headBytes + markerBytes> ends; // NOLINT(*-member-init): read before it is used
        if (!read(std::span(ends).first(headBytes), 0) ||
            !read(std::span(ends).last(markerBytes), size - markerBytes))
            return failSystem("read", path);
        return checkThumbnail(ends, maxSide, look);
    }
    std::vector<std::byte> bytes(size);
    if (!read(bytes, 0))
        return failSystem("read", path);
    return checkThumbnail(bytes, maxSide, look);
}

} // namespace wickerlane::store
