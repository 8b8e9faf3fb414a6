#include "hoardd/library/Store.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <thread>

#include "tests/hoardd/LyingWrites.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"

using namespace wickerlane;
using namespace wickerlane::hoardd;
using sqlite::Database;

namespace {

Store::Addition newAddition() {
    Store::Addition addition;
    addition.record.uuid = UUID::createRandom()->uuidString()->utf8();
    return addition;
}

TEST(Store, CommitsWhatSeveralThreadsAddAndFailsOnlyTheOneAtFault) {
    const store::LibraryPaths paths;
    std::filesystem::create_directories(paths.folder() + "/PhotoData");
    const auto opened = Store::open(paths);
    ASSERT_TRUE(opened) << opened.error().text;
    Store &store = **opened;
    std::array<Store::Addition, 1> taken{newAddition()};
    ASSERT_TRUE(store.add(taken));

    constexpr std::size_t threads = 6, rounds = 20;
    std::array<std::vector<std::int64_t>, threads> keys;
    {
        std::vector<std::jthread> adding;
        for (std::size_t i = 0; i < threads; ++i)
            adding.emplace_back([&, i] {
                for (std::size_t round = 0; round < rounds; ++round) {
                    ReleaseScope scope;
                    std::array<Store::Addition, 2> additions{newAddition(), newAddition()};
                    const bool isAtFault = round % 4 == 3;
                    if (isAtFault)
                        additions[1].record.uuid = taken[0].record.uuid;
                    EXPECT_EQ(store.add(additions).has_value(), !isAtFault);
                    EXPECT_EQ(store.contains(additions[0].record.uuid), !isAtFault) << "all or none";
                    if (!isAtFault)
                        for (const auto &each : additions)
                            keys[i].push_back(each.record.primaryKey);
                }
            });
    }
    std::vector<std::int64_t> all;
    for (const auto &each : keys)
        all.insert(all.end(), each.begin(), each.end());
    std::ranges::sort(all);
    EXPECT_EQ(all.size(), threads * rounds * 2 * 3 / 4);
    EXPECT_EQ(std::ranges::adjacent_find(all), all.end());
}

TEST(Store, WhatFailedIsNotFoundDoneAfterACrash) {
    const store::LibraryPaths paths;
    const std::string folder = paths.folder() + "/PhotoData", copy = paths.folder() + "/copy";
    std::filesystem::create_directories(folder);
    const auto opened = Store::open(paths);
    ASSERT_TRUE(opened) << opened.error().text;
    std::array<Store::Addition, 1> asset{newAddition()};
    ASSERT_TRUE((*opened)->add(asset));
    int failures = 0;
    for (int number = 1, isOver = 0; isOver == 0; ++number) {
        Result<> removed;
        {
            const LyingWrites lie(number, number);
            removed = (*opened)->remove(asset[0].record.uuid);
            isOver = LyingWrites::haveLied() ? 0 : 1;
        }
        failures += removed ? 0 : 1;
        // As a kill leaves it: another process begins with what is in the log.
        std::filesystem::create_directory(copy);
        for (const char *part : {"", "-wal"})
            std::filesystem::copy_file(paths.database() + part, copy + "/store" + part);
        {
            auto found = Database::open(copy + "/store", Database::Access::write);
            ASSERT_TRUE(found) << found.error().text;
            EXPECT_EQ(found->integer("SELECT count(*) FROM zgenericasset").value_or(-1), removed ? 0 : 1)
                << number;
        }
        std::filesystem::remove_all(copy);
    }
    EXPECT_GT(failures, 1);
}

TEST(Store, ReportsWhatChangesTheCounts) {
    const store::LibraryPaths paths;
    std::filesystem::create_directories(paths.folder() + "/PhotoData");
    const auto opened = Store::open(paths);
    ASSERT_TRUE(opened) << opened.error().text;
    Store &writer = **opened;
    int changes = 0;
    writer.whenCountsChange([&] { ++changes; });

    std::vector<Store::Addition> additions(2);
    additions[0].record.uuid = "A";
    additions[1].record.uuid = "B";
    ASSERT_TRUE(writer.add(additions));
    EXPECT_EQ(changes, 1) << "one for a commit";
    EXPECT_GT(additions[1].record.primaryKey, additions[0].record.primaryKey);
    EXPECT_FALSE(writer.add(additions)) << "these UUIDs are taken";
    EXPECT_EQ(changes, 1);

    const struct {
        const char *sql;
        bool succeeds, changesCounts;
    } cases[] = {
        {"UPDATE zgenericasset SET width = 7", true, false},
        {"UPDATE zgenericasset SET kind = 1 WHERE uuid = 'A'", true, true},
        {"DELETE FROM zgenericasset WHERE uuid = 'C'", true, false},
        {"UPDATE zgenericasset SET kind = 1 - kind", true, false},    // as many of each as before
        {"DELETE FROM zgenericasset WHERE uuid = 'A'", false, false}, // rolled back
        {"DELETE FROM zgenericasset", true, true},
    };
    for (const auto &[sql, succeeds, changesCounts] : cases) {
        const int before = changes;
        EXPECT_EQ(writer
                      .change([sql = sql, succeeds = succeeds](Database &database) -> Result<> {
                          if (const auto done = database.execute(sql); !done || succeeds)
                              return done;
                          return fail(ProblemKind::failed, "no");
                      })
                      .has_value(),
                  succeeds)
            << sql;
        EXPECT_EQ(changes - before, changesCounts ? 1 : 0) << sql;
    }
}

TEST(Store, RollsBackWhatFailsAndOpensNoNewerLibrary) {
    const store::LibraryPaths paths;
    std::filesystem::create_directories(paths.folder() + "/PhotoData");
    {
        const auto opened = Store::open(paths);
        ASSERT_TRUE(opened) << opened.error().text;
        const auto failed = (*opened)->change([](Database &database) {
            return database.execute("INSERT INTO zstate VALUES ('one', 1)").and_then([&] {
                return database.execute("INSERT INTO zstate VALUES ('one', 2)");
            });
        });
        ASSERT_FALSE(failed);
        EXPECT_NE(failed.error().text.find("UNIQUE"), std::string::npos) << failed.error().text;
        const auto count = (*opened)->change(
            [](Database &database) { return database.integer("SELECT count(*) FROM zstate"); });
        EXPECT_EQ(count, 0) << "the first statement was rolled back as well";
        ASSERT_TRUE((*opened)->change(
            [](Database &database) { return database.execute("PRAGMA user_version = 9999"); }));
    }
    const auto newer = Store::open(paths);
    ASSERT_FALSE(newer);
    EXPECT_EQ(newer.error().kind, ProblemKind::newerVersion);
    EXPECT_EQ(newer.error().file, paths.database());
    EXPECT_NE(newer.error().text.find("9999"), std::string::npos) << newer.error().text;
}

} // namespace
