#include "wickerlane/store/ObjectStore.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <thread>

#include "tests/support/StoreView.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/store/AssetColumns.h"
#include "wickerlane/store/Schema.h"

using namespace wickerlane;
using namespace wickerlane::store;
using namespace wickerlane::test;

namespace {

constexpr const char *libraryUUID = "11111111-2222-4333-8444-555555555555";

std::string uuidNumbered(int number) {
    char text[37];
    std::snprintf(text, sizeof text, "%08X-0000-4000-8000-00000000ABCD", number);
    return text;
}

AssetRecord assetNumbered(int number, AssetKind kind, double date) {
    AssetRecord record;
    record.uuid = uuidNumbered(number);
    record.kind = kind;
    record.directory = LibraryPaths::directoryOfOriginal(record.uuid);
    record.filename = record.uuid + ".JPG";
    record.format = "image/jpeg";
    record.dateCreated = date;
    return record;
}

/// A library's store with its writer.
class StoredAssets : public testing::Test {
protected:
    LibraryPaths paths;
    std::optional<sqlite::Database> writer;

    void SetUp() override {
        ASSERT_TRUE(makeFolders(std::filesystem::path(paths.database()).parent_path()));
        auto opened = sqlite::Database::open(paths.database(), sqlite::Database::Access::write);
        ASSERT_TRUE(opened) << opened.error().text;
        writer = *std::move(opened);
        ASSERT_TRUE(layOut(*writer)) << writer->problem().text;
        auto statement = writer->prepare("INSERT INTO zlibrary VALUES (?)");
        statement.bind(std::string_view(libraryUUID));
        ASSERT_TRUE(statement.run());
    }
    void add(const AssetRecord &record) {
        auto statement = writer->prepare(insertAsset);
        bindRecord(statement, record);
        ASSERT_TRUE(statement.run()) << writer->problem().text;
    }
    static std::unique_ptr<StoreView> openStore() {
        auto store = StoreView::open();
        EXPECT_TRUE(store);
        return store;
    }
};

std::string contentsOf(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST_F(StoredAssets, EveryColumnComesBackAsItWasStored) {
    ReleaseScope scope;
    AssetRecord stored = assetNumbered(7, AssetKind::video, -1234.5);
    stored.originalFilename = "Stra\xC3\x9F"
                              "e 'x'.mov";
    stored.width = 65500;
    stored.height = 3;
    stored.orientation = 8;
    stored.dateAdded = 8e8 + 0.25;
    stored.latitude = -33.25;
    stored.longitude = 151.5;
    stored.byteSize = 5'000'000'000;
    stored.sha256.fill(std::byte{0});
    stored.sha256.back() = std::byte{9};
    stored.thumbnailIndex = 3;
    stored.problem = "not a picture";
    stored.duration = 12.5;
    add(stored);
    const auto store = openStore();
    const ManagedAsset *asset = store->assetWithUUID("00000007-0000-4000-8000-00000000abcd");
    ASSERT_NE(asset, nullptr);
    const AssetRecord &read = asset->record();
    EXPECT_EQ(read.primaryKey, 1);
    EXPECT_EQ(read.kind, AssetKind::video);
    EXPECT_EQ(read.directory, "DCIM/00");
    EXPECT_EQ(read.filename, stored.filename);
    EXPECT_EQ(read.originalFilename, stored.originalFilename);
    EXPECT_EQ(read.format, stored.format);
    EXPECT_EQ(read.width, stored.width);
    EXPECT_EQ(read.height, stored.height);
    EXPECT_EQ(read.orientation, stored.orientation);
    EXPECT_EQ(read.dateCreated, stored.dateCreated);
    EXPECT_EQ(read.dateAdded, stored.dateAdded);
    EXPECT_EQ(read.latitude, stored.latitude);
    EXPECT_EQ(read.longitude, stored.longitude);
    EXPECT_EQ(read.byteSize, stored.byteSize);
    EXPECT_EQ(read.sha256, stored.sha256);
    EXPECT_EQ(read.thumbnailIndex, stored.thumbnailIndex);
    EXPECT_EQ(read.problem, stored.problem);
    EXPECT_EQ(read.duration, stored.duration);
    EXPECT_EQ(asset->fileURL()->fileSystemPath(), paths.original(read));
    EXPECT_EQ(asset->dateCreated()->referenceSeconds(), -1234.5);
}

TEST_F(StoredAssets, AnAssetIsFoundByEachOfItsNamesAndByNoOther) {
    ReleaseScope scope;
    add(assetNumbered(1, AssetKind::photo, 0));
    const auto store = openStore();
    ManagedAsset *asset = store->assetWithUUID(uuidNumbered(1));
    ASSERT_NE(asset, nullptr);
    EXPECT_TRUE(areEqual(store->assetWithURL(asset->assetURL()), asset));
    EXPECT_TRUE(areEqual(store->assetWithObjectID(asset->objectID()), asset));
    EXPECT_EQ(asset->assetURL()->absoluteString()->utf8(),
              "rez-vault://asset/asset.JPG?id=" + uuidNumbered(1) + "&ext=JPG");

    const std::string uri(asset->objectID()->uriRepresentation()->absoluteString()->utf8());
    EXPECT_EQ(uri, std::string("x-hoard-store://") + libraryUUID + "/GenericAsset/p1");
    EXPECT_LT(uri.size(), 199U) << "longer URIs are refused when they are read from a message";
    const std::string base = uri.substr(0, uri.size() - 1);
    const std::pair<std::string, bool> names[] = {
        {uri, true},
        {base, false},
        {base + "0", false},
        {base + "-1", false},
        {base + "+1", false},
        {base + "01", false},
        {base + "1x", false},
        {base + " 1", false},
        {base + "99999999999999999999", false},
        {"x-hoard-store://11111111-2222-4333-8444-555555555556/GenericAsset/p1", false},
        {std::string("x-hoard-store://") + libraryUUID + "/Album/p1", false},
        {"", false},
    };
    const auto resolver = ObjectStore::open();
    ASSERT_TRUE(resolver);
    EXPECT_EQ(resolver->storeUUID(), libraryUUID);
    for (const auto &[name, found] : names)
        EXPECT_EQ(resolver->managedObjectIDForURI(name.c_str(), name.size()) != nullptr, found) << name;
    const auto temporary = ManagedObjectID::create(URL::of(uri), true);
    EXPECT_EQ(store->assetWithObjectID(temporary.get()), nullptr);
}

TEST_F(StoredAssets, AReaderSeesEachCommitAndNeverTheMiddleOfOne) {
    const auto store = openStore();
    constexpr int transactions = 200, each = 5;
    std::thread reading([&] {
        std::size_t seen = 0;
        while (seen < transactions * each) {
            ReleaseScope scope;
            const Array *assets = store->assets();
            ASSERT_NE(assets, nullptr);
            ASSERT_EQ(assets->count() % each, 0U);
            ASSERT_GE(assets->count(), seen);
            seen = assets->count();
        }
    });
    for (int i = 0; i < transactions; ++i) {
        sqlite::Transaction transaction(*writer);
        for (int j = 0; j < each; ++j)
            add(assetNumbered(i * each + j, AssetKind::photo, i));
        ASSERT_TRUE(transaction.commit());
    }
    reading.join();
}

// The version of SQLite in use can damage a database when a second connection checkpoints.
TEST_F(StoredAssets, AReaderNeitherWritesNorCheckpointsNotEvenWhenItClosesLast) {
    ASSERT_TRUE(writer->execute("PRAGMA wal_autocheckpoint = 0"));
    {
        sqlite::Transaction transaction(*writer);
        for (int i = 0; i < 5000; ++i) // more pages than an automatic checkpoint waits for
            add(assetNumbered(i, AssetKind::photo, i));
        ASSERT_TRUE(transaction.commit());
    }
    // A copy of the files as they are is the library of a daemon that was killed: no other process has it
    // open.
    const LibraryPaths killed(rootPath() + "/killed");
    std::filesystem::create_directories(killed.folder() + "/PhotoData");
    for (const char *suffix : {"", "-wal"})
        std::filesystem::copy_file(paths.database() + suffix, killed.database() + suffix);
    const std::string fileBefore = contentsOf(killed.database()),
                      logBefore = contentsOf(killed.database() + "-wal");
    ASSERT_FALSE(logBefore.empty());
    {
        ReleaseScope scope;
        const auto store = StoreView::open(killed);
        ASSERT_TRUE(store);
        EXPECT_EQ(store->assets()->count(), 5000U);
    }
    EXPECT_EQ(contentsOf(killed.database()), fileBefore);
    EXPECT_EQ(contentsOf(killed.database() + "-wal"), logBefore);

    auto reader = sqlite::Database::open(killed.database(), sqlite::Database::Access::read);
    ASSERT_TRUE(reader) << reader.error().text;
    EXPECT_FALSE(reader->execute("DELETE FROM zgenericasset"));
    EXPECT_EQ(reader->integer("PRAGMA wal_autocheckpoint"), 0);
}

TEST(ObjectStore, SaysWhyItCantBeOpened) {
    const LibraryPaths paths;
    std::string problem;
    EXPECT_FALSE(ObjectStore::open(&problem));
    EXPECT_NE(problem.find(paths.database()), std::string::npos) << problem;
    EXPECT_FALSE(std::filesystem::exists(paths.database())) << "reading must not create it";

    std::filesystem::create_directories(std::filesystem::path(paths.database()).parent_path());
    std::ofstream(paths.database()) << std::string(5000, 'x');
    EXPECT_FALSE(ObjectStore::open(&problem));
    EXPECT_NE(problem.find("not a database"), std::string::npos) << problem;

    std::filesystem::remove(paths.database());
    {
        auto writer = sqlite::Database::open(paths.database(), sqlite::Database::Access::write);
        ASSERT_TRUE(writer);
        ASSERT_TRUE(writer->execute("PRAGMA user_version = 99;"));
    }
    EXPECT_FALSE(ObjectStore::open(&problem));
    EXPECT_NE(problem.find("model version 99"), std::string::npos) << problem;

    std::filesystem::rename(paths.database(), paths.database() + ".moved");
    std::filesystem::create_symlink(paths.database() + ".moved", paths.database());
    EXPECT_FALSE(ObjectStore::open(&problem)) << "a link is not followed";
}

} // namespace
