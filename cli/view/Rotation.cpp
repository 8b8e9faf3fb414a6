#include "cli/view/Rotation.h"

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "cli/view/DaemonQuestions.h"
#include "cli/view/Parameters.h"
#include "cli/view/TurnedJPEG.h"
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

JXGatekeeperClient *client() {
    return JXGatekeeperClient::sharedInstance();
}

/// A picture to be turned, and what is to be said of the result.
struct Source {
    Ref<const Data> picture;
    int quarters = 0; ///< 0 when the edit is to be taken away: then there is no picture.
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
        const auto turns = (before != nullptr ? before->int64Value() & 3 : 0) + quarters;
        const int all = static_cast<int>(turns & 3);
        properties->set(quartersKey, Number::of(all));
        if (all == 0) {
            source.quarters = 0;
            return source;
        }
        if (record.format == "image/jpeg" && record.orientation == 1)
            if (auto original = pictureIn(asset, protocol::imageDataOriginal)) {
                source.picture = *std::move(original);
                source.quarters = all;
                return source;
            }
    }
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
