#include "hoardd/library/CountNotice.h"

#include <gtest/gtest.h>

#include "hoardd/library/Store.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/queue/Semaphore.h"

using namespace wickerlane;
using namespace wickerlane::hoardd;
using namespace std::chrono_literals;
using sqlite::Database;

namespace {

TEST(CountNotice, PostsAtOnceAndThenTogether) {
    int posts = 0;
    CountNotice notice([&] { ++posts; }, 1h);
    notice.flush();
    EXPECT_EQ(posts, 0);
    notice.noteChange();
    EXPECT_EQ(posts, 1);
    for (int i = 0; i < 1000; ++i)
        notice.noteChange();
    EXPECT_EQ(posts, 1);
    notice.flush();
    notice.flush();
    EXPECT_EQ(posts, 2);
}

TEST(CountNotice, PostsWhatCameWhileItRested) {
    const auto posted = Semaphore::create(0);
    CountNotice notice([posted] { posted->signal(); }, 1ms);
    for (int i = 0; i < 20; ++i) {
        notice.noteChange(); // rests now
        posted->wait();
        notice.noteChange(); // rests still, or again
        posted->wait();
    }
}

TEST(CountNotice, StoreTellsWhatChangesTheCounts) {
    const store::LibraryPaths paths;
    makeFolders(paths.folder() + "/PhotoData");
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

} // namespace
