#include "cli/view/Rotation.h"

#include <turbojpeg.h>

#include <algorithm>
#include <array>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <type_traits>

#include "cli/view/Answers.h"
#include "cli/view/Parameters.h"
#include "cli/view/Pictures.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/String.h"
#include "wickerlane/protocol/ImageDataFormats.h"

namespace wickerlane::cli::view {
namespace {

/// What an edit of ours says of itself: who made it, and, if it shows the original and nothing else, by how
/// many quarters that is turned.
constexpr std::string_view editorKey = "editor";
constexpr std::string_view editorName = "wickerlane view";
constexpr std::string_view quartersKey = "quarters";

constexpr std::size_t maxPictureBytes = std::size_t{255} << 20; // what fits into a message
constexpr std::size_t maxPixels = 200'000'000;
constexpr int quality = 95;

JXGatekeeperClient *client() {
    return JXGatekeeperClient::sharedInstance();
}

using TurboJPEG = std::unique_ptr<void, decltype([](void *handle) { tjDestroy(handle); })>;
using JPEGBuffer = std::unique_ptr<unsigned char, decltype([](unsigned char *bytes) { tjFree(bytes); })>;

const unsigned char *start(Bytes bytes) {
    return reinterpret_cast<const unsigned char *>(bytes.data());
}

/// Empty when it can't be done so.
std::vector<std::byte> turnedWithoutLoss(Bytes picture, int quarters) {
    const TurboJPEG handle(tjInitTransform());
    constexpr std::array operations = {TJXOP_ROT90, TJXOP_ROT180, TJXOP_ROT270};
    tjtransform transform{};
    transform.op = operations.at(static_cast<std::size_t>(quarters - 1));
    transform.options = TJXOPT_PERFECT;
    unsigned char *made = nullptr;
    unsigned long length = 0;
    const int failed =
        handle ? tjTransform(handle.get(), start(picture), picture.size(), 1, &made, &length, &transform, 0)
               : -1;
    const JPEGBuffer kept(made);
    if (failed != 0)
        return {};
    const auto *bytes = reinterpret_cast<const std::byte *>(made);
    return {bytes, bytes + length};
}

struct Pixels {
    int width = 0, height = 0;
    std::vector<unsigned char> bytes; // red, green, blue
};

Pixels turned(const Pixels &from, int quarters) {
    Pixels to;
    to.width = quarters == 2 ? from.width : from.height;
    to.height = quarters == 2 ? from.height : from.width;
    to.bytes.resize(from.bytes.size());
    for (int y = 0; y < to.height; ++y)
        for (int x = 0; x < to.width; ++x) {
            const int fromX = quarters == 1 ? y : from.width - 1 - (quarters == 2 ? x : y);
            const int fromY = quarters == 3 ? x : from.height - 1 - (quarters == 2 ? y : x);
            const auto source = (static_cast<std::size_t>(fromY) * static_cast<std::size_t>(from.width) +
                                 static_cast<std::size_t>(fromX)) *
                                3;
            const auto target = (static_cast<std::size_t>(y) * static_cast<std::size_t>(to.width) +
                                 static_cast<std::size_t>(x)) *
                                3;
            std::copy_n(from.bytes.begin() + static_cast<std::ptrdiff_t>(source), 3,
                        to.bytes.begin() + static_cast<std::ptrdiff_t>(target));
        }
    return to;
}

/// The segments of a JPEG file that hold no pixels: what it says of itself.
std::vector<std::byte> segmentsOf(Bytes picture) {
    std::vector<std::byte> segments;
    std::size_t at = 2;
    const auto byteAt = [&](std::size_t i) { return std::to_integer<unsigned>(picture[i]); };
    while (at + 4 <= picture.size() && byteAt(at) == 0xFF) {
        const unsigned marker = byteAt(at + 1);
        const std::size_t length = 2 + (byteAt(at + 2) << 8U | byteAt(at + 3));
        if (marker == 0xDA || length < 4 || length > picture.size() - at)
            break;
        if (marker >= 0xE1 && marker <= 0xEF && marker != 0xEE) // APP0 and APP14 are about the coding
            segments.insert(segments.end(), picture.begin() + static_cast<std::ptrdiff_t>(at),
                            picture.begin() + static_cast<std::ptrdiff_t>(at + length));
        at += length;
    }
    return segments;
}

Result<Pixels> decoded(Bytes picture, int &subsampling) {
    const TurboJPEG handle(tjInitDecompress());
    Pixels pixels;
    int colours = 0;
    if (!handle || tjDecompressHeader3(handle.get(), start(picture), picture.size(), &pixels.width,
                                       &pixels.height, &subsampling, &colours) != 0)
        return fail(ProblemKind::failed, "the picture can't be decoded");
    const std::size_t count =
        static_cast<std::size_t>(pixels.width) * static_cast<std::size_t>(pixels.height);
    if (count > maxPixels)
        return fail(ProblemKind::failed, "the picture has too many pixels to be turned here");
    pixels.bytes.resize(count * 3);
    if (tjDecompress2(handle.get(), start(picture), picture.size(), pixels.bytes.data(), pixels.width, 0,
                      pixels.height, TJPF_RGB, TJFLAG_ACCURATEDCT) != 0 &&
        tjGetErrorCode(handle.get()) == TJERR_FATAL)
        return fail(ProblemKind::failed, "the picture can't be decoded");
    return pixels;
}

Result<std::vector<std::byte>> turnedByPixels(Bytes picture, int quarters) {
    int subsampling = TJSAMP_420;
    const auto pixels = decoded(picture, subsampling);
    if (!pixels)
        return passOn(pixels);
    const Pixels result = turned(*pixels, quarters);
    const bool isKnown = subsampling == TJSAMP_444 || subsampling == TJSAMP_420 || subsampling == TJSAMP_GRAY;
    const TurboJPEG handle(tjInitCompress());
    unsigned char *made = nullptr;
    unsigned long length = 0;
    const int failed =
        handle ? tjCompress2(handle.get(), result.bytes.data(), result.width, 0, result.height, TJPF_RGB,
                             &made, &length, isKnown ? subsampling : TJSAMP_444, quality, TJFLAG_ACCURATEDCT)
               : -1;
    const JPEGBuffer kept(made);
    if (failed != 0 || length < 2)
        return fail(ProblemKind::failed, "the turned picture can't be encoded");
    const auto *bytes = reinterpret_cast<const std::byte *>(made);
    const auto segments = segmentsOf(picture);
    std::vector<std::byte> file(bytes, bytes + 2);
    file.insert(file.end(), segments.begin(), segments.end());
    file.insert(file.end(), bytes + 2, bytes + length);
    return file;
}

/// A picture to be turned, and what is to be said of the result.
struct Source {
    Ref<const Data> picture;
    int quarters = 0;
    Ref<Dictionary> properties;
};

Result<Ref<const Data>> pictureIn(const ManagedAsset &asset, protocol::ImageDataFormat format) {
    const Data *data = askAgain([&] { return client()->imageDataForAsset(asset.objectID(), format); });
    if (data == nullptr)
        return failAsked("this picture can't be decoded, so that it can't be turned");
    return Ref<const Data>(data);
}

Result<Ref<const Data>> renditionIn(const EditedRendition &rendition) {
    std::vector<std::byte> bytes;
    const std::string path(rendition.file->fileSystemPath());
    if (!readFile(path, bytes, maxPictureBytes))
        return failSystem("read", path);
    return Ref<const Data>(Data::createAdopting(std::move(bytes)));
}

/// The original is turned if nothing else was edited, so that nothing is lost by several turns.
Result<Source> sourceFor(const ManagedAsset &asset, const EditedRendition &rendition, int quarters) {
    const AssetRecord &record = asset.record();
    const auto *said = rendition.properties.get();
    const auto *editor = said != nullptr ? said->get<String>(editorKey) : nullptr;
    const bool isOurs = rendition.file && editor != nullptr && editor->utf8() == editorName;
    const auto *before = isOurs ? said->get<Number>(quartersKey) : nullptr;
    const bool showsOriginal = !rendition.file || before != nullptr;
    const auto properties = MutableDictionary::create();
    properties->set(editorKey, String::of(editorName));
    Source source{.picture = nullptr, .quarters = quarters, .properties = properties};
    if (showsOriginal) {
        const auto turns = (before != nullptr ? before->int64Value() : 0) + quarters;
        const int all = static_cast<int>(turns & 3);
        properties->set(quartersKey, Number::of(all));
        const bool isUpright = record.format == "image/jpeg" && record.orientation == 1;
        if (all == 0 || isUpright)
            source.quarters = all;
        if (all == 0)
            return source;
        if (isUpright) {
            auto original = pictureIn(asset, protocol::imageDataOriginal);
            if (original) {
                source.picture = *std::move(original);
                return source;
            }
        }
    }
    source.quarters = quarters;
    auto picture = isOurs ? renditionIn(rendition) : pictureIn(asset, protocol::imageDataFullSizeJPEG);
    if (!picture)
        return passOn(picture);
    source.picture = *std::move(picture);
    return source;
}

Mutex &oneAtATime() {
    static constinit Mutex mutex;
    return mutex;
}

} // namespace

Result<std::vector<std::byte>> turnedJPEG(Bytes picture, int quarters) {
    auto turnedBytes = turnedWithoutLoss(picture, quarters);
    if (!turnedBytes.empty())
        return turnedBytes;
    return turnedByPixels(picture, quarters);
}

Result<JSON> rotateAsset(const JSON &body) {
    const auto uuid = uuidIn(body, "id");
    const auto quarters = integerIn(body, "quarters");
    if (!uuid)
        return passOn(uuid);
    if (!quarters)
        return passOn(quarters);
    if (*quarters < 1 || *quarters > 3)
        return fail(ProblemKind::invalid, "'quarters' must be 1, 2 or 3");
    const MutexLock lock(oneAtATime());
    const auto asset = assetWithUUID(*uuid);
    if (!asset)
        return passOn(asset);
    if ((*asset)->record().kind != AssetKind::photo)
        return fail(ProblemKind::invalid, "videos can't be turned");
    const auto rendition = askAgain([&] { return client()->renditionOfAsset((*asset)->assetURL()); });
    if (!rendition)
        return failAsked();
    const auto source = sourceFor(**asset, *rendition, static_cast<int>(*quarters));
    if (!source)
        return passOn(source);
    bool isSet = false;
    if (source->quarters == 0) {
        isSet = client()->revertAsset((*asset)->assetURL());
    } else {
        auto picture = turnedJPEG(source->picture->span(), source->quarters);
        if (!picture)
            return passOn(picture);
        isSet = client()->setLargePreviewImage(
            (*asset)->assetURL(), Data::createAdopting(*std::move(picture)).get(), source->properties.get());
    }
    if (!isSet)
        return failAsked();
    const auto shown = assetWithUUID(*uuid);
    if (!shown)
        return passOn(shown);
    return JSON{{"v", std::to_string((*shown)->record().thumbnailIndex)}};
}

} // namespace wickerlane::cli::view
