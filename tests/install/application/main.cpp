// An application that knows of the library what is installed of it: it saves a picture and reads it back.
#include <cstdio>
#include <cstring>

#include <wickerlane/client/JXGatekeeperClient.h>
#include <wickerlane/platform/object/ReleaseScope.h>
#include <wickerlane/protocol/ImageDataFormats.h>
#include <wickerlane/protocol/JobKeys.h>
#include <wickerlane/store/ObjectStore.h>

using namespace wickerlane;

namespace {

// A grey picture of two by two pixels, in the plainest format that there is.
Ref<ImageSurface> picture() {
    auto surface = ImageSurface::create(2, 2, PixelFormat::gray8);
    std::memset(surface->writableBytes(), 128, surface->bytesPerRow() * surface->height());
    return surface;
}

} // namespace

int main() {
    ReleaseScope scope;
    JXGatekeeperClient *client = JXGatekeeperClient::sharedInstance();
    const auto answered = Semaphore::create(0);
    Ref<Dictionary> result;
    const auto surface = picture();
    client->saveAssetWithJobDictionary(
        nullptr,
        [&](Dictionary *saved, Error *error) {
            if (error != nullptr)
                std::printf("%s\n", error->description()->UTF8String());
            result = saved;
            answered->signal();
        },
        surface.get());
    answered->wait();
    const auto *url = result ? result->get<String>(protocol::jobResult::assetURL) : nullptr;
    if (url == nullptr)
        return 1;
    client->getPhotosAndVideosCountWithHandler([&](Number *photos, Number *) {
        std::printf("photos: %s\n", photos->description()->UTF8String());
        answered->signal();
    });
    answered->wait();
    const auto id =
        ManagedObjectID::create(URL::of(result->get<String>(protocol::jobResult::objectIDURI)->utf8()));
    const Data *png = client->imageDataForAsset(id.get(), protocol::imageDataFullSizePNG);
    std::printf("picture: %s\n",
                png != nullptr && png->length() > 8 && std::memcmp(png->bytes(), "\x89PNG", 4) == 0 ? "a PNG"
                                                                                                    : "none");
    return 0;
}
