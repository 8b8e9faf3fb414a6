// wickerlane album, wickerlane delete, wickerlane changes, and the subcommands about shared albums
#include "tests/cli/CommandRun.h"
#include "tests/support/TestImages.h"

using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

TEST_F(Commands, AlbumsAreCreatedFilledAndShown) {
    const std::string uuid = imported(file("a.jpg", jpegPicture()));
    EXPECT_EQ(run({"album", "create", "Dunes"}).output.substr(0, 22), "rez-vault://group/?id=");
    EXPECT_EQ(run({"album", "create", "Dunes"}).exitCode, 1);
    EXPECT_EQ(run({"album", "add", "Dunes", uuid}).output, "1 asset added to Dunes\n");
    EXPECT_EQ(run({"album", "add", "Dunes", absentUUID}).exitCode, 4);
    EXPECT_EQ(run({"album", "add", "Hills", uuid}).exitCode, 4);
    const auto albums = run({"album", "list", "--json"}).json();
    ASSERT_EQ(albums.size(), 1U) << albums;
    EXPECT_EQ(albums[0]["assetCount"], 1);
    const auto shown = run({"album", "show", albums[0]["uuid"], "--json"}).json();
    EXPECT_EQ(shown["assets"][0]["uuid"], uuid) << shown;
    EXPECT_EQ(run({"album", "delete-empty", "Dunes"}).exitCode, 1);
    EXPECT_EQ(run({"delete", uuid}).exitCode, 1) << "there is no terminal to ask";
    EXPECT_EQ(run({"delete", "--yes", uuid}).output,
              "1 asset moved to the trash; to have it back within 30 days: wickerlane trash restore\n");
    EXPECT_EQ(run({"count"}).output, "0 photos, 0 videos\n");
    EXPECT_EQ(run({"album", "delete-empty", "Dunes"}).exitCode, 0);
    const auto changes = run({"changes", "--json"}).json();
    ASSERT_EQ(changes.size(), 2U) << changes;
    EXPECT_EQ(changes[0]["what"], "added");
    EXPECT_EQ(changes[1]["what"], "removed");
    EXPECT_EQ(run({"changes", "--since", "1", "--clear", "--json"}).json().size(), 1U);
    const CommandResult late = run({"changes", "--since", "1"});
    EXPECT_EQ(late.exitCode, 4) << late;
    EXPECT_NE(late.errors.find("no longer knows all changes since number 1"), std::string::npos) << late;
}

TEST_F(Commands, AlbumsAreRenamedEmptiedAndDeletedAndTheAssetsStay) {
    const std::string uuid = imported(file("a.jpg", jpegPicture()));
    EXPECT_EQ(run({"album", "create", "Dunes"}).exitCode, 0);
    EXPECT_EQ(run({"album", "create", "Hills"}).exitCode, 0);
    EXPECT_EQ(run({"album", "add", "Dunes", uuid}).exitCode, 0);
    EXPECT_EQ(run({"album", "rename", "Dunes", "Hills"}).exitCode, 1);
    EXPECT_EQ(run({"album", "rename", "Dunes", ""}).exitCode, 2);
    EXPECT_EQ(run({"album", "rename", "Lakes", "Seas"}).exitCode, 4);
    EXPECT_EQ(run({"album", "rename", "Dunes", "Seas"}).output, "Dunes is now Seas\n");
    EXPECT_EQ(run({"album", "remove", "Seas", uuid, absentUUID}).exitCode, 4);
    EXPECT_EQ(run({"album", "show", "Seas", "--json"}).json()["assets"].size(), 1U);
    EXPECT_EQ(run({"album", "remove", "Seas", uuid, uuid}).output, "1 asset removed from Seas\n");
    EXPECT_EQ(run({"album", "show", "Seas", "--json"}).json()["assets"].size(), 0U);
    EXPECT_EQ(run({"album", "add", "Seas", uuid}).exitCode, 0);
    EXPECT_EQ(run({"album", "delete", "Seas"}).exitCode, 1) << "there is no terminal to ask";
    EXPECT_EQ(run({"album", "delete", "Seas", "--yes"}).output,
              "album Seas deleted; the library still has its 1 asset\n");
    EXPECT_EQ(run({"album", "delete", "Seas", "--yes"}).exitCode, 4);
    EXPECT_EQ(run({"album", "list", "--json"}).json().size(), 1U);
    EXPECT_EQ(run({"count"}).output, "1 photo, 0 videos\n");
}

TEST_F(Commands, WhatAnAlbumHasAlreadyIsNotCounted) {
    const std::string jpeg = imported(file("a.jpg", jpegPicture())),
                      png = imported(file("b.png", pngPicture()));
    ASSERT_EQ(run({"album", "create", "Dunes"}).exitCode, 0);
    const struct {
        std::vector<std::string> arguments;
        int exitCode;
        std::string output;
    } cases[] = {
        {{"add", "Dunes", jpeg, absentUUID}, 4, ""}, // and nothing is added
        {{"remove", "Dunes", jpeg}, 0, "0 assets removed from Dunes, 1 was not in it\n"},
        {{"add", "Dunes", jpeg, jpeg}, 0, "1 asset added to Dunes\n"},
        {{"add", "Dunes", jpeg, png}, 0, "1 asset added to Dunes, 1 was in it already\n"},
        {{"add", "Dunes", "--where", "all"}, 0, "0 assets added to Dunes, 2 were in it already\n"},
        {{"remove", "Dunes", png}, 0, "1 asset removed from Dunes\n"},
        {{"remove", "Dunes", "--where", "all"}, 0, "1 asset removed from Dunes, 1 was not in it\n"},
    };
    for (const auto &[arguments, exitCode, output] : cases) {
        std::vector<std::string> words{"album"};
        words.insert(words.end(), arguments.begin(), arguments.end());
        const CommandResult result = run(words);
        EXPECT_EQ(result.exitCode, exitCode) << testing::PrintToString(arguments) << result;
        EXPECT_EQ(result.output, output) << testing::PrintToString(arguments) << result;
    }
    const std::vector<std::string> again{"import", (folder / "a.jpg").string(), "--album", "dunes", "--json"};
    EXPECT_EQ(run(again).json()["addedToAlbum"], 1);
    EXPECT_EQ(run(again).json()["addedToAlbum"], 0);
}

TEST_F(Commands, AnAlbumIsFoundByItsNameInAnyCase) {
    const std::string uuid = imported(file("a.jpg", jpegPicture()));
    for (const char *name : {"Dunes", "Été", "sea", "SEA"})
        ASSERT_EQ(run({"album", "create", name}).exitCode, 0);
    ASSERT_EQ(run({"album", "add", "Dunes", uuid}).exitCode, 0);
    const struct {
        std::string name, found, said;
    } cases[] = {
        {"dUNES", "Dunes", ""},
        {"été", "Été", ""},
        {"sea", "sea", ""},
        {"SEA", "SEA", ""},
        {"Sea", "", "there is no album Sea; did you mean SEA?"}, // or sea
        {"dune", "", "there is no album dune; did you mean Dunes?"},
        {"Hills", "", "there is no album Hills."},
        {"\xe9", "", "there is no album"}, // not UTF-8
    };
    for (const auto &[name, found, said] : cases) {
        const CommandResult result = run({"album", "show", name, "--json"});
        EXPECT_EQ(result.exitCode, found.empty() ? 4 : 0) << name << result;
        EXPECT_EQ(found.empty() ? "" : result.json()["name"], found) << name;
        EXPECT_NE(result.errors.find(said), std::string::npos) << name << result;
    }
    EXPECT_EQ(run({"album", "show", "Dunes", "--format", "ids0"}).output, uuid + '\0');
    EXPECT_EQ(run({"album", "show", "Dunes", "--fields", "name", "--format", "csv"}).output, "name\na.jpg\n");
    EXPECT_EQ(run({"album", "show", "Dunes", "--fields", "name", "--json"}).json()["assets"],
              nlohmann::json::parse(R"([{"name": "a.jpg"}])"));
    EXPECT_EQ(run({"list", "--album", "dunes", "--json"}).json().size(), 1U);
}

TEST_F(Commands, WhatWasDeletedIsInTheTrash) {
    const std::string source = file("a.jpg", jpegPicture());
    const std::string uuid = imported(source);
    EXPECT_EQ(run({"trash", "list", "--json"}).json().size(), 0U);
    EXPECT_EQ(run({"delete", "--yes", uuid}).exitCode, 0);
    const auto trash = run({"trash", "list", "--json"}).json();
    ASSERT_EQ(trash.size(), 1U) << trash;
    EXPECT_EQ(trash[0]["uuid"], uuid);
    EXPECT_GT(trash[0]["keptUntil"], trash[0]["trashed"]);
    EXPECT_GT(run({"sizes", "--json"}).json()["trashBytes"], fs::file_size(source));
    EXPECT_EQ(run({"delete", "--yes", uuid}).exitCode, 4) << "it is no longer in the library";
    EXPECT_EQ(run({"trash", "restore"}).exitCode, 2) << "which?";
    EXPECT_EQ(run({"trash", "restore", absentUUID}).exitCode, 4);
    EXPECT_EQ(run({"trash", "restore", uuid}).output, "1 asset restored\n");
    EXPECT_EQ(run({"count"}).output, "1 photo, 0 videos\n");
    EXPECT_EQ(run({"delete", "--yes", uuid}).exitCode, 0);
    EXPECT_EQ(run({"trash", "restore", "--all"}).output, "1 asset restored\n");

    EXPECT_EQ(run({"delete", "--yes", uuid}).exitCode, 0);
    EXPECT_EQ(run({"import", source}).exitCode, 0);
    EXPECT_EQ(run({"show", uuid}).exitCode, 0) << "it comes out of the trash again";
    EXPECT_EQ(run({"delete", "--yes", uuid}).exitCode, 0);
    EXPECT_EQ(run({"trash", "empty"}).exitCode, 1) << "there is no terminal to ask";
    EXPECT_EQ(run({"trash", "empty", "--yes"}).output, "1 asset deleted\n");
    EXPECT_EQ(run({"trash", "restore", uuid}).exitCode, 4);
    const std::string another = imported(file("b.jpg", jpegPicture()));
    EXPECT_EQ(run({"delete", "--now", "--yes", another}).output, "1 asset deleted\n");
    EXPECT_EQ(run({"trash", "list", "--json"}).json().size(), 0U);
    const std::string third = imported(file("c.jpg", jpegPicture()));
    EXPECT_EQ(run({"delete", "--yes", third}).exitCode, 0);
    EXPECT_EQ(run({"delete", "--now", "--yes", third}).output, "1 asset deleted\n") << "it was in the trash";
    EXPECT_EQ(run({"trash", "list", "--json"}).json().size(), 0U);
    EXPECT_EQ(run({"delete", "--now", "--yes", third}).exitCode, 4);
}

TEST_F(Commands, SharedAlbumsHaveBulletinsAndSpaceToPurge) {
    const std::string source = file("a.jpg", jpegPicture());
    const std::string uuid = imported(source);
    EXPECT_EQ(run({"sizes", "--json"}).json()["photoBytes"], fs::file_size(source));
    EXPECT_EQ(run({"stream", "s-1"}).exitCode, 0);
    EXPECT_EQ(run({"album", "add", "s-1", uuid}).exitCode, 0);
    const auto bulletins = run({"bulletins", "--json", "--clear"}).json();
    ASSERT_EQ(bulletins.size(), 1U) << bulletins;
    EXPECT_EQ(bulletins[0]["title"], "s-1");
    EXPECT_EQ(bulletins[0]["kind"], "added");
    EXPECT_EQ(bulletins[0]["keyAsset"], uuid);
    EXPECT_EQ(bulletins[0]["album"]["name"], "s-1");
    EXPECT_EQ(bulletins[0]["message"].get<std::string>().find('%'), std::string::npos) << bulletins;
    EXPECT_NE(bulletins[0]["message"].get<std::string>().find("s-1"), std::string::npos) << bulletins;
    const auto purgeable = run({"purge", "--dry-run", "--json"}).json()["purgeableBytes"];
    EXPECT_GT(purgeable, 0);
    EXPECT_EQ(run({"purge", "1GB", "--json"}).json()["freedBytes"], purgeable);
}

TEST_F(Commands, PersonInformationIsSetShownAndCleared) {
    EXPECT_EQ(run({"person", "p1"}).exitCode, 4);
    EXPECT_EQ(run({"person", "p1", "name=Ada"}).exitCode, 0);
    EXPECT_EQ(run({"person", "p1", "--json"}).json(),
              (nlohmann::json{{"person", "p1"}, {"entries", {{"name", "Ada"}}}}));
    EXPECT_EQ(run({"person", "p1", "--clear"}).exitCode, 0);
    EXPECT_EQ(run({"person", "p1"}).exitCode, 4);
}

} // namespace
