#include "wickerlane/store/Sqlite.h"

#include <sys/stat.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "wickerlane/platform/file/Files.h"

using namespace wickerlane;
using namespace wickerlane::sqlite;
using testing::ElementsAre;

namespace {

namespace fs = std::filesystem;

class Databases : public testing::Test {
protected:
    const std::string path = rootPath() + "/test.sqlite";

    void SetUp() override { fs::create_directories(rootPath()); }
    Database open(Database::Access access) const {
        auto opened = Database::open(path, access);
        EXPECT_TRUE(opened) << opened.error().text;
        return *std::move(opened);
    }
    /// With a table of the numbers 1 to 3.
    Database writer() const {
        Database database = open(Database::Access::write);
        EXPECT_TRUE(
            database.execute("CREATE TABLE t (a INTEGER UNIQUE); INSERT INTO t VALUES (1), (2), (3)"));
        return database;
    }
};

std::int64_t first(const Statement &row) {
    return row.integer(0);
}

TEST_F(Databases, RowsAreReadWholeOrNotAtAll) {
    Database database = writer();
    Statement above = database.prepare("SELECT a FROM t WHERE a > ? ORDER BY a");
    EXPECT_THAT(above.bind(1).all(first).value(), ElementsAre(2, 3));
    EXPECT_THAT(above.bind(2).all(first).value(), ElementsAre(3)) << "reset by reading";
    EXPECT_EQ(above.bind(1).first(first).value(), 2);
    EXPECT_EQ(above.bind(3).first(first).value(), std::nullopt);
    EXPECT_TRUE(above.bind(2).any().value());
    EXPECT_FALSE(above.bind(3).any().value());

    EXPECT_FALSE(database.prepare("SELECT no FROM t").all(first));
    EXPECT_FALSE(database.prepare("SELECT no FROM t").first(first));
    EXPECT_FALSE(database.prepare("SELECT no FROM t").any());
    // Fails at its third row.
    EXPECT_FALSE(
        database.prepare("SELECT abs(iif(a < 3, a, -9223372036854775807 - 1)) FROM t ORDER BY a").all(first));
}

TEST_F(Databases, AFailedTransactionLeavesNothingBehind) {
    Database database = writer();
    {
        Transaction transaction(database);
        ASSERT_TRUE(database.execute("INSERT INTO t VALUES (4)"));
        EXPECT_FALSE(database.execute("INSERT INTO t VALUES (1)"));
    }
    EXPECT_EQ(database.integer("SELECT count(*) FROM t"), 3);
    auto wrong = database.prepare("SELECT no FROM such");
    wrong.bind(1, std::string_view("x"), std::optional<double>());
    EXPECT_FALSE(wrong.next());
    EXPECT_TRUE(wrong.failed());
    EXPECT_FALSE(database.integer("SELECT nothing"));
}

TEST_F(Databases, ASnapshotDoesNotSeeWhatIsCommittedMeanwhile) {
    Database database = writer(), reader = open(Database::Access::read);
    constexpr const char *count = "SELECT count(*) FROM t";
    {
        const Snapshot snapshot(reader);
        ASSERT_EQ(reader.integer(count), 3);
        ASSERT_TRUE(database.execute("DELETE FROM t"));
        EXPECT_EQ(reader.integer(count), 3);
    }
    EXPECT_EQ(reader.integer(count), 0);
}

TEST_F(Databases, ProblemsHaveTheirKind) {
    EXPECT_EQ(Database::open(rootPath() + "/missing/test.sqlite", Database::Access::write).error().kind,
              ProblemKind::notWritable);
    Database database = writer();
    EXPECT_FALSE(database.execute("nonsense"));
    EXPECT_EQ(database.problem().kind, ProblemKind::failed);
    EXPECT_EQ(database.problem().file, path);

    Database reader = open(Database::Access::read);
    EXPECT_FALSE(reader.execute("DELETE FROM t"));
    EXPECT_EQ(reader.problem().kind, ProblemKind::notWritable);

    ASSERT_TRUE(database.execute("PRAGMA max_page_count = 3"));
    EXPECT_FALSE(database.execute("CREATE TABLE large AS SELECT zeroblob(100000)"));
    EXPECT_EQ(database.problem().kind, ProblemKind::noSpace);

    {
        const Transaction transaction(database);
        Database other = open(Database::Access::write);
        ASSERT_TRUE(other.execute("PRAGMA busy_timeout = 0"));
        EXPECT_FALSE(Transaction(other).isOpen());
        EXPECT_EQ(other.problem().kind, ProblemKind::busy);
    }

    const std::string damaged = rootPath() + "/damaged.sqlite";
    std::ofstream(damaged) << std::string(5000, 'x');
    const auto opened = Database::open(damaged, Database::Access::write);
    ASSERT_FALSE(opened);
    EXPECT_EQ(opened.error().kind, ProblemKind::damagedStore);
    EXPECT_EQ(opened.error().file, damaged);
}

TEST_F(Databases, AStatementThatMeetsADamagedPageSaysSo) {
    {
        Database database = writer();
        ASSERT_TRUE(database.checkpoint());
    }
    {
        // The pages of the table and its index, after that of the schema.
        std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
        file.seekp(4096);
        file << std::string(8192, '\xFF');
    }
    Database reader = open(Database::Access::read);
    const auto rows = reader.prepare("SELECT a FROM t").all(first);
    ASSERT_FALSE(rows);
    EXPECT_EQ(rows.error().kind, ProblemKind::damagedStore) << rows.error().text;
}

TEST_F(Databases, OnlyTheOwnerGetsAtOneThatIsWritten) {
    const mode_t umaskBefore = umask(0);
    { const Database database = writer(); }
    std::ofstream(path + "-wal").flush();
    chmod(path.c_str(), 0644);
    chmod((path + "-wal").c_str(), 0666);
    const Database database = open(Database::Access::write);
    EXPECT_TRUE(Database(open(Database::Access::write)).execute("INSERT INTO t VALUES (9)"));
    for (const char *suffix : {"", "-wal", "-shm"}) {
        struct stat status {};
        ASSERT_EQ(stat((path + suffix).c_str(), &status), 0) << suffix;
        EXPECT_EQ(status.st_mode & ALLPERMS, 0600U) << suffix;
    }
    umask(umaskBefore);
}

// As one does whose pages lead in circles.
TEST_F(Databases, AStatementThatWouldNotEndFails) {
    Database database = writer();
    const auto endless = database.integer(
        "WITH RECURSIVE c (x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c) SELECT count(*) FROM c");
    ASSERT_FALSE(endless);
    EXPECT_EQ(endless.error().kind, ProblemKind::damagedStore) << endless.error().text;
    EXPECT_EQ(database.integer("SELECT count(*) FROM t"), 3) << "the next has its own limit";
}

TEST_F(Databases, AStatementMayTakeWhatTheSizeOfTheDatabaseIsWorth) {
    Database database = writer();
    const auto count = [&] {
        return database.integer(
            "WITH RECURSIVE c (x) AS (SELECT 1 UNION ALL SELECT x + 1 FROM c LIMIT 2000000) "
            "SELECT count(*) FROM c");
    };
    EXPECT_FALSE(count()) << "it is a small one";
    ASSERT_TRUE(database.execute("CREATE TABLE large (b); INSERT INTO large VALUES (zeroblob(20000000))"));
    EXPECT_EQ(count(), 2'000'000) << "it has grown since it was opened";
}

} // namespace
