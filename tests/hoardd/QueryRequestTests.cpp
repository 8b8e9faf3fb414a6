// Listing and finding, asked of a running daemon by the client.
#include <algorithm>
#include <cmath>
#include <set>

#include "tests/client/OwnClient.h"
#include "tests/hoardd/RunningHoardd.h"
#include "wickerlane/platform/file/Files.h"

using namespace wickerlane;
using namespace wickerlane::test;

namespace {

class QueryRequests : public RunningHoardd {
protected:
    const OwnClient client{};

    std::string saveAt(double unixSeconds, const std::string &name, const FileBytes &picture) const {
        const auto job =
            Dictionary::createWithKeys({{"imageData", dataOf(picture).get()},
                                        {"originalFilename", String::of(name)},
                                        {"creationDate", Date::createWithUnixSeconds(unixSeconds).get()}});
        return textIn(save(job.get()), "uuid");
    }
    [[nodiscard]] std::int64_t lastErrorCode() const {
        const Error *error = JXGatekeeperClient::lastError();
        return error != nullptr ? error->code() : -1;
    }
};

TEST_F(QueryRequests, GiveWhatTheStoreHas) {
    ReleaseScope scope;
    const std::string one = saveAt(1e9, "one.png", pngOf(scene(40, 30, 1)));
    const std::string two = saveAt(1e9 + 1e7, "two.png", pngOf(scene(30, 40, 2)));
    const auto store = StoreView::open();
    ASSERT_TRUE(store);

    const auto page = client->assetsMatchingQuery({.limit = 1});
    ASSERT_TRUE(page);
    ASSERT_EQ(page->assets.size(), 1U);
    const ManagedAsset *stored = store->assetWithUUID(one);
    const AssetRecord &record = page->assets.front()->record();
    EXPECT_TRUE(page->assets.front()->isEqual(stored));
    EXPECT_TRUE(page->assets.front()->fileURL()->isEqual(stored->fileURL()));
    EXPECT_EQ(record.sha256, stored->record().sha256);
    EXPECT_EQ(record.width, 40U);
    EXPECT_EQ(record.latitude, std::nullopt);
    EXPECT_EQ(record.dateAdded, stored->record().dateAdded);

    const auto next = client->assetsMatchingQuery(
        {.limit = 1, .cursor = page->next, .fields = fieldOf<&AssetRecord::width>()});
    ASSERT_TRUE(next);
    ASSERT_EQ(next->assets.size(), 1U);
    EXPECT_EQ(next->next, "");
    EXPECT_EQ(next->assets.front()->record().uuid, two) << "identity is always there";
    EXPECT_EQ(next->assets.front()->record().width, 30U);
    EXPECT_EQ(next->assets.front()->record().byteSize, 0U) << "not asked for";
    EXPECT_TRUE(next->assets.front()->fileURL()->isEqual(store->assetWithUUID(two)->fileURL()));

    const auto sections = client->sectionsOfAssets({}, SectionUnit::month, true);
    ASSERT_TRUE(sections);
    ASSERT_EQ(sections->size(), 2U);
    EXPECT_EQ(sections->front().shapes, std::vector<std::uint16_t>{750});
}

TEST_F(QueryRequests, GiveAlbumsMomentsAndDuplicatesInPages) {
    ReleaseScope scope;
    const FileBytes picture = pngOf(scene(64, 48, 3));
    std::set<std::string> saved;
    for (int i = 0; i < 3; ++i)
        saved.insert(saveAt(1e9 + i * 1e6, "x.png", picture));
    auto addAlbum = request(11);
    addAlbum->setString("name", "Dunes");
    static_cast<void>(answer(addAlbum.get()));
    client->analyzeInvalidMomentsAndDupesIfNeeded();

    const auto albums = client->albums();
    ASSERT_TRUE(albums);
    ASSERT_EQ(albums->size(), 1U);
    EXPECT_EQ(albums->front()->record().name, "Dunes");
    EXPECT_TRUE(albums->front()->isEqual(StoreView::open()->albumNamed("Dunes")));

    MomentQuery moments{.isDescending = true, .limit = 2};
    std::vector<double> starts;
    do {
        const auto page = client->momentsMatchingQuery(moments);
        ASSERT_TRUE(page);
        for (const MomentRecord &each : page->moments) {
            starts.push_back(each.startDate);
            const auto assets = client->assetsMatchingQuery({.filter = {.moment = each.primaryKey}});
            ASSERT_TRUE(assets);
            EXPECT_EQ(assets->assets.size(), 1U);
            EXPECT_EQ(assets->assets.front()->record().uuid, each.keyAsset);
        }
        moments.cursor = page->next;
    } while (!moments.cursor.empty());
    EXPECT_EQ(starts.size(), 3U);
    const auto withAssets = client->momentsMatchingQuery({.withAssets = true});
    ASSERT_TRUE(withAssets && withAssets->moments.size() == 3);
    for (const MomentRecord &each : withAssets->moments)
        EXPECT_EQ(each.uuids, std::vector{each.keyAsset});
    const auto lists = client->momentLists();
    ASSERT_TRUE(lists);
    EXPECT_EQ(lists->storeUUID, StoreView::open()->storeUUID());
    std::uint64_t inLists = 0;
    for (const MomentListRecord &each : lists->lists)
        inLists += each.momentCount;
    EXPECT_EQ(inLists, 3U);
    EXPECT_TRUE(client->momentsMatchingQuery({})->isComplete);
    EXPECT_EQ(client->momentsMatchingQuery({})->storeUUID, lists->storeUUID);
    EXPECT_TRUE(client->duplicatesMatchingQuery({})->isComplete);
    EXPECT_TRUE(std::ranges::is_sorted(starts, std::greater()));
    moments = {.from = starts[1], .until = starts[0]};
    ASSERT_TRUE(client->momentsMatchingQuery(moments));
    EXPECT_EQ(client->momentsMatchingQuery(moments)->moments.size(), 1U);

    const auto duplicates = client->duplicatesMatchingQuery({});
    ASSERT_TRUE(duplicates);
    ASSERT_EQ(duplicates->groups.size(), 1U);
    const auto &uuids = duplicates->groups.front().uuids;
    EXPECT_EQ(std::set<std::string>(uuids.begin(), uuids.end()), saved);
    EXPECT_TRUE(client->duplicatesMatchingQuery({.isSame = false})->groups.empty());

    saved.insert(saveAt(2e9, "y.png", pngOf(scene(30, 60, 4))));
    EXPECT_FALSE(client->momentsMatchingQuery({})->isComplete) << "one is in none";
    EXPECT_FALSE(client->duplicatesMatchingQuery({})->isComplete);
}

TEST_F(QueryRequests, GiveTheTrashInPages) {
    ReleaseScope scope;
    std::vector<std::string> saved;
    for (unsigned i = 0; i < 3; ++i)
        saved.push_back(saveAt(1e9, "x.png", pngOf(scene(40, 30, i))));
    for (const std::string &each : {saved[1], saved[0]}) {
        const auto page = client->assetsMatchingQuery({.filter = {.identity = each}});
        ASSERT_TRUE(page && page->assets.size() == 1);
        ASSERT_TRUE(client->deleteAsset(page->assets.front()->assetURL()));
    }
    TrashQuery query{.limit = 1};
    std::vector<std::string> found;
    double last = HUGE_VAL;
    do {
        const auto page = client->trashMatchingQuery(query);
        ASSERT_TRUE(page);
        ASSERT_EQ(page->assets.size(), 1U);
        const auto &[asset, dateTrashed] = page->assets.front();
        found.push_back(asset->record().uuid);
        EXPECT_EQ(asset->record().width, 40U) << "all fields come";
        EXPECT_LE(dateTrashed, last);
        EXPECT_GE(dateTrashed, asset->record().dateAdded);
        last = dateTrashed;
        query.cursor = page->next;
    } while (!query.cursor.empty());
    EXPECT_EQ(found, (std::vector{saved[0], saved[1]})) << "the latest first";
    EXPECT_EQ(client->countOfAssets({}), 1U);
    const struct {
        std::vector<std::string> uuids, found;
    } named[] = {{{saved[1], saved[2], "x"}, {saved[1]}},
                 {{saved[1], saved[0]}, {saved[0], saved[1]}},
                 {{saved[2]}, {}},
                 {{}, {}}};
    for (const auto &[uuids, expected] : named) {
        found.clear();
        for (TrashQuery each{.limit = 1, .uuids = uuids};;) {
            const auto page = client->trashMatchingQuery(each);
            ASSERT_TRUE(page);
            for (const TrashedAsset &trashed : page->assets)
                found.push_back(trashed.asset->record().uuid);
            each.cursor = page->next;
            if (each.cursor.empty())
                break;
        }
        EXPECT_EQ(found, expected);
    }
    const std::vector<std::string> tooMany(10'001, saved[0]);
    for (const TrashQuery &odd :
         {TrashQuery{.limit = 0}, TrashQuery{.cursor = "x"}, TrashQuery{.uuids = tooMany}}) {
        EXPECT_FALSE(client->trashMatchingQuery(odd));
        EXPECT_EQ(lastErrorCode(), static_cast<std::int64_t>(ProblemKind::invalid));
    }
}

TEST_F(QueryRequests, GiveTheOtherFilesOfAssets) {
    ReleaseScope scope;
    const std::string plain = saveAt(1e9, "x.png", pngOf(scene(40, 30, 1)));
    TestExif exif;
    TestRaw raw;
    exif.dateTimeOriginal = raw.dateTimeOriginal = "2021:06:15 10:20:30";
    raw.width = 3000;
    raw.preview = jpegOf(fourCorners(60, 40));
    const FileBytes second = rawOf(raw);
    const std::string one = rootPath() + "/a.jpg", other = rootPath() + "/a.DNG";
    writeFile(one, jpegOf(fourCorners(40, 30), exif));
    writeFile(other, second);
    const auto *pair =
        save(Dictionary::createWithKeys({{"filePath", String::of(one)}, {"companionPath", String::of(other)}})
                 .get());
    const std::string uuid = textIn(pair, "uuid");
    const auto photos = MutableArray::create();
    for (const std::string &each : {plain, uuid, std::string("no UUID")})
        photos->append(String::of(each));
    const auto companions = client->companionsOfPhotos(photos.get());
    ASSERT_TRUE(companions);
    ASSERT_EQ(companions->size(), 1U);
    const CompanionRecord &companion = companions->front();
    EXPECT_EQ(companion.assetUUID, uuid);
    EXPECT_EQ(companion.originalFilename, "a.DNG");
    EXPECT_EQ(companion.byteSize, second.size());
    EXPECT_EQ(contentsOf(companion.path), second);

    const auto url = URL::create(textIn(pair, "assetURL"));
    ASSERT_TRUE(client->renditionOfAsset(url.get()));
    EXPECT_EQ(client->renditionOfAsset(url.get())->file, nullptr);
    EXPECT_FALSE(client->companionsOfPhotos(MutableArray::create().get()));
    EXPECT_EQ(lastErrorCode(), static_cast<std::int64_t>(ProblemKind::invalid));
}

TEST_F(QueryRequests, RefuseWithAReason) {
    ReleaseScope scope;
    const auto refused = [&](const char *key, Object *value) {
        auto message = request(1030);
        const auto query = Dictionary::createWithKeys({{key, value}});
        JXMsgDictionarySetDictionary(message.get(), "query", query.get());
        return refusal(message.get());
    };
    EXPECT_NE(refused("kind", Number::of(2)).find("\"kind\""), std::string::npos);
    EXPECT_NE(refused("kind", String::of("photo")).find("\"kind\""), std::string::npos);
    EXPECT_NE(refused("isEdited", Number::of(1)).find("\"isEdited\""), std::string::npos);
    EXPECT_NE(refused("limit", Number::of(-1)).find("\"limit\""), std::string::npos);
    EXPECT_NE(refused("colour", String::of("red")).find("does not know"), std::string::npos);
    EXPECT_NE(refused("uuids", String::of("x")).find("\"uuids\""), std::string::npos);
    EXPECT_NE(refused("cursor", String::of("x")).find("cursor"), std::string::npos);
    auto list = request(1030);
    JXMsgDictionarySetArray(list.get(), "query", MutableArray::create().get());
    EXPECT_NE(refusal(list.get()).find("no dictionary"), std::string::npos);

    EXPECT_FALSE(client->assetsMatchingQuery({.filter = {.name = "\xff"}})) << "a condition is never dropped";
    EXPECT_EQ(lastErrorCode(), static_cast<std::int64_t>(ProblemKind::invalid));
    EXPECT_FALSE(client->assetsMatchingQuery({.limit = 0}));
    EXPECT_EQ(lastErrorCode(), static_cast<std::int64_t>(ProblemKind::invalid));
    EXPECT_TRUE(client->assetsMatchingQuery({}));
    EXPECT_EQ(lastErrorCode(), -1);
}

} // namespace
