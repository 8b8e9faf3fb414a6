// What is made of a store that was damaged or lost.
#include "hoardd/library/StoreMending.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <map>

#include "hoardd/library/Library.h"
#include "hoardd/library/Store.h"
#include "hoardd/library/StoreBackups.h"
#include "hoardd/library/StoreNotes.h"
#include "hoardd/library/TrashStore.h"
#include "hoardd/upkeep/RowRepair.h"
#include "tests/support/Descriptors.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/store/Schema.h"
#include "wickerlane/store/StoreReader.h"

using namespace wickerlane;
using namespace wickerlane::hoardd;
using sqlite::Database;
namespace fs = std::filesystem;

namespace {

constexpr std::size_t pageBytes = 4096;

class Mending : public testing::Test {
public: // for the tables of cases
    const store::LibraryPaths paths;
    static constexpr int backedUp = 200, inAll = 240;
    std::string identity;

    /// Assets with their files, the last of them added after the backup.
    void makeLibrary() {
        fs::remove_all(paths.folder());
        fs::create_directories(paths.folder() + "/PhotoData");
        const auto opened = Store::open(paths);
        ASSERT_TRUE(opened) << opened.error().text;
        add(**opened, 0, backedUp);
        ASSERT_TRUE(backUpStore(paths));
        add(**opened, backedUp, inAll);
        ASSERT_TRUE((*opened)->change([](Database &database) {
            return database.execute(
                "INSERT INTO zrendition (assetuuid, filename, sha256, dateadded, properties) SELECT uuid, "
                "'edited', x'01', 5, x'00ff0a09' FROM zgenericasset "
                "WHERE pk = 230;"
                "INSERT INTO zcompanion (assetuuid, filename, originalfilename, format, bytesize, sha256) "
                "SELECT uuid, 'second', 'a.dng', '', 7, zeroblob(32) FROM zgenericasset WHERE pk = 232;"
                "INSERT INTO zperson (personid, info) VALUES ('Ann', x'010203');"
                "INSERT INTO zalbum (uuid, name, datecreated) VALUES "
                "('00000000-0000-4000-8000-000000000001', 'Dunes', "
                "1); INSERT INTO zalbumasset (album, asset, dateadded) SELECT 1, pk, 2 FROM zgenericasset "
                "WHERE pk < 4;"
                "INSERT INTO znotduplicate VALUES (2, 236), (239, 240);"
                "UPDATE zgenericasset SET datecreated = 12345.5, clockdate = 15945.5, zoneminutes = 60 "
                "WHERE pk = 231;");
        }));
        identity = text("SELECT uuid FROM zlibrary");
        ASSERT_TRUE((*opened)->checkpoint());
        (*opened)->end();
    }
    void add(Store &store, int first, int end) const {
        ReleaseScope scope;
        std::vector<Store::Addition> additions;
        for (int i = first; i < end; ++i) {
            Store::Addition addition;
            AssetRecord &record = addition.record;
            record.uuid = UUID::createRandom()->uuidString()->utf8();
            record.directory = store::LibraryPaths::directoryOfOriginal(record.uuid);
            record.filename = record.uuid + ".JPG";
            record.originalFilename = "A name\t%41 " + std::to_string(i);
            fs::create_directories(paths.folder() + '/' + record.directory);
            std::ofstream(paths.original(record)) << i;
            additions.push_back(std::move(addition));
        }
        ASSERT_TRUE(store.add(additions));
    }
    std::int64_t number(std::string_view sql) const {
        auto database = Database::open(paths.database(), Database::Access::read);
        return database ? database->integer(sql).value_or(-1) : -1;
    }
    std::string text(const char *sql) const {
        auto database = Database::open(paths.database(), Database::Access::read);
        EXPECT_TRUE(database);
        const auto value = database->prepare(sql).first(
            [](const sqlite::Statement &row) { return std::string(row.text(0)); });
        return value ? value->value_or("") : value.error().text;
    }
    std::string pairs() const {
        return text(
            "SELECT group_concat(one || ' ' || other) FROM (SELECT * FROM znotduplicate ORDER BY one)");
    }
    std::string contents() const {
        std::ifstream file(paths.database(), std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    void replaceContents(std::string_view bytes) const {
        std::ofstream(paths.database(), std::ios::binary) << bytes;
    }
    void destroy(std::size_t offset, std::size_t length) const {
        std::string bytes = contents();
        bytes.replace(offset, length, length, '\xA5');
        replaceContents(bytes);
    }
    std::size_t filesAside(const char *what) const {
        std::size_t count = 0;
        for (const auto &entry : fs::directory_iterator(paths.folder() + "/PhotoData"))
            if (const std::string name = entry.path().filename();
                name.find(what) != std::string::npos && name.ends_with(".txt"))
                ++count;
        return count;
    }
    void expectAllThere(const std::string &subject) const {
        EXPECT_TRUE(checkStoreFile(paths.database())) << subject;
        EXPECT_EQ(number("SELECT count(*) FROM zgenericasset"), inAll) << subject;
        EXPECT_EQ(number("SELECT sum(number) FROM zcount"), inAll) << subject;
        EXPECT_EQ(number("SELECT count(*) FROM zgenericasset WHERE originalfilename = 'A name' || char(9) || "
                         "'%41 ' || "
                         "(pk - 1)"),
                  inAll)
            << subject;
        EXPECT_EQ(number("SELECT datecreated = 12345.5 AND clockdate = 15945.5 AND zoneminutes = 60 "
                         "FROM zgenericasset WHERE pk = 231"),
                  1)
            << subject << ": a date that was adjusted";
        EXPECT_EQ(text("SELECT uuid FROM zlibrary"), identity) << subject;
        EXPECT_EQ(number("SELECT properties = x'00ff0a09' FROM zrendition"), 1) << subject;
        EXPECT_EQ(number("SELECT bytesize FROM zcompanion WHERE originalfilename = 'a.dng'"), 7) << subject;
        EXPECT_EQ(pairs(), "2 236,239 240") << subject;
        EXPECT_EQ(number("SELECT info = x'010203' FROM zperson WHERE personid = 'Ann'"), 1) << subject;
        EXPECT_EQ(text("SELECT name FROM zalbum"), "Dunes") << subject;
    }
};

TEST_F(Mending, ASoundStoreStaysAsItIs) {
    makeLibrary();
    const std::string before = contents();
    const auto mended = mendStore(paths, nullptr);
    ASSERT_TRUE(mended) << mended.error().text;
    EXPECT_EQ(mended->text, "");
    EXPECT_EQ(contents(), before);
}

TEST_F(Mending, NothingIsMissingAfterward) {
    const struct {
        const char *subject;
        void (*damage)(const Mending &test);
        const char *aside;
    } cases[] = {
        {"lost", [](const Mending &test) { fs::remove(test.paths.database()); }, "missing"},
        {"lost with its backups",
         [](const Mending &test) {
             fs::remove(test.paths.database());
             fs::remove_all(backupsFolder(test.paths));
         },
         "missing"},
        {"empty", [](const Mending &test) { test.replaceContents(""); }, "damaged"},
        {"no database", [](const Mending &test) { test.replaceContents(std::string(5000, 'x')); }, "damaged"},
        {"without its header", [](const Mending &test) { test.destroy(0, 100); }, "damaged"},
        {"cut in the middle",
         [](const Mending &test) { fs::resize_file(test.paths.database(), test.contents().size() / 2); },
         "damaged"},
        {"without its schema", [](const Mending &test) { test.destroy(0, 3 * pageBytes); }, "damaged"},
    };
    for (const auto &each : cases) {
        makeLibrary();
        each.damage(*this);
        const auto mended = mendStore(paths, nullptr);
        ASSERT_TRUE(mended) << each.subject << ": " << mended.error().text;
        expectAllThere(each.subject);
        EXPECT_EQ(filesAside(each.aside), 1U) << each.subject;
    }
}

TEST_F(Mending, EachPageCanBeDestroyed) {
    makeLibrary();
    const std::string whole = contents();
    std::size_t fromDamaged = 0;
    for (std::size_t page = 1; page < whole.size() / pageBytes; page += 4) {
        replaceContents(whole);
        destroy(page * pageBytes, pageBytes);
        if (checkStoreFile(paths.database()))
            continue; // nothing was in it
        const auto mended = mendStore(paths, nullptr);
        ASSERT_TRUE(mended) << page << ": " << mended.error().text;
        fromDamaged += mended->text.find(" from the damaged store") != std::string::npos ? 1 : 0;
        expectAllThere("page " + std::to_string(page));
        if (HasFailure())
            return;
        for (const char *suffix : {"", "-wal", "-shm"})
            fs::remove(paths.database() + suffix);
    }
    EXPECT_GT(fromDamaged, 0U);
}

TEST_F(Mending, AnEmptiedIndexIsMadeAgain) {
    makeLibrary();
    const std::int64_t root = number("SELECT rootpage FROM sqlite_schema WHERE name = 'zgenericasset_shown'");
    ASSERT_GT(root, 0);
    std::string bytes = contents();
    constexpr std::array<char, 8> emptyLeaf{10, 0, 0, 0, 0, 0x10, 0, 0};
    bytes.replace(static_cast<std::size_t>(root - 1) * pageBytes, emptyLeaf.size(), emptyLeaf.data(),
                  emptyLeaf.size());
    replaceContents(bytes);
    ASSERT_FALSE(checkStoreFile(paths.database()));
    const auto mended = mendStore(paths, nullptr);
    ASSERT_TRUE(mended) << mended.error().text;
    expectAllThere("the index");
}

TEST_F(Mending, OfTheFilesAloneThereAreNoRows) {
    makeLibrary();
    fs::remove(paths.database());
    fs::remove_all(backupsFolder(paths));
    fs::remove_all(notesFolder(paths));
    const auto mended = mendStore(paths, nullptr);
    ASSERT_TRUE(mended) << mended.error().text;
    EXPECT_NE(mended->text.find("no assets"), std::string::npos) << mended->text;
    EXPECT_TRUE(checkStoreFile(paths.database()));
    EXPECT_EQ(number("SELECT count(*) FROM zgenericasset"), 0);
}

TEST_F(Mending, WhatHasNoFileDoesNotComeBack) {
    makeLibrary();
    const std::string gone = text("SELECT directory || '/' || filename FROM zgenericasset WHERE pk = 7");
    fs::remove(paths.folder() + '/' + gone);
    fs::remove(paths.database());
    ASSERT_TRUE(mendStore(paths, nullptr));
    EXPECT_EQ(number("SELECT count(*) FROM zgenericasset"), inAll - 1);
    EXPECT_EQ(number("SELECT count(*) FROM zgenericasset WHERE pk = 7"), 0);
}

TEST_F(Mending, AReplacementThatAKillInterruptedIsFinished) {
    makeLibrary();
    fs::rename(paths.database(), paths.database() + ".mended");
    std::ofstream(paths.database() + "-wal") << "of the old file";
    ASSERT_TRUE(finishMending(paths));
    expectAllThere("the store");
    EXPECT_FALSE(fs::exists(paths.database() + ".mended"));
}

TEST_F(Mending, AStoreOfANewerVersionIsLeftAlone) {
    makeLibrary();
    {
        auto writer = Database::open(paths.database(), Database::Access::write);
        ASSERT_TRUE(writer->execute("PRAGMA user_version = 9999;"));
    }
    const std::string before = contents();
    const auto mended = mendStore(paths, nullptr);
    ASSERT_FALSE(mended);
    EXPECT_EQ(mended.error().kind, ProblemKind::newerVersion);
    EXPECT_EQ(contents(), before);
}

TEST_F(Mending, AnOpenStoreGoesOnWithTheNewFile) {
    makeLibrary();
    const auto opened = Store::open(paths);
    ASSERT_TRUE(opened);
    const auto reader = store::StoreReader::open(paths);
    ASSERT_TRUE(reader);
    const std::string token = (*reader)->changesSince("", 0)->token;
    bool areTold = false;
    (*opened)->whenAssetsChange([&] { areTold = true; });
    destroy(2 * pageBytes, 12 * pageBytes);
    const auto mended = (*opened)->mend();
    ASSERT_TRUE(mended) << mended.error().text;
    EXPECT_TRUE(mended->isReplaced);
    EXPECT_TRUE(areTold) << "who waits for changes";
    const auto page = (*reader)->changesSince(token, 10);
    ASSERT_TRUE(page);
    EXPECT_TRUE(page->isTooOld) << "its numbers may be given again";
    EXPECT_FALSE((*reader)->changesSince(page->token, 10)->isTooOld);
    add(**opened, inAll, inAll + 1);
    EXPECT_EQ(number("SELECT count(*) FROM zgenericasset"), inAll + 1);
}

using Backups = Mending;

TEST_F(Backups, AreOfOneTimeAndAFewAreKept) {
    fs::create_directories(paths.folder() + "/PhotoData");
    const auto opened = Store::open(paths);
    ASSERT_TRUE(opened);
    EXPECT_TRUE(isBackupDue(paths));
    add(**opened, 0, 300);
    int steps = 0;
    ASSERT_TRUE(backUpStore(paths, [&] {
        if (++steps == 2)
            add(**opened, 300, 310);
        return true;
    }));
    EXPECT_GT(steps, 1);
    EXPECT_FALSE(isBackupDue(paths));
    const auto countIn = [](const std::string &path) {
        return Database::open(path, Database::Access::read)->integer("SELECT count(*) FROM zgenericasset");
    };
    ASSERT_EQ(storeBackups(paths).size(), 1U);
    EXPECT_EQ(countIn(storeBackups(paths).front()), 300);

    const auto stopped = backUpStore(paths, [] { return false; });
    ASSERT_FALSE(stopped);
    EXPECT_EQ(stopped.error().kind, ProblemKind::ending);
    for (int i = 0; i < 6; ++i)
        ASSERT_TRUE(backUpStore(paths));
    EXPECT_EQ(storeBackups(paths).size(), 4U);
    EXPECT_EQ(countIn(storeBackups(paths).front()), 310);
    std::size_t files = 0;
    for ([[maybe_unused]] const auto &entry : fs::directory_iterator(backupsFolder(paths)))
        ++files;
    EXPECT_EQ(files, 4U) << "each stands alone";
}

TEST_F(Backups, OfADamagedStoreDontCount) {
    makeLibrary();
    const auto before = storeBackups(paths);
    destroy(5 * pageBytes, 8 * pageBytes);
    const auto failed = backUpStore(paths);
    ASSERT_FALSE(failed);
    EXPECT_EQ(failed.error().kind, ProblemKind::damagedStore) << failed.error().text;
    EXPECT_EQ(storeBackups(paths), before);
}

TEST_F(Backups, AreMadeBeforeAStoreIsBroughtUpToDate) {
    fs::create_directories(paths.folder() + "/PhotoData");
    const std::int64_t older = store::modelVersion() - 1;
    {
        auto writer = Database::open(paths.database(), Database::Access::write);
        ASSERT_TRUE(writer);
        for (const char *step : store::schemaSteps().first(static_cast<std::size_t>(older)))
            ASSERT_TRUE(writer->execute(step));
        ASSERT_TRUE(writer->execute(("INSERT INTO zlibrary VALUES ('00000000-0000-4000-8000-000000000000');"
                                     "PRAGMA user_version = " +
                                     std::to_string(older))
                                        .c_str()));
    }
    ASSERT_TRUE(Store::open(paths));
    EXPECT_EQ(number("PRAGMA user_version"), store::modelVersion());
    ASSERT_EQ(storeBackups(paths).size(), 1U);
    EXPECT_EQ(
        Database::open(storeBackups(paths).front(), Database::Access::read)->integer("PRAGMA user_version"),
        older);
}

TEST_F(Mending, AStoreThatIsOpenedWithoutItsIdentityGetsItBack) {
    for (const bool hasNotes : {true, false}) {
        makeLibrary();
        ASSERT_TRUE(Database::open(paths.database(), Database::Access::write).and_then([](Database &&opened) {
            return opened.execute("DELETE FROM zlibrary");
        }));
        if (!hasNotes)
            fs::remove_all(notesFolder(paths));
        ASSERT_TRUE(Store::open(paths));
        EXPECT_EQ(text("SELECT uuid FROM zlibrary"), identity) << hasNotes;
    }
}

using Notes = Mending;

TEST_F(Notes, TheLastSoundLineOfARowCounts) {
    fs::create_directories(paths.folder() + "/PhotoData");
    {
        const auto opened = Store::open(paths);
        ASSERT_TRUE(opened);
        const auto execute = [&](const char *sql) {
            ASSERT_TRUE((*opened)->change([sql](Database &database) { return database.execute(sql); }))
                << sql;
        };
        execute("INSERT INTO zperson (personid, info) VALUES ('a', x'01'), ('b', x'02'), ('c', x'03')");
        execute("INSERT INTO zperson (personid, info) VALUES ('a', x'04') "
                "ON CONFLICT (personid) DO UPDATE SET info = excluded.info");
        execute("DELETE FROM zperson WHERE personid = 'b'");
    }
    const std::string file = fs::directory_iterator(notesFolder(paths))->path();
    {
        std::fstream notes(file, std::ios::in | std::ios::out | std::ios::binary);
        std::string bytes{std::istreambuf_iterator<char>(notes), {}};
        const std::size_t ofC = bytes.find("\tzperson\tc\t");
        ASSERT_NE(ofC, std::string::npos);
        notes.seekp(static_cast<std::streamoff>(ofC) + 20).put('x');
        notes.seekp(0, std::ios::end);
        notes << "0123abcd\tzperson\ttorn\tinfo=b0";
    }
    const auto rows = readNotes(paths);
    std::vector<std::string> persons;
    for (const auto &[name, columns] : rows)
        if (name.first == "zperson")
            persons.push_back(name.second + ' ' + columns);
    EXPECT_EQ(persons, (std::vector<std::string>{"a personid=ta\tinfo=b04\tdateadded=r0"}));
}

TEST_F(Notes, AreWrittenAgainFromAllRows) {
    makeLibrary();
    std::size_t before = readNotes(paths).size();
    {
        const auto opened = Store::open(paths);
        ASSERT_TRUE(opened);
        EXPECT_FALSE((*opened)->areNotesIncomplete());
        add(**opened, inAll, inAll + 3);
        ASSERT_TRUE((*opened)->rewriteNotes());
        EXPECT_EQ(readNotes(paths).size(), before + 3);
        add(**opened, inAll + 3, inAll + 4);
    } // as if killed
    EXPECT_EQ(readNotes(paths).size(), before + 4);
    const auto next = Store::open(paths);
    EXPECT_TRUE((*next)->areNotesIncomplete()) << "a note may be missing";
    fs::remove_all(notesFolder(paths));
    ASSERT_TRUE((*next)->rewriteNotes());
    EXPECT_EQ(readNotes(paths).size(), before + 4);
}

TEST_F(Notes, KeepWhatAnOlderCopyOfTheStoreLacks) {
    makeLibrary();
    fs::copy_file(storeBackups(paths).back(), paths.database(), fs::copy_options::overwrite_existing);
    const auto opened = Store::open(paths);
    ASSERT_TRUE(opened);
    ASSERT_TRUE((*opened)->rewriteNotes());
    auto reader = Database::open(paths.database(), Database::Access::read);
    std::map<std::string, int> counts;
    for (const auto &[name, columns] : forgottenRows(paths, *reader))
        ++counts[name.first];
    EXPECT_EQ(counts, (std::map<std::string, int>{{"zgenericasset", inAll - backedUp},
                                                  {"zrendition", 1},
                                                  {"zcompanion", 1},
                                                  {"znotduplicate", 2}}));
}

// Neither what is in the trash nor its keys are given to others.
TEST_F(Notes, KnowTheTrashWhenTheStoreIsLost) {
    test::allowLastingDescriptors(test::folderWatchDescriptors); // of the notices
    for (const bool isOlderCopy : {true, false}) {
        makeLibrary();
        std::string trashed;
        {
            const auto opened = Store::open(paths);
            ASSERT_TRUE(opened);
            trashed = text("SELECT uuid FROM zgenericasset WHERE pk = 240");
            ASSERT_TRUE(
                (*opened)->change([&](Database &database) { return moveToTrash(database, trashed, 77); }));
            ASSERT_TRUE((*opened)->checkpoint());
        }
        if (isOlderCopy) {
            fs::copy_file(storeBackups(paths).back(), paths.database(), fs::copy_options::overwrite_existing);
        } else {
            fs::remove_all(paths.folder() + "/PhotoData/Backups");
            fs::remove(paths.database());
        }
        const auto repaired = isOlderCopy ? Result<MendedStore>() : Library::mend(paths);
        ASSERT_TRUE(repaired) << repaired.error().text;
        const auto library = Library::open(paths);
        ASSERT_TRUE(library) << library.error().text;
        ASSERT_TRUE(restoreForgottenRows(**library));
        EXPECT_EQ(number("SELECT count(*) FROM zgenericasset"), inAll - 1) << isOlderCopy;
        EXPECT_EQ(text("SELECT uuid FROM ztrashedasset WHERE datetrashed = 77"), trashed) << isOlderCopy;
        add((*library)->writer(), inAll, inAll + 2);
        EXPECT_EQ(number("SELECT count(*) FROM ztrashedasset WHERE pk IN (SELECT pk FROM zgenericasset)"), 0);
        ASSERT_TRUE((*library)->writer().change(
            [&](Database &database) { return takeFromTrash(database, trashed); }));
        EXPECT_EQ(number("SELECT count(*) FROM zgenericasset"), inAll + 2);
        EXPECT_EQ(number("SELECT count(*) FROM znotduplicate WHERE other IN (SELECT pk FROM zgenericasset "
                         "WHERE originalfilename LIKE '% 235' OR uuid = '" +
                         trashed + "')"),
                  2)
            << isOlderCopy;
    }
}

// An asset may have another key in the store that gets it back.
TEST_F(Notes, KnowByUUIDsWhatAreNoDuplicates) {
    makeLibrary();
    const NotedRows noted = readNotes(paths);
    const auto opened = Store::open(paths);
    ASSERT_TRUE(opened);
    ASSERT_TRUE((*opened)->change([&](Database &database) -> Result<> {
        if (const auto moved = database.execute(
                "PRAGMA defer_foreign_keys=ON; DELETE FROM znotduplicate; DELETE FROM zduethumbnail; "
                "DELETE FROM zduefingerprint; "
                "UPDATE zgenericasset SET pk = 1000 WHERE pk = 236");
            !moved)
            return moved;
        for (int round = 0; round < 2; ++round)
            for (const auto &[name, columns] : noted)
                if (name.first == "znotduplicate") {
                    EXPECT_EQ(insertNotedRow(database, name.first, columns), round == 0) << name.second;
                }
        return {};
    }));
    EXPECT_EQ(pairs(), "2 1000,239 240");
    EXPECT_EQ(number("SELECT changed > grouped FROM zduplicatestate"), 1);
}

// As new assets get them when the store is an older copy that does not know of later ones.
TEST_F(Notes, KeepTheKeysOfTheTrashApart) {
    makeLibrary();
    const auto opened = Store::open(paths);
    ASSERT_TRUE(opened);
    ASSERT_TRUE((*opened)->change([&](Database &database) {
        return database.execute("INSERT INTO ztrashedasset (pk, uuid) VALUES (7, 'A'), (8, 'B'), (900, 'C')");
    }));
    ASSERT_TRUE((*opened)->change([](Database &database) { return keepKeysOfTrash(database); }));
    EXPECT_EQ(number("SELECT count(DISTINCT pk) FROM ztrashedasset WHERE pk > 240"), 3);
    EXPECT_EQ(number("SELECT pk FROM ztrashedasset WHERE uuid = 'C'"), 900);
    add(**opened, inAll, inAll + 1);
    EXPECT_EQ(number("SELECT max(pk) > (SELECT max(pk) FROM ztrashedasset) FROM zgenericasset"), 1);
}

} // namespace
