// What a file is taken for, by its content and its name.
#include "hoardd/media/FileType.h"

#include <gtest/gtest.h>

using namespace wickerlane;
using namespace wickerlane::hoardd;

namespace {

TEST(FileType, IsRecognisedByContentBeforeItsName) {
    using namespace std::string_literals;
    constexpr auto photo = AssetKind::photo, video = AssetKind::video;
    const struct {
        std::string start;
        const char *name;
        AssetKind kind;
        const char *mediaType, *extension;
    } cases[] = {
        {"\xFF\xD8\xFF\xE0", "x.png", photo, "image/jpeg", "JPG"},
        {"\x89PNG\r\n\x1A\n", "", photo, "image/png", "PNG"},
        {"II*\0"s, "raw.dng", photo, "image/tiff", "DNG"},
        {"II*\0"s, "scan", photo, "image/tiff", "TIF"},
        {"\0\0\0\x14"
         "ftypqt  "s,
         "clip", video, "video/quicktime", "MOV"},
        {"\0\0\0\x14"
         "ftypisom"s,
         "clip.m4v", video, "video/mp4", "M4V"},
        {"\0\0\0\x14"
         "ftypisom"s,
         "clip.jpg", video, "video/mp4", "MP4"},
        {"\x1A\x45\xDF\xA3", "clip.webm", video, "video/x-matroska", "WEBM"},
        {"RIFF\1\2\3\4AVI ", "", video, "video/x-msvideo", "AVI"},
        {"\0\0\0\x18"
         "ftypmif1\0\0\0\0avif"s,
         "x.mp4", photo, "image/avif", "AVIF"},
        {"\0\0\0\x10"
         "ftypcrx \0\0\0\0"s,
         "x.cr3", photo, "image/x-raw", "CR3"},
        {"II*\0\x10\0\0\0CR"s, "", photo, "image/x-raw", "RAW"},
        {"RIFF\1\2\3\4WEBP", "x.avi", photo, "image/webp", "WEBP"},
        {"\0\0\0\x10moov"s, "old.mov", video, "video/quicktime", "MOV"},
        {"\0\0\0\x10moov"s, "old", video, "application/octet-stream", "DAT"},
        {"something", "photo.jpg", photo, "application/octet-stream", "JPG"},
        {"something", "clip.mpg", video, "video/mpeg", "MPG"},
        {"something", "letter.txt", photo, "application/octet-stream", "TXT"},
        {"something", "x.a/b", photo, "application/octet-stream", "DAT"},
        {"something", "x.abcdefghijklmnopq", photo, "application/octet-stream", "DAT"},
        {"", ".", photo, "application/octet-stream", "DAT"},
    };
    for (const auto &[start, name, kind, mediaType, extension] : cases) {
        const FileType type = fileTypeOf(std::as_bytes(std::span(start)), name);
        EXPECT_EQ(type.kind, kind) << name;
        EXPECT_EQ(type.mediaType, mediaType) << name;
        EXPECT_EQ(type.extension, extension) << name;
    }
}

TEST(FileType, ContentOrNameCallsAFileAPictureOrAVideo) {
    using namespace std::string_literals;
    std::string transport(512, 'x');
    for (const std::size_t at : {0, 188, 376})
        transport[at] = 'G';
    const std::string stamped =
        "time"s + transport.substr(0, 188) + "time" + transport.substr(0, 188) + "timeG";
    const struct {
        std::string start;
        const char *name;
        const char *mediaType;
        bool isMedia;
    } cases[] = {
        {"BM\x36\0\0\0\0\0\0\0\x36\0\0\0\x28\0\0\0"s, "x", "image/bmp", true},
        {"BMW drivers are many"s, "x", "application/octet-stream", false},
        {"\xFF\x0A\xF8"s, "x", "image/jxl", true},
        {"\0\0\0\x0CJXL \r\n\x87\n"s, "x", "image/jxl", true},
        {"\0\0\0\x0CjP  \r\n\x87\n"s, "x", "image/jp2", true},
        {"\xFF\x4F\xFF\x51"s, "x", "image/jp2", true},
        {"\x1A\x45\xDF\xA3"s, "x", "video/x-matroska", true},
        {"\0\0\0\x14"
         "ftyp3gp5"s,
         "x", "video/3gpp", true},
        {transport, "x", "video/mp2t", true},
        {stamped, "x", "video/mp2t", true},
        {transport.substr(0, 300), "x", "application/octet-stream", false},
        {"\0\0\1\xBA"s, "x", "application/octet-stream", true},
        {"vermont\n", "hostname", "application/octet-stream", false},
        {"# Read me", "README.md", "application/octet-stream", false},
        {"damaged", "a.jpeg", "application/octet-stream", true},
        {"damaged", "a.HEIC", "application/octet-stream", true},
        {"damaged", "a.m2ts", "video/mp2t", true},
    };
    for (const auto &[start, name, mediaType, isMedia] : cases) {
        const FileType type = fileTypeOf(std::as_bytes(std::span(start)), name);
        EXPECT_EQ(type.mediaType, mediaType) << name << ": " << start;
        EXPECT_EQ(type.isMedia, isMedia) << name << ": " << start;
    }
}

} // namespace
