// Saves a photo, lists the newest ones, and writes a picture of it for the screen: first PHOTO SHOWN.jpg
#include <cstdio>
#include <filesystem>
#include <fstream>

#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/protocol/ImageDataFormats.h"
#include "wickerlane/protocol/JobKeys.h"

using namespace wickerlane;
namespace fs = std::filesystem;

// The UUID of the asset; null on failure.
static String *save(const fs::path &file) {
    auto path = String::create(fs::absolute(file).string());
    auto unlessPresent = Number::create(true); // run again, the program makes no copy
    auto job = Dictionary::createWithKeys(
        {{protocol::job::filePath, path.get()}, {protocol::job::unlessPresent, unlessPresent.get()}});
    const Dictionary *saved = JXGatekeeperClient::sharedInstance()->saveAsset(job.get());
    return saved != nullptr ? saved->get<String>(protocol::jobResult::uuid) : nullptr;
}

static bool listNewest() {
    AssetQuery query;
    query.order = AssetOrder::added;
    query.isDescending = true;
    query.limit = 10;
    const auto page = JXGatekeeperClient::sharedInstance()->assetsMatchingQuery(query);
    if (!page)
        return false;
    for (const Ref<ManagedAsset> &asset : page->assets)
        std::printf("%s %ux%u\n", asset->uuid()->UTF8String(), asset->record().width, asset->record().height);
    return true;
}

static bool show(const String *uuid, const fs::path &path) {
    AssetQuery query;
    query.filter.identity = uuid->UTF8String();
    auto *const client = JXGatekeeperClient::sharedInstance();
    const auto page = client->assetsMatchingQuery(query);
    if (!page || page->assets.empty())
        return false;
    const Data *picture =
        client->imageDataForAsset(page->assets.front()->objectID(), protocol::imageDataLargeJPEG);
    if (picture == nullptr)
        return false;
    std::ofstream file(path, std::ios::binary);
    file.write(static_cast<const char *>(picture->bytes()), static_cast<std::streamsize>(picture->length()));
    file.close();
    if (!file)
        std::perror(path.c_str());
    return !file.fail();
}

int main(int argc, char **argv) {
    if (argc != 3)
        return 1;
    const ReleaseScope scope;
    const String *uuid = save(argv[1]);
    const bool isDone = uuid != nullptr && listNewest() && show(uuid, argv[2]);
    if (const Error *error = JXGatekeeperClient::lastError(); error != nullptr)
        std::fprintf(stderr, "%s\n", error->localizedDescription()->UTF8String());
    return isDone ? 0 : 1;
}
