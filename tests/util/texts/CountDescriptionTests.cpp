#include "wickerlane/util/texts/JXCountDescription.h"

#include <gtest/gtest.h>

#include <list>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "wickerlane/model/ManagedAsset.h"
#include "wickerlane/platform/locale/Locale.h"
#include "wickerlane/util/texts/JXDates.h"
#include "wickerlane/util/texts/JXItemKinds.h"
#include "wickerlane/util/texts/JXMomentHomeLocationName.h"
#include "wickerlane/util/texts/JXSelectionTexts.h"

using namespace wickerlane;

namespace {

struct Item {
    int kind;
    [[nodiscard]] int assetKind() const { return kind; }
    bool operator<(const Item &other) const { return kind < other.kind; }
};
using Items = std::vector<Item>;

class ItemObject : public Object {
public:
    JXAssetKind assetKind() { return JXAssetKindVideo; }
};

std::string textOf(const String *string) {
    return string == nullptr ? "null" : std::string(string->utf8());
}

class Descriptions : public ::testing::Test {
protected:
    void SetUp() override {
        setProcessLanguages({"en"});
        JXSharedCountFormatter();
    }
    void TearDown() override { setProcessLanguages({}); }
};

TEST_F(Descriptions, CountsAreInWords) {
    struct Row {
        std::uint64_t photos, videos, others;
        bool keepCase, conjunction;
        const char *text;
    };
    const Row rows[] = {
        {0, 0, 0, true, true, "No Photos or Videos"},
        {0, 0, 0, false, false, "no photos or videos"},
        {1, 0, 0, true, true, "1 Photo"},
        {0, 1, 0, true, true, "1 Video"},
        {0, 0, 1, true, true, "1 Item"},
        {2, 0, 0, true, true, "2 Photos"},
        {0, 1234, 0, true, true, "1,234 Videos"},
        {0, 0, UINT64_MAX, false, true, "18,446,744,073,709,551,615 items"},
        {1, 0, 5, true, true, "1 Photo and 5 Items"},
        {1, 0, 5, true, false, "1 Photo, 5 Items"},
        {0, 3, 1, false, true, "3 videos and 1 item"},
        {2, 1, 0, false, false, "2 photos, 1 video"},
        {1234, 1, 2, true, true, "1,234 Photos, 1 Video, and 2 Items"},
        {1, 2, 3, false, false, "1 photo, 2 videos, 3 items"},
    };
    for (const Row &row : rows)
        EXPECT_EQ(textOf(JXLocalizedCountDescription(row.photos, row.videos, row.others, row.keepCase,
                                                     row.conjunction)),
                  row.text);
    EXPECT_EQ(JXSharedCountFormatter(), JXSharedCountFormatter());
    EXPECT_TRUE(JXSharedCountFormatter()->generatesDecimalNumbers());
    EXPECT_EQ(JXSharedCountFormatter()->style(), NumberStyle::decimal);

    setProcessLanguages({"ja"});
    EXPECT_EQ(textOf(JXLocalizedCountDescription(3, 1, 0, true, true)), "写真3枚とビデオ1本");
    setProcessLanguages({"pt-PT"}); // read best in the Portuguese that there is
    EXPECT_EQ(textOf(JXLocalizedCountDescription(3, 1, 0, true, true)), "3 fotos e 1 vídeo");
}

TEST_F(Descriptions, ItemsAreAnyRangeOfObjectsWithAKind) {
    const auto first = std::make_unique<Item>(Item{1});
    const Item second{1};
    const auto object = makeRef<ItemObject>();
    EXPECT_EQ(textOf(JXSuffixForItems(std::vector<const Item *>{first.get(), &second})), "VIDEO");
    EXPECT_EQ(textOf(JXSuffixForItems(std::vector<Ref<ItemObject>>{object, object})), "VIDEO");
    EXPECT_EQ(textOf(JXSuffixForItems(std::set<Item>{{0}})), "PHOTO");
    const std::list<Item> mixed{{0}, {1}, {0}};
    EXPECT_EQ(textOf(JXSuffixForItems(mixed)), "ITEM");
    struct Photos { // can't be iterated while it is constant, as what filters a range
        std::vector<Item> items{{0}, {0}};
        auto begin() { return items.begin(); }
        auto end() { return items.end(); }
    };
    EXPECT_EQ(textOf(JXSuffixForItems(Photos())), "PHOTO");
    EXPECT_EQ(JXItemCollection(mixed).count(), 3U);

    AssetRecord record;
    record.uuid = "00000000-0000-4000-8000-000000000000";
    record.kind = AssetKind::video;
    EXPECT_EQ(textOf(JXLocalizedSelectionMessageForItems(
                  std::vector{ManagedAsset::create(record, "/library", record.uuid)})),
              "1 Video Selected");
}

TEST_F(Descriptions, ACollectionOfSeveralKindsIsOfItems) {
    struct Row {
        Items items;
        const char *suffix;
        std::vector<std::uint64_t> counts;
    };
    const Row rows[] = {
        {{}, "ITEM", {0, 0, 0, 0}},
        {{{0}, {0}}, "PHOTO", {2, 0, 0, 0}},
        {{{1}}, "VIDEO", {0, 1, 0, 0}},
        {{{2}, {2}}, "ITEM", {0, 0, 2, 0}},
        {{{3}}, "ITEM", {0, 0, 0, 1}},
        {{{0}, {1}}, "ITEM", {1, 1, 0, 0}},
        {{{7}, {7}}, "null", {0, 0, 0, 0}},
        {{{7}, {0}}, "ITEM", {1, 0, 0, 0}},
        {{{-1}}, "null", {0, 0, 0, 0}},
        {{{0x10001}, {1}}, "VIDEO", {0, 2, 0, 0}}, // only the low 16 bits count
    };
    for (const Row &row : rows) {
        EXPECT_EQ(textOf(JXSuffixForItems(row.items)), row.suffix);
        std::vector<std::uint64_t> counts(4, 99);
        JXAssetCountsByType(row.items, &counts[0], &counts[1], &counts[2], &counts[3]);
        EXPECT_EQ(counts, row.counts);
    }
}

TEST_F(Descriptions, TheSelectionPromptNamesTheKind) {
    struct Row {
        std::uint64_t photos, videos, total;
        const char *text;
    };
    const Row rows[] = {{3, 0, 3, "Select Photos"}, {3, 0, 4, "Select Items"}, {0, 2, 2, "Select Videos"},
                        {0, 2, 3, "Select Items"},  {1, 1, 2, "Select Items"}, {0, 0, 0, "Select Items"},
                        {3, 0, 2, "Select Items"},  {0, 0, 5, "Select Items"}};
    for (const Row &row : rows)
        EXPECT_EQ(textOf(JXLocalizedSelectionPromptForItemCounts(row.photos, row.videos, row.total)),
                  row.text);
    EXPECT_EQ(textOf(JXLocalizedSelectionPromptForItems(Items{{0}})), "Select Photos");
    EXPECT_EQ(textOf(JXLocalizedSelectionPromptForItems(Items{{1}, {1}})), "Select Videos");
    for (const Items &others : {Items{}, Items{{0}, {1}}, Items{{2}}, Items{{7}}})
        EXPECT_EQ(textOf(JXLocalizedSelectionPromptForItems(others)), "Select Items");
}

TEST_F(Descriptions, TheSelectionMessageCountsTheItems) {
    EXPECT_EQ(textOf(JXLocalizedSelectionMessageForItems(Items{{0}})), "1 Photo Selected");
    EXPECT_EQ(textOf(JXLocalizedSelectionMessageForItems(Items(1234, {1}))), "1234 Videos Selected");
    EXPECT_EQ(textOf(JXLocalizedSelectionMessageForItems(Items{{0}, {1}})), "2 Items Selected");
    EXPECT_EQ(textOf(JXLocalizedSelectionMessageForItems(Items{{7}})), "1 Selected");
    EXPECT_EQ(JXLocalizedSelectionMessageForItems(Items{}), nullptr);

    const auto suffix = [](JXItemCollection items) -> String * {
        return items.count() == 3 ? nullptr : String::of("CAT");
    };
    String *action = String::of("STROKE");
    EXPECT_EQ(textOf(JXLocalizedStringForAction(action, Items(1), suffix)), "STROKE_CAT");
    EXPECT_EQ(textOf(JXLocalizedStringForAction(action, Items(2), suffix)), "STROKE_CATS");
    EXPECT_EQ(textOf(JXLocalizedStringForAction(action, Items(3), suffix)), "STROKE");
    EXPECT_EQ(JXLocalizedStringForAction(action, Items(), suffix), nullptr);
}

TEST_F(Descriptions, ThePickerPromptNamesTheAlbum) {
    String *album = String::of("100 % %@ Fun");
    const auto prompt = [&](const Items &items) {
        return textOf(JXLocalizedAddPhotosPickerPromptForItems(items, album));
    };
    EXPECT_EQ(prompt({}), "Add photos to “100 % %@ Fun”");
    EXPECT_EQ(prompt({{0}}), "Add 1 photo to “100 % %@ Fun”");
    EXPECT_EQ(prompt({{1}}), "Add 1 video to “100 % %@ Fun”");
    EXPECT_EQ(prompt({{3}}), "Add 1 item to “100 % %@ Fun”");
    EXPECT_EQ(prompt(Items(1234, {0})), "Add 1234 photos to “100 % %@ Fun”");
    EXPECT_EQ(prompt(Items(2, {1})), "Add 2 videos to “100 % %@ Fun”");
    EXPECT_EQ(prompt({{0}, {1}}), "Add 2 items to “100 % %@ Fun”");
    EXPECT_EQ(prompt({{7}}), "ADD_ITEMS_PICKER_PROMPT_1_(null)");
    EXPECT_EQ(textOf(JXLocalizedAddPhotosPickerPromptForItems(Items{}, nullptr)), "Add photos to “(null)”");
}

TEST_F(Descriptions, TheHidingWarningCountsTheAlbums) {
    struct Row {
        Items items;
        std::uint64_t albums;
        const char *text;
    };
    const Row rows[] = {
        {{}, 3, "null"},
        {{{0}}, 0, "This photo will be hidden everywhere, including in %@ albums."},
        {{{0}}, 1, "This photo will be hidden everywhere, including in 1 album."},
        {{{0}}, 2, "This photo will be hidden everywhere, including in 2 albums."},
        {{{1}}, 1, "This video will be hidden everywhere, including in 1 album."},
        {{{1}, {1}}, 1234, "These videos will be hidden everywhere, including in 1,234 albums."},
        {{{0}, {0}}, 0, "These photos will be hidden everywhere, including in %@ albums."},
        {{{0}, {1}}, 1, "These items will be hidden everywhere, including in 1 album."},
        {{{2}}, 2, "This item will be hidden everywhere, including in 2 albums."},
        {{{7}}, 1, "HIDE_EVERYWHERE_CONF_TITLE_(null)_1_ALBUM"},
        {{{7}, {7}}, 9, "HIDE_EVERYWHERE_CONF_TITLE_(null)S_N_ALBUMS"},
    };
    for (const Row &row : rows)
        EXPECT_EQ(textOf(JXLocalizedHideItemsEverywhereWarning(row.items, row.albums)), row.text);
}

TEST_F(Descriptions, DatesAreWrittenInTheCalendarOfTheLocale) {
    EXPECT_EQ(JXRelativePrettyDateForDate(nullptr), nullptr);
    Date *spring = JXGregorianCalendar()->dateFromComponents({2001, 5, 3, 15, 30, 0});
    EXPECT_EQ(textOf(JXRelativePrettyDateForDate(spring)).substr(0, 17), "May 3, 2001, 3:30");
    EXPECT_EQ(JXGregorianCalendar(), JXGregorianCalendar());
    EXPECT_EQ(textOf(JXMomentHomeLocationName), "_$!<Home>!$_");
}

} // namespace
