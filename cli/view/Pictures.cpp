#include "cli/view/Pictures.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <filesystem>
#include <memory>
#include <optional>

#include "cli/AssetDescription.h"
#include "cli/view/Answers.h"
#include "cli/view/DaemonQuestions.h"
#include "cli/view/Parameters.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/model/MediaType.h"
#include "wickerlane/platform/file/Retry.h"
#include "wickerlane/platform/object/Hexadecimal.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/protocol/ImageDataFormats.h"

namespace wickerlane::cli::view {
namespace {

/// Bytes of a file from `first` on.
struct Span {
    std::uint64_t first = 0;
    std::uint64_t count = 0;
};

std::optional<std::uint64_t> takeNumber(std::string_view &text) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc())
        return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

/// The range that a header such as "bytes=0-499", "bytes=500-" or "bytes=-500" asks for, of a file of `total`
/// bytes; an empty range when it lies outside the file. Nothing for a header that is answered with the whole
/// file, such as one with several ranges.
std::optional<Span> spanIn(std::string_view header, std::uint64_t total) {
    constexpr std::string_view unit = "bytes=";
    if (!header.starts_with(unit))
        return std::nullopt;
    header.remove_prefix(unit.size());
    const auto first = takeNumber(header);
    if (!header.starts_with('-'))
        return std::nullopt;
    header.remove_prefix(1);
    const auto last = takeNumber(header);
    if (!header.empty() || (!first && !last) || (first && last && *last < *first))
        return std::nullopt;
    if (!first)
        return Span{total - std::min(*last, total), std::min(*last, total)};
    if (*first >= total)
        return Span{};
    return Span{*first, std::min(last.value_or(total - 1), total - 1) - *first + 1};
}

/// "attachment; filename*=UTF-8''a%20b.jpg".
std::string dispositionOf(std::string_view name) {
    std::string header = "attachment; filename*=UTF-8''";
    for (const char each : name) {
        const auto byte = static_cast<unsigned char>(each);
        if (std::isalnum(byte) != 0 || each == '.' || each == '-' || each == '_')
            header += each;
        else
            header.append({'%', upperHexadecimalDigits[byte >> 4U], upperHexadecimalDigits[byte & 15U]});
    }
    return header;
}

bool sendPart(const UniqueFd &file, std::uint64_t offset, std::size_t length, httplib::DataSink &sink) {
    std::array<char, std::size_t{64} << 10> bytes; // NOLINT(*-member-init): read before it is used
    while (length > 0) {
        const ssize_t count = retryInterrupted([&] {
            return ::pread(file.get(), bytes.data(), std::min(length, bytes.size()),
                           static_cast<off_t>(offset));
        });
        if (count <= 0 || !sink.write(bytes.data(), static_cast<std::size_t>(count)))
            return false;
        offset += static_cast<std::uint64_t>(count);
        length -= static_cast<std::size_t>(count);
    }
    return true;
}

void answerFile(const httplib::Request &request, httplib::Response &response, AssetFile file) {
    const std::uint64_t total = file.byteCount;
    response.set_header("Accept-Ranges", "bytes");
    if (request.has_param("download"))
        response.set_header("Content-Disposition", dispositionOf(file.name));
    const auto asked =
        request.has_header("If-Range") ? std::nullopt : spanIn(request.get_header_value("Range"), total);
    if (asked && asked->count == 0) {
        response.set_header("Content-Range", fmt::format("bytes */{}", total));
        return answerError(response, 416, "invalid", "the file has no such bytes");
    }
    const Span span = asked.value_or(Span{0, total});
    response.status = asked ? 206 : 200;
    if (asked)
        response.set_header("Content-Range",
                            fmt::format("bytes {}-{}/{}", span.first, span.first + span.count - 1, total));
    answerBytes(response, span.count, file.type,
                [shared = std::make_shared<UniqueFd>(std::move(file.file)),
                 first = span.first](std::size_t offset, std::size_t length, httplib::DataSink &sink) {
                    return sendPart(*shared, first + offset, length, sink);
                });
}

/// Pictures and videos as they are; all else is for saving only.
std::string servedType(const std::string &format) {
    const bool isPlain = std::ranges::all_of(format, [](char each) {
        return std::isalnum(static_cast<unsigned char>(each)) != 0 ||
               std::string_view("/+-.").find(each) != std::string_view::npos;
    });
    return isPlain && (format.starts_with("image/") || format.starts_with("video/"))
               ? format
               : "application/octet-stream";
}

/// The picture that an editor made, which may be of another type than the original.
Result<AssetFile> openEdited(const ManagedAsset &asset) {
    const auto rendition =
        askAgain([&] { return JXGatekeeperClient::sharedInstance()->renditionOfAsset(asset.assetURL()); });
    if (!rendition)
        return failAsked();
    if (!rendition->file)
        return fail(ProblemKind::notFound, "this asset has no edited version");
    const std::string path(rendition->file->fileSystemPath());
    AssetFile opened;
    opened.file.reset(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    if (!opened.file)
        return failSystem("read", path);
    std::array<std::byte, mediaTypeBytes> start{};
    const ssize_t count =
        retryInterrupted([&] { return ::pread(opened.file.get(), start.data(), start.size(), 0); });
    const MediaType *type =
        count > 0 ? mediaTypeOfContent(std::span(start).first(static_cast<std::size_t>(count))) : nullptr;
    opened.type = type != nullptr ? type->name : unknownMediaType;
    // Under the name of the original, with the extension of its own type.
    namespace fs = std::filesystem;
    opened.name = outsideName(asset.record());
    if (mediaTypeOfExtension(pathExtension(opened.name)) != type)
        opened.name = fs::path(opened.name).replace_extension(fs::path(path).extension()).string();
    return opened;
}

/// The picture of an asset in one of the formats of ImageDataFormats.h. Borrowed.
Result<const Data *> pictureOf(KnownAssets &known, const std::string &uuid, int format) {
    for (bool isRepeated = false;; isRepeated = true) {
        const auto id = known.objectID(uuid);
        if (!id)
            return passOn(id);
        const Data *data = askAgain(
            [&] { return JXGatekeeperClient::sharedInstance()->imageDataForAsset(id->get(), format); });
        if (data != nullptr)
            return data;
        auto failure = failAsked("there is no such picture of this asset");
        if (failure.value().kind != ProblemKind::notFound || isRepeated)
            return failure;
        known.forget(uuid); // its number may be an older store's
    }
}

} // namespace

Result<AssetFile> openFileOf(const ManagedAsset &asset, bool edited) {
    Result<AssetFile> opened;
    if (edited) {
        opened = openEdited(asset);
    } else {
        opened->file = askAgain([&] {
            return UniqueFd(
                JXGatekeeperClient::sharedInstance()->fileDescriptorForAssetURL(asset.assetURL()));
        });
        if (!opened->file)
            return failAsked("the original can't be opened; see the daemon's log");
        opened->name = outsideName(asset.record());
        opened->type = asset.record().format;
    }
    if (!opened)
        return opened;
    struct stat status = {};
    if (::fstat(opened->file.get(), &status) != 0)
        return failSystem("read", opened->name);
    opened->byteCount = static_cast<std::uint64_t>(status.st_size);
    opened->type = servedType(opened->type);
    return opened;
}

Result<> answerMedia(KnownAssets &known, const httplib::Request &request, httplib::Response &response) {
    std::string_view rest = std::string_view(request.path).substr(std::string_view("/media/").size());
    const std::size_t slash = std::min(rest.find('/'), rest.size());
    const std::string uuid = uuidIn(rest.substr(0, slash));
    rest.remove_prefix(std::min(slash + 1, rest.size()));
    if (uuid.empty())
        return fail(ProblemKind::notFound, "there is no such picture");
    const bool isVersioned = request.has_param("v");
    response.set_header("Cache-Control", isVersioned ? "private, max-age=31536000, immutable" : "no-store");
    if (rest == "original" || rest == "edited") {
        const auto asset = assetWithUUID(uuid);
        if (!asset)
            return passOn(asset);
        auto file = openFileOf(**asset, rest == "edited");
        if (!file)
            return passOn(file);
        answerFile(request, response, *std::move(file));
        return {};
    }
    for (const auto &each : protocol::imageDataFormats) {
        const bool isJPEG =
            each.format != protocol::imageDataOriginal && each.format != protocol::imageDataFullSizePNG;
        if (!isJPEG || rest != each.name)
            continue;
        const auto data = pictureOf(known, uuid, each.format);
        if (!data)
            return passOn(data);
        response.status = 200;
        answerBytes(
            response, (*data)->length(), "image/jpeg",
            [kept = Ref<const Data>(*data)](std::size_t offset, std::size_t length, httplib::DataSink &sink) {
                return sink.write(static_cast<const char *>(kept->bytes()) + offset, length);
            });
        return {};
    }
    return fail(ProblemKind::notFound, "there is no such picture");
}

} // namespace wickerlane::cli::view
