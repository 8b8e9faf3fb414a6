// When groups of duplicates are stale, and what is written of them.
#include "hoardd/analysis/DuplicateStore.h"

#include <algorithm>
#include <random>

#include "hoardd/analysis/Duplicates.h"
#include "tests/hoardd/OpenLibrary.h"
#include "wickerlane/store/AssetColumns.h"

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
    const std::int64_t one = added(1, 7);
    EXPECT_NE(added(2, 9), one);
    const std::int64_t copy = added(3, 7);
    EXPECT_TRUE(analyzeDuplicates(library()));
    EXPECT_FALSE(isStale());
    EXPECT_EQ(grouped(), (Keys{one, copy}));
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

/// The groups in the store, as lines.
std::string groupsIn(Database &database) {
    std::string lines;
    EXPECT_TRUE(
        database
            .prepare("SELECT likeness, duplicategroup, group_concat(asset) FROM (SELECT * FROM zduplicate "
                     "ORDER BY asset) GROUP BY likeness, duplicategroup")
            .forEach([&](const sqlite::Statement &row) {
                lines += std::to_string(row.integer(0)) + ' ' + std::to_string(row.integer(1)) + ": " +
                         std::string(row.text(2)) + '\n';
            }));
    return lines;
}

// One by one, with groups that grow and become one, as all are found at once.
TEST_F(DuplicateStore, NewAssetsAreLinkedAsAllAreFound) {
    for (unsigned seed = 1; seed <= 4; ++seed) {
        std::mt19937_64 random(seed);
        const auto one = [&](std::uint64_t count) { return random() % count; };
        ASSERT_TRUE(library().writer().change([&](Database &database) -> Result<> {
            EXPECT_TRUE(
                database.execute("DELETE FROM zgenericasset; UPDATE zduplicatestate SET grouped = changed;"));
            FingerprintMemory::Known known;
            for (int number = 0; number < 150; ++number) {
                auto record = Store::Addition().record;
                record.uuid = "U" + std::to_string(number);
                record.thumbnailIndex = 1;
                record.sha256[0] = static_cast<std::byte>(one(250));
                record.width = one(10) == 0 ? 20 : 10;
                record.height = 10;
                record.dateCreated = 40.0 * static_cast<double>(one(150));
                auto insert = database.prepare(store::insertAsset);
                store::bindRecord(insert, record);
                EXPECT_TRUE(insert.run());
                const NewAsset asset{database.lastRowID(), record.uuid, 1};
                std::optional<Fingerprint> fingerprint(Fingerprint{random(), random()});
                if (!known.fingerprints.empty() && one(3) != 0) {
                    fingerprint = known.fingerprints[one(known.fingerprints.size())];
                    for (auto bits = one(14); bits > 0; --bits)
                        (one(2) == 0 ? fingerprint->difference : fingerprint->frequency) ^= std::uint64_t{1}
                                                                                            << one(64);
                } else if (one(5) == 0) {
                    fingerprint.reset();
                }
                EXPECT_TRUE(writeFingerprints(database, {&asset, 1}, {&fingerprint, 1}));
                std::vector<std::int64_t> candidates;
                if (fingerprint)
                    for (const std::size_t place : mayBeLike(*fingerprint, known.fingerprints))
                        candidates.push_back(known.assets[place]);
                EXPECT_EQ(linkAsset(database, asset.key, candidates), true);
                if (fingerprint) {
                    known.fingerprints.push_back(*fingerprint);
                    known.assets.push_back(asset.key);
                }
            }
            const std::string linked = groupsIn(database);
            EXPECT_GT(std::ranges::count(linked, '\n'), 10);
            EXPECT_EQ(database.integer("SELECT count(DISTINCT likeness) FROM zduplicate"), 2);
            EXPECT_TRUE(database.execute("DELETE FROM zduplicate"));
            EXPECT_TRUE(planDuplicates(database).and_then(
                [&](const DuplicatePlan &plan) { return applyPlan(database, plan); }));
            EXPECT_EQ(linked, groupsIn(database)) << seed;
            return {};
        }));
    }
}

TEST_F(DuplicateStore, AnAssetIsNotLinkedByItselfWhereAPersonKeepsOthersApart) {
    const std::int64_t one = added(1, 7), two = added(2, 7), three = added(3, 7);
    const std::int64_t pair[] = {two, three};
    EXPECT_TRUE(setAreDuplicates(library(), pair, false));
    EXPECT_TRUE(analyzeDuplicates(library()));
    EXPECT_EQ(grouped(), (Keys{one, two}));
    const std::int64_t four = added(4, 7);
    EXPECT_TRUE(library().writer().change([&](Database &database) -> Result<> {
        EXPECT_EQ(linkAsset(database, four, {}), false);
        return {};
    }));
    EXPECT_EQ(grouped(), (Keys{one, two})) << "nothing has changed";
    EXPECT_TRUE(analyzeDuplicates(library()));
    EXPECT_EQ(grouped(), (Keys{one, two, four}));
    const std::int64_t other = added(5, 8), copy = added(6, 8);
    EXPECT_TRUE(analyzeDuplicates(library()));
    EXPECT_EQ(grouped(), (Keys{one, two, four, other, copy}));
    EXPECT_FALSE(isStale());
}

} // namespace
