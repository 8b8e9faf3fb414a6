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
        {"\0\0\0\x10moov"s, "old", photo, "application/octet-stream", "DAT"},
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

TEST(FileType, OfAFolderOnlyPicturesAndCommonVideosAreImported) {
    for (const char *extension :
         {"jpg", "JPEG", "png", "webp", "tif", "TIFF", "gif", "heic", "heif", "avif", "mp4", "Mov", "m4v"}) {
        const MediaType *type = mediaTypeOfExtension(extension);
        EXPECT_TRUE(type != nullptr && type->isImported) << extension;
    }
    for (const char *extension : {"", "txt", "jp", "jpgx", "mkv", "raw"}) {
        const MediaType *type = mediaTypeOfExtension(extension);
        EXPECT_FALSE(type != nullptr && type->isImported) << extension;
    }
}

} // namespace
