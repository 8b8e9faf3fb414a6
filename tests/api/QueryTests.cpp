// Queries and what they give, with the real daemon.
#include <cmath>
#include <functional>
#include <set>
#include <sstream>

#include "tests/api/FromC.h"
#include "tests/api/ProgramOutcome.h"
#include "tests/hoardd/RunningHoardd.h"
#include "wickerlane/api/Wickerlane.h"
#include "wickerlane/client/JXGatekeeperClient.h"

using namespace wickerlane;
using namespace wickerlane::test;

namespace {

constexpr double oneDay = 24 * 60 * 60;

std::string shown(const char *text) {
    return text != nullptr ? text : "null";
}
template <class Value>
std::string shown(Value value) {
    std::ostringstream text;
    text << value;
    return text.str();
}

class CQueries : public RunningHoardd {
protected:
    /// Taken days after 2001-01-01.
    Dictionary *saveOnDay(int day, const std::string &name, const FileBytes &picture) const {
        const auto job = Dictionary::createWithKeys(
            {{"imageData", dataOf(picture).get()},
             {"originalFilename", String::of(name)},
             {"creationDate", Date::createWithReferenceSeconds(day * oneDay).get()}});
        return save(job.get());
    }
    /// The original names of what a query gives, in pages; the error's text when it fails.
    static std::vector<std::string> namesBy(const WLAssetQuery *query) {
        std::vector<std::string> names;
        WLError *error = nullptr;
        auto page = Ref<WLAssetPage>::adopt(WLAssetPageCreate(query, &error));
        while (page) {
            for (std::size_t i = 0; i < WLAssetPageCount(page.get()); ++i)
                names.push_back(shown(WLAssetOriginalFilename(WLAssetPageGet(page.get(), i))));
            page = Ref<WLAssetPage>::adopt(WLAssetPageCreateNext(page.get(), &error));
        }
        if (error != nullptr)
            names.push_back(WLStringText(WLErrorText(error)));
        return names;
    }
    ReleaseScope scope;
};

struct Condition {
    const char *name;
    std::function<void(WLAssetQuery *)> set;
    std::vector<std::string> expected;
};

TEST_F(CQueries, GiveWhatFitsEachCondition) {
    TestExif exif;
    exif.make = "Maker";
    exif.model = "Model";
    exif.latitude = {{10, 0, 0}};
    exif.longitude = {{20, 0, 0}};
    exif.latitudeRef = "N";
    exif.longitudeRef = "E";
    const Dictionary *first = saveOnDay(1, "first.jpg", jpegOf(scene(64, 48, 1), exif));
    const Dictionary *second = saveOnDay(2, "second.png", pngOf(fourCorners(8, 8)));
    const Dictionary *third = saveOnDay(3, "third.jpg", jpegOf(fourCorners(16, 12)));
    const auto details = Ref<WLAssetDetails>::adopt(WLAssetDetailsCreate());
    WLAssetDetailsSetFavourite(details.get(), true);
    WLAssetDetailsSetHidden(details.get(), true);
    WLAssetDetailsSetRating(details.get(), 4);
    EXPECT_TRUE(WLAssetDetailsSetCaption(details.get(), "a dune"));
    const auto applied = Ref<WLAssetQuery>::adopt(WLAssetQueryCreate());
    WLAssetQuerySetIdentity(applied.get(), textIn(second, "uuid").c_str());
    const auto chosen = Ref<WLAssetPage>::adopt(WLAssetPageCreate(applied.get(), nullptr));
    EXPECT_TRUE(WLAssetDetailsApply(details.get(), Array::of({WLAssetPageGet(chosen.get(), 0)}), nullptr));
    const std::string album = "Dunes";
    auto addAlbum = request(11);
    addAlbum->setString("name", album);
    static_cast<void>(answer(addAlbum.get()));
    const auto albums = Ref<WLArray>::adopt(WLAlbumsCreate(nullptr));
    const std::string albumUUID = shown(WLAlbumUUID(WLAsAlbum(WLArrayGet(albums.get(), 0))));
    auto addAsset = request(12);
    addAsset->setString("assetURL", textIn(third, "assetURL"));
    addAsset->setString("albumUUID", albumUUID);
    static_cast<void>(answer(addAsset.get()));

    const std::uint64_t size = static_cast<std::uint64_t>(numberIn(first, "byteSize"));
    const std::vector<std::string> all{"first.jpg", "second.png", "third.jpg"};
    const std::vector<std::string> one{"first.jpg"}, two{"second.png"}, three{"third.jpg"}, none;
    const std::vector<std::string> notOne{"second.png", "third.jpg"}, notTwo{"first.jpg", "third.jpg"};
    const Condition conditions[] = {
        {"none", [](WLAssetQuery *) {}, all},
        {"identity",
         [&](WLAssetQuery *query) { WLAssetQuerySetIdentity(query, textIn(second, "uuid").c_str()); }, two},
        {"photos", [](WLAssetQuery *query) { WLAssetQuerySetKind(query, WLAssetKindPhoto); }, all},
        {"videos", [](WLAssetQuery *query) { WLAssetQuerySetKind(query, WLAssetKindVideo); }, none},
        {"from", [](WLAssetQuery *query) { WLAssetQuerySetFrom(query, 1.5 * oneDay); }, notOne},
        {"until", [](WLAssetQuery *query) { WLAssetQuerySetUntil(query, 1.5 * oneDay); }, one},
        {"box", [](WLAssetQuery *query) { WLAssetQuerySetBox(query, 9, 19, 11, 21); }, one},
        {"box elsewhere", [](WLAssetQuery *query) { WLAssetQuerySetBox(query, 9, 21, 11, 22); }, none},
        {"near", [](WLAssetQuery *query) { WLAssetQuerySetNear(query, 10, 20.01, 2000); }, one},
        {"not near", [](WLAssetQuery *query) { WLAssetQuerySetNear(query, 20, 10, 2000); }, none},
        {"album", [&](WLAssetQuery *query) { WLAssetQuerySetAlbum(query, albumUUID.c_str()); }, three},
        {"name", [](WLAssetQuery *query) { WLAssetQuerySetName(query, "*.png"); }, two},
        {"text", [](WLAssetQuery *query) { WLAssetQuerySetText(query, "dune"); }, notOne},
        {"format", [](WLAssetQuery *query) { WLAssetQuerySetFormat(query, "image/jpeg"); }, notTwo},
        {"camera", [](WLAssetQuery *query) { WLAssetQuerySetCamera(query, "Maker Model"); }, one},
        {"favourite", [](WLAssetQuery *query) { WLAssetQuerySetFavourite(query, true); }, two},
        {"hidden", [](WLAssetQuery *query) { WLAssetQuerySetHidden(query, false); }, notTwo},
        {"rating", [](WLAssetQuery *query) { WLAssetQuerySetMinimumRating(query, 4); }, two},
        {"edited", [](WLAssetQuery *query) { WLAssetQuerySetEdited(query, true); }, none},
        {"problem", [](WLAssetQuery *query) { WLAssetQuerySetProblem(query, false); }, all},
        {"sizes", [&](WLAssetQuery *query) { WLAssetQuerySetSizes(query, size, size); }, one},
        {"no sizes", [](WLAssetQuery *query) { WLAssetQuerySetSizes(query, 0, UINT64_MAX); }, all},
        {"order",
         [](WLAssetQuery *query) { WLAssetQuerySetOrder(query, WLAssetOrderName, true); },
         {"third.jpg", "second.png", "first.jpg"}},
        {"pages", [](WLAssetQuery *query) { WLAssetQuerySetLimit(query, 1); }, all},
        {"taken away",
         [](WLAssetQuery *query) {
             WLAssetQuerySetName(query, "x");
             WLAssetQuerySetName(query, nullptr);
         },
         all},
        {"two",
         [](WLAssetQuery *query) {
             WLAssetQuerySetFormat(query, "image/jpeg");
             WLAssetQuerySetFrom(query, 1.5 * oneDay);
         },
         three},
    };
    for (const auto &[name, set, expected] : conditions) {
        const auto query = Ref<WLAssetQuery>::adopt(WLAssetQueryCreate());
        set(query.get());
        EXPECT_EQ(namesBy(query.get()), expected) << name;
    }
}

TEST_F(CQueries, RefuseWhatMakesNoSense) {
    static_cast<void>(saveOnDay(1, "a.png", pngOf(fourCorners(8, 8))));
    const double nothing = std::nan("");
    const std::pair<const char *, std::function<void(WLAssetQuery *)>> cases[] = {
        {"\"kind\"", [](WLAssetQuery *query) { WLAssetQuerySetKind(query, 256); }},
        {"\"kind\"", [](WLAssetQuery *query) { WLAssetQuerySetKind(query, -1); }},
        {"\"order\"", [](WLAssetQuery *query) { WLAssetQuerySetOrder(query, 4, false); }},
        {"\"name\"", [](WLAssetQuery *query) { WLAssetQuerySetName(query, "\xff"); }},
        {"\"cursor\"", [](WLAssetQuery *query) { WLAssetQuerySetCursor(query, "\xff"); }},
        {"cursor", [](WLAssetQuery *query) { WLAssetQuerySetCursor(query, "elsewhere"); }},
        {"\"fields\"", [](WLAssetQuery *query) { WLAssetQueryAddField(query, 40); }},
        {"\"from\"", [=](WLAssetQuery *query) { WLAssetQuerySetFrom(query, nothing); }},
        {"\"maxBytes\"", [](WLAssetQuery *query) { WLAssetQuerySetSizes(query, 0, UINT64_MAX - 1); }},
        {"a page may have", [](WLAssetQuery *query) { WLAssetQuerySetLimit(query, 0); }},
        {"\"limit\"", [](WLAssetQuery *query) { WLAssetQuerySetLimit(query, SIZE_MAX); }},
    };
    for (const auto &[named, set] : cases) {
        const auto query = Ref<WLAssetQuery>::adopt(WLAssetQueryCreate());
        set(query.get());
        WLError *error = nullptr;
        EXPECT_EQ(WLAssetPageCreate(query.get(), &error), nullptr) << named;
        EXPECT_EQ(WLErrorCode(error), WLErrorInvalid) << named;
        EXPECT_NE(shown(WLStringText(WLErrorText(error))).find(named), std::string::npos)
            << WLStringText(WLErrorText(error));
    }
}

TEST_F(CQueries, GoOnFromACursorAndAskForFields) {
    for (int day = 1; day < 4; ++day)
        static_cast<void>(
            saveOnDay(day, std::to_string(day), pngOf(fourCorners(8 + static_cast<unsigned>(day), 8))));
    const auto query = Ref<WLAssetQuery>::adopt(WLAssetQueryCreate());
    WLAssetQuerySetLimit(query.get(), 2);
    WLAssetQueryAddField(query.get(), WLAssetFieldWidth);
    WLAssetQueryAddField(query.get(), WLAssetFieldFormat);
    const auto page = Ref<WLAssetPage>::adopt(WLAssetPageCreate(query.get(), nullptr));
    ASSERT_EQ(WLAssetPageCount(page.get()), 2U);
    EXPECT_EQ(WLAssetPageGet(page.get(), 2), nullptr);
    const WLAsset *asset = WLAssetPageGet(page.get(), 1);
    EXPECT_EQ(WLAssetWidth(asset), 10U);
    EXPECT_STREQ(WLAssetFormat(asset), "image/png");
    EXPECT_EQ(WLAssetHeight(asset), 0U) << "not asked for";
    EXPECT_EQ(contentsOf(WLStringText(WLAssetFilePath(asset))), pngOf(fourCorners(10, 8)));

    WLAssetQuerySetCursor(query.get(), WLAssetPageCursor(page.get()));
    const auto rest = Ref<WLAssetPage>::adopt(WLAssetPageCreate(query.get(), nullptr));
    ASSERT_EQ(WLAssetPageCount(rest.get()), 1U);
    EXPECT_EQ(WLAssetWidth(WLAssetPageGet(rest.get(), 0)), 11U);
    EXPECT_EQ(WLAssetPageCursor(rest.get()), nullptr);
    WLError *error = nullptr;
    EXPECT_EQ(WLAssetPageCreateNext(rest.get(), &error), nullptr);
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(countFromOldCpp(), 3);
}

TEST_F(CQueries, GiveSectionsOfWhatTheyFind) {
    for (const int day : {1, 2, 40})
        static_cast<void>(saveOnDay(day, std::to_string(day), pngOf(fourCorners(8, day == 2 ? 16 : 8))));
    const auto query = Ref<WLAssetQuery>::adopt(WLAssetQueryCreate());
    WLAssetQuerySetOrder(query.get(), WLAssetOrderDate, true);
    WLError *error = nullptr;
    const auto months =
        Ref<WLAssetSections>::adopt(WLAssetSectionsCreate(query.get(), WLSectionMonth, &error));
    ASSERT_EQ(WLAssetSectionsCount(months.get()), 2U);
    EXPECT_EQ(WLAssetSectionsStart(months.get(), 0), 31 * oneDay) << "February comes first";
    EXPECT_EQ(WLAssetSectionsAssetCount(months.get(), 0), 1U);
    ASSERT_EQ(WLAssetSectionsAssetCount(months.get(), 1), 2U);
    const std::uint16_t *shapes = WLAssetSectionsShapes(months.get(), 1);
    EXPECT_EQ(shapes[0], 500);
    EXPECT_EQ(shapes[1], 1000);
    EXPECT_EQ(WLAssetSectionsAssetCount(months.get(), 2), 0U);
    EXPECT_EQ(WLAssetSectionsShapes(months.get(), 2), nullptr);
    WLAssetQuerySetUntil(query.get(), 3 * oneDay);
    const auto days = Ref<WLAssetSections>::adopt(WLAssetSectionsCreate(query.get(), WLSectionDay, &error));
    EXPECT_EQ(WLAssetSectionsCount(days.get()), 2U);
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(WLAssetSectionsCreate(query.get(), 256, &error), nullptr);
    EXPECT_EQ(WLErrorCode(error), WLErrorInvalid);
}

TEST_F(CQueries, GiveAlbumsMomentsAndDuplicates) {
    const FileBytes picture = pngOf(scene(64, 48, 3));
    std::set<std::string> saved;
    for (const int day : {10, 20, 30})
        saved.insert(textIn(saveOnDay(day, "x.png", picture), "uuid"));
    auto addAlbum = request(11);
    addAlbum->setString("name", "Dunes");
    const auto added = answer(addAlbum.get());
    JXGatekeeperClient::sharedInstance()->analyzeInvalidMomentsAndDupesIfNeeded();

    WLError *error = nullptr;
    const auto albums = Ref<WLArray>::adopt(WLAlbumsCreate(&error));
    ASSERT_EQ(WLArrayCount(albums.get()), 1U);
    const WLAlbum *album = WLAsAlbum(WLArrayGet(albums.get(), 0));
    EXPECT_STREQ(WLAlbumName(album), "Dunes");
    EXPECT_EQ(WLAlbumAssetCount(album), 0U);
    EXPECT_EQ(WLAlbumStreamID(album), nullptr);
    EXPECT_EQ(WLURLText(WLAlbumURL(album))->utf8(), "rez-vault://group/?id=" + shown(WLAlbumUUID(album)));
    EXPECT_GT(WLAlbumDateCreated(album), 7000 * oneDay);

    std::vector<double> starts;
    auto page = Ref<WLMomentPage>::adopt(WLMomentPageCreate(15 * oneDay, HUGE_VAL, true, 1, &error));
    while (page) {
        ASSERT_EQ(WLMomentPageCount(page.get()), 1U);
        const WLMoment *moment = WLMomentPageGet(page.get(), 0);
        starts.push_back(WLMomentStartDate(moment) / oneDay);
        EXPECT_TRUE(WLMomentIsAnalyzed(moment));
        EXPECT_EQ(WLMomentAssetCount(moment), 1U);
        EXPECT_EQ(WLMomentPhotoCount(moment), 1U);
        EXPECT_EQ(WLMomentVideoCount(moment), 0U);
        EXPECT_FALSE(WLMomentGetLocation(moment, nullptr, nullptr));
        const auto query = Ref<WLAssetQuery>::adopt(WLAssetQueryCreate());
        WLAssetQuerySetMoment(query.get(), WLMomentNumber(moment));
        const auto assets = Ref<WLAssetPage>::adopt(WLAssetPageCreate(query.get(), nullptr));
        ASSERT_EQ(WLAssetPageCount(assets.get()), 1U);
        EXPECT_STREQ(WLAssetUUID(WLAssetPageGet(assets.get(), 0)), WLMomentKeyAsset(moment));
        page = Ref<WLMomentPage>::adopt(WLMomentPageCreateNext(page.get(), &error));
    }
    EXPECT_EQ(error, nullptr);
    EXPECT_EQ(starts, (std::vector<double>{30, 20}));
    const auto lists = Ref<WLMomentLists>::adopt(WLMomentListsCreate(&error));
    std::uint64_t inLists = 0;
    for (std::size_t i = 0; i < WLMomentListsCount(lists.get()); ++i) {
        inLists += WLMomentListsMomentCount(lists.get(), i);
        EXPECT_EQ(WLMomentListsAssetCount(lists.get(), i), WLMomentListsMomentCount(lists.get(), i));
        EXPECT_LE(WLMomentListsStartDate(lists.get(), i), WLMomentListsEndDate(lists.get(), i));
        EXPECT_TRUE(WLMomentListsIsAnalyzed(lists.get(), i));
        EXPECT_TRUE(saved.contains(shown(WLMomentListsKeyAsset(lists.get(), i))));
        EXPECT_NE(WLMomentListsNumber(lists.get(), i), 0);
    }
    EXPECT_EQ(inLists, 3U);
    EXPECT_EQ(WLMomentListsKeyAsset(lists.get(), WLMomentListsCount(lists.get())), nullptr);
    EXPECT_EQ(WLMomentPageCreate(std::nan(""), 0, false, 1, &error), nullptr);
    EXPECT_EQ(WLErrorCode(error), WLErrorInvalid);

    const auto groups = Ref<WLDuplicatesPage>::adopt(WLDuplicatesPageCreate(WLDuplicatesAll, 10, &error));
    ASSERT_EQ(WLDuplicatesPageCount(groups.get()), 1U);
    const WLDuplicates *group = WLDuplicatesPageGet(groups.get(), 0);
    EXPECT_TRUE(WLDuplicatesAreSame(group));
    std::set<std::string> uuids;
    for (std::size_t i = 0; i < WLDuplicatesCount(group); ++i)
        uuids.insert(WLDuplicatesGetUUID(group, i));
    EXPECT_EQ(uuids, saved);
    EXPECT_EQ(WLDuplicatesGetUUID(group, 3), nullptr);
    EXPECT_EQ(WLDuplicatesPageCreateNext(groups.get(), &error), nullptr);
    EXPECT_EQ(error, nullptr);
    for (const auto &[kind, count] : {std::pair(WLDuplicatesSame, 1U), std::pair(WLDuplicatesSimilar, 0U)}) {
        const auto some = Ref<WLDuplicatesPage>::adopt(WLDuplicatesPageCreate(kind, 10, &error));
        ASSERT_TRUE(some);
        EXPECT_EQ(WLDuplicatesPageCount(some.get()), count) << kind;
    }
}

TEST_F(CQueries, ShowDetailsThatWereSet) {
    static_cast<void>(saveOnDay(1, "a.png", pngOf(fourCorners(8, 8))));
    const auto query = Ref<WLAssetQuery>::adopt(WLAssetQueryCreate());
    const auto asset = [&] {
        const auto page = Ref<WLAssetPage>::adopt(WLAssetPageCreate(query.get(), nullptr));
        return Ref(WLAssetPageGet(page.get(), 0));
    };
    WLError *error = nullptr;
    const auto keywords = [&](void (*set)(WLAssetDetails *, WLArray *),
                              std::initializer_list<Object *> words) {
        const auto details = Ref<WLAssetDetails>::adopt(WLAssetDetailsCreate());
        set(details.get(), Array::of(words));
        return WLAssetDetailsApply(details.get(), Array::of({asset().get()}), &error);
    };
    String *const sand = String::of("sand"), *const sea = String::of("sea"), *const sky = String::of("sky");
    EXPECT_TRUE(keywords(WLAssetDetailsSetKeywords, {sand, sea}));
    EXPECT_TRUE(keywords(WLAssetDetailsAddKeywords, {sky}));
    EXPECT_TRUE(keywords(WLAssetDetailsRemoveKeywords, {sand}));
    EXPECT_EQ(error, nullptr);
    EXPECT_STREQ(WLAssetKeywords(asset().get()), "sea\nsky");
    EXPECT_FALSE(keywords(WLAssetDetailsAddKeywords, {Number::of(1)}));
    EXPECT_EQ(WLErrorCode(error), WLErrorInvalid);

    const auto details = Ref<WLAssetDetails>::adopt(WLAssetDetailsCreate());
    EXPECT_FALSE(WLAssetDetailsSetCaption(details.get(), "\xff"));
    EXPECT_TRUE(WLAssetDetailsSetCaption(details.get(), ""));
    WLAssetDetailsSetRating(details.get(), 6);
    EXPECT_FALSE(WLAssetDetailsApply(details.get(), Array::of({asset().get()}), &error));
    EXPECT_EQ(WLErrorCode(error), WLErrorInvalid);
    for (WLArray *assets : {static_cast<WLArray *>(nullptr), Array::of({})}) {
        EXPECT_FALSE(WLAssetDetailsApply(details.get(), assets, &error));
        EXPECT_EQ(WLErrorCode(error), WLErrorInvalid);
    }
    EXPECT_FALSE(WLAssetDetailsApply(nullptr, Array::of({asset().get()}), &error));
    EXPECT_EQ(WLErrorCode(error), WLErrorInvalid);
}

TEST_F(CQueries, AreShownByAProgramInC) {
    std::string expected;
    for (int day = 1; day < 6; ++day) {
        const Dictionary *saved = saveOnDay(day, std::to_string(day) + ".png", pngOf(fourCorners(8, 9)));
        expected += textIn(saved, "uuid") + " 2001-01-0" + std::to_string(1 + day) + " 00:00:00 8x9 " +
                    std::to_string(day) + ".png\n";
    }
    for (const char *limit : {" 2", " 5", ""})
        EXPECT_EQ(outcomeOf(LIST_EXAMPLE + std::string(limit)), std::pair(expected, 0)) << limit;
    const auto refused = outcomeOf(LIST_EXAMPLE " 0");
    EXPECT_EQ(refused.second, 1);
    EXPECT_NE(refused.first.find("a page may have"), std::string::npos) << refused.first;
}

template <class Value>
std::string shown(bool (*get)(const WLAsset *, Value *), const WLAsset *asset) {
    Value value = 99;
    const bool isKnown = get(asset, &value);
    EXPECT_EQ(get(asset, nullptr), isKnown);
    return isKnown ? shown(value) : "unknown " + shown(value);
}

/// All facts, in the order of the header.
std::vector<std::string> factsOf(const WLAsset *asset) {
    double latitude = 99, longitude = 99;
    const bool hasLocation = WLAssetGetLocation(asset, &latitude, &longitude);
    return {shown(WLAssetUUID(asset)),
            shown(WLAssetFilename(asset)),
            shown(WLAssetKind(asset)),
            shown(WLAssetOriginalFilename(asset)),
            shown(WLAssetFormat(asset)),
            shown(WLAssetWidth(asset)),
            shown(WLAssetHeight(asset)),
            shown(WLAssetOrientation(asset)),
            shown(WLAssetByteSize(asset)),
            shown(WLAssetDuration(asset)),
            shown(WLAssetProblem(asset)),
            shown(WLAssetThumbnailIndex(asset)),
            shown(WLAssetDate(asset)),
            shown(WLAssetDateCreated(asset)),
            shown(WLAssetDateAdded(asset)),
            shown(WLAssetGetClockDate, asset),
            shown(WLAssetGetZoneMinutes, asset),
            shown(hasLocation) + ' ' + shown(latitude) + ' ' + shown(longitude),
            shown(WLAssetCamera(asset)),
            shown(WLAssetLens(asset)),
            shown(WLAssetGetExposureSeconds, asset),
            shown(WLAssetGetAperture, asset),
            shown(WLAssetGetISOSpeed, asset),
            shown(WLAssetGetFocalLength, asset),
            shown(WLAssetIsFavourite(asset)) + shown(WLAssetIsHidden(asset)),
            shown(WLAssetRating(asset)),
            shown(WLAssetCaption(asset)),
            shown(WLAssetKeywords(asset)),
            shown(WLAssetExternalUsageIntent(asset))};
}

// A swapped getter shows, since no two facts of a type are equal.
TEST(CAssets, HaveTheFactsOfTheirRecord) {
    ReleaseScope scope;
    AssetRecord record;
    record.primaryKey = 5;
    record.uuid = "00000000-0000-4000-8000-000000000001";
    record.directory = "DCIM/100";
    record.filename = "FILE.MOV";
    using Facts = std::vector<std::string>;
    EXPECT_EQ(
        factsOf(ManagedAsset::create(record, "/library", "STORE").get()),
        (Facts{record.uuid, "FILE.MOV", "0",    "null", "null",      "0",         "0",         "1",
               "0",         "0",        "null", "0",    "0",         "0",         "0",         "unknown 0",
               "unknown 0", "0 0 0",    "null", "null", "unknown 0", "unknown 0", "unknown 0", "unknown 0",
               "00",        "0",        "null", "null", "0"}));
    record.kind = AssetKind::video;
    record.originalFilename = "original";
    record.format = "format";
    record.width = 2;
    record.height = 3;
    record.orientation = 4;
    record.byteSize = 5;
    record.duration = 6.5;
    record.problem = "problem";
    record.thumbnailIndex = 7;
    record.clockDate = 8.5;
    record.dateCreated = 9.5;
    record.dateAdded = 10.5;
    record.zoneMinutes = -90;
    record.latitude = 11.5;
    record.longitude = -12.5;
    record.camera = "camera";
    record.lens = "lens";
    record.exposureSeconds = 13.5;
    record.aperture = 14.5;
    record.isoSpeed = 15;
    record.focalLength = 16.5;
    record.favourite = true;
    record.rating = 1;
    record.caption = "caption";
    record.keywords = "keywords";
    record.externalUsageIntent = 17;
    record.sha256[31] = std::byte{18};
    const auto asset = ManagedAsset::create(record, "/library", "STORE");
    EXPECT_EQ(
        factsOf(asset.get()),
        (Facts{record.uuid, "FILE.MOV", "1",    "original", "format", "2",    "3",   "4",   "5",
               "6.5",       "problem",  "7",    "8.5",      "9.5",    "10.5", "8.5", "-90", "1 11.5 -12.5",
               "camera",    "lens",     "13.5", "14.5",     "15",     "16.5", "10",  "1",   "caption",
               "keywords",  "17"}));
    EXPECT_EQ(WLAssetSHA256(asset.get())[31], 18);
    EXPECT_EQ(WLAssetFilePath(asset.get())->utf8(), "/library/DCIM/100/FILE.MOV");
    EXPECT_EQ(WLURLText(WLAssetFileURL(asset.get()))->utf8(), "file:///library/DCIM/100/FILE.MOV");
    EXPECT_EQ(WLURLText(WLAssetObjectID(asset.get()))->utf8(), "x-hoard-store://STORE/GenericAsset/p5");
    EXPECT_EQ(WLURLText(WLAssetURL(asset.get()))->utf8(),
              "rez-vault://asset/asset.MOV?id=" + record.uuid + "&ext=MOV");
    EXPECT_EQ(WLAsAsset(asset.get()), asset.get());
    EXPECT_EQ(WLAsAsset(String::of("")), nullptr);
}

} // namespace
