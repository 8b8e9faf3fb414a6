// When groups of duplicates are stale, and what is written of them.
#include "hoardd/analysis/DuplicateStore.h"

#include "hoardd/analysis/Duplicates.h"
#include "tests/hoardd/OpenLibrary.h"

using namespace wickerlane;
using namespace wickerlane::hoardd;
using sqlite::Database;

namespace {

class DuplicateStore : public OpenLibrary {
protected:
    /// The key of a row without files, whose original has that sum.
    [[nodiscard]] std::int64_t added(int number, int sum) const {
        Store::Addition addition;
        addition.record.uuid = "U" + std::to_string(number);
        addition.record.sha256[0] = static_cast<std::byte>(sum);
        addition.record.width = addition.record.height = 10;
        addition.record.dateCreated = 1000.0 * number;
        EXPECT_TRUE(library().writer().add({&addition, 1}));
        return addition.record.primaryKey;
    }
    void remove(std::int64_t asset) const {
        ASSERT_TRUE(library().writer().change([asset](Database &database) {
            return database.prepare("DELETE FROM zgenericasset WHERE pk = ?").bind(asset).run();
        }));
    }
    [[nodiscard]] DuplicatePlan plan() const {
        const auto made = library().read(planDuplicates);
        EXPECT_TRUE(made);
        return *made;
    }
    void apply(const DuplicatePlan &plan) const {
        ASSERT_TRUE(library().writer().change([&](Database &database) { return applyPlan(database, plan); }));
    }
    [[nodiscard]] bool isStale() const { return library().read(areGroupsStale).value_or(false); }
    [[nodiscard]] std::vector<std::int64_t> grouped() const {
        return *library().read([](Database &database) {
            return database.prepare("SELECT asset FROM zduplicate ORDER BY asset")
                .all([](const sqlite::Statement &row) { return row.integer(0); });
        });
    }
    using Keys = std::vector<std::int64_t>;
};

TEST_F(DuplicateStore, AGroupIsWrittenAndFollowsWhatAPersonSays) {
    const std::int64_t one = added(1, 7), other = added(2, 9), copy = added(3, 7);
    EXPECT_TRUE(analyzeDuplicates(library()));
    EXPECT_FALSE(isStale());
    EXPECT_EQ(grouped(), (Keys{one, copy}));
    for (const auto &[asset, linked] : {std::pair(one, true), {other, false}, {copy, true}})
        EXPECT_EQ(library().read([asset = asset](Database &database) { return isLinked(database, asset); }),
                  linked);

    const std::int64_t pair[] = {copy, one};
    EXPECT_TRUE(setAreDuplicates(library(), pair, false));
    EXPECT_EQ(grouped(), Keys());
    EXPECT_TRUE(library().writer().change(forgetDuplicates));
    EXPECT_TRUE(isStale());
    EXPECT_TRUE(analyzeDuplicates(library()));
    EXPECT_EQ(grouped(), Keys()) << "what a person says is not forgotten";
    EXPECT_TRUE(setAreDuplicates(library(), pair, true));
    EXPECT_EQ(grouped(), (Keys{one, copy}));
}

TEST_F(DuplicateStore, WhatGoesWhileAPlanIsMadeIsLeftOut) {
    const std::int64_t one = added(1, 7), two = added(2, 7), three = added(3, 7);
    EXPECT_TRUE(analyzeDuplicates(library()));
    const DuplicatePlan outdated = plan();
    remove(two);
    apply(outdated);
    EXPECT_TRUE(isStale()) << "its going is not in the plan";
    EXPECT_EQ(grouped(), (Keys{one, three}));
    remove(three);
    apply(plan());
    EXPECT_FALSE(isStale());
    EXPECT_EQ(grouped(), Keys());
}

TEST_F(DuplicateStore, AnAssetIsNewUntilItsThumbnailsHaveAFingerprint) {
    const auto pending = [&](std::int64_t after) {
        Keys keys;
        const auto assets = library().read(
            [after](Database &database) { return assetsWithoutFingerprint(database, after, 2); });
        for (const NewAsset &each : *assets)
            keys.push_back(each.key);
        return keys;
    };
    const std::int64_t one = added(1, 1), two = added(2, 2), three = added(3, 3);
    EXPECT_EQ(pending(0), (Keys{one, two}));
    EXPECT_EQ(pending(two), Keys{three});
    EXPECT_TRUE(analyzeDuplicates(library()));
    EXPECT_EQ(pending(0), Keys());
    ASSERT_TRUE(library().writer().change([two](Database &database) {
        return database.prepare("UPDATE zgenericasset SET thumbnailindex = 5 WHERE pk = ?").bind(two).run();
    }));
    EXPECT_EQ(pending(0), Keys{two});
}

} // namespace
