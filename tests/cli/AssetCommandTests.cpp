// wickerlane show, wickerlane export, wickerlane thumbnail, wickerlane preview
#include <sys/stat.h>

#include <cctype>

#include "tests/cli/CommandRun.h"
#include "tests/support/TestImages.h"

using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

TEST_F(Commands, AFileThatIsNoPictureIsSavedWithItsProblem) {
    const std::string uuid = imported(file("words.jpg", bytesOf("only words")));
    const auto shown = run({"show", uuid, "--json"}).json();
    EXPECT_TRUE(shown.contains("problem")) << shown;
    const CommandResult checked = run({"check", "--json"});
    EXPECT_EQ(checked.exitCode, 1) << checked;
    EXPECT_EQ(checked.json()["findings"][0]["kind"], "picture that can't be decoded") << checked;
    EXPECT_EQ(checked.json()["findings"][0]["problem"], shown["problem"]) << checked;

    const CommandResult thumbnail = run({"thumbnail", uuid, "--to", (folder / "out.jpg").string()});
    EXPECT_EQ(thumbnail.exitCode, 1) << thumbnail;
    EXPECT_NE(thumbnail.errors.find("decoded"), std::string::npos) << thumbnail;
    EXPECT_FALSE(fs::exists(folder / "out.jpg"));

    EXPECT_EQ(run({"export", uuid, "--to", (folder / "back.jpg").string()}).exitCode, 0);
    EXPECT_EQ(contentsOf(folder / "back.jpg"), "only words");
}

TEST_F(Commands, AnAssetIsFoundByEachOfItsNames) {
    const std::string uuid = imported(file("a.jpg", jpegPicture()));
    const auto shown = run({"show", uuid, "--json"}).json();
    ASSERT_EQ(shown["uuid"], uuid) << shown;
    EXPECT_EQ(shown["name"], "a.jpg");
    std::string lower = uuid;
    for (char &c : lower)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    for (const std::string &name :
         {lower, shown["url"].get<std::string>(), shown["objectID"].get<std::string>()})
        EXPECT_EQ(run({"show", name, "--json"}).json(), shown) << name;
    EXPECT_NE(run({"show", uuid}).output.find("64x48"), std::string::npos);
}

TEST_F(Commands, ExportCopiesTheOriginalAndReplacesFilesOnlyWithForce) {
    const std::string source = file("a.jpg", jpegPicture());
    const std::string uuid = imported(source);
    const fs::path out = folder / "out";
    fs::create_directory(out);

    const CommandResult first = run({"export", uuid, "--to", out.string()});
    EXPECT_EQ(first.exitCode, 0) << first;
    EXPECT_EQ(contentsOf(out / "a.jpg"), contentsOf(source));

    file("out/a.jpg", bytesOf("mine"));
    const CommandResult second = run({"export", uuid, "--to", out.string()});
    EXPECT_EQ(second.exitCode, 1) << second;
    EXPECT_NE(second.errors.find("--force"), std::string::npos) << second;
    EXPECT_EQ(contentsOf(out / "a.jpg"), "mine");

    EXPECT_EQ(run({"export", uuid, "--force", "--to", out.string()}).exitCode, 0);
    EXPECT_EQ(contentsOf(out / "a.jpg"), contentsOf(source));
    const auto entries = std::distance(fs::directory_iterator(out), fs::directory_iterator());
    EXPECT_EQ(entries, 1) << "no temporary file is left";
}

TEST_F(Commands, ExportOfSeveralWritesEachAndReplacesNothing) {
    std::vector<std::string> pictures;
    for (std::uint32_t side = 8; side <= 10; ++side) {
        TestExif exif;
        exif.dateTimeOriginal = "2001:06:15 10:20:0" + std::to_string(side % 10);
        exif.offsetTimeOriginal = "+02:00";
        const std::string name = side == 10 ? "b.jpg" : std::to_string(side) + "/a.jpg";
        pictures.push_back(contentsOf(file(name, jpegOf(fourCorners(side, side), exif))));
        imported((folder / name).string());
    }
    file("out/deep/a.jpg", bytesOf("mine"));
    const fs::path out = folder / "out" / "deep";

    for (const char *flag : {"--all", "--force"}) {
        std::vector<std::string> arguments{"export", "--all", "--to", out.string()};
        if (flag != arguments[1])
            arguments.emplace_back(flag);
        const CommandResult result = run(arguments);
        EXPECT_EQ(result.exitCode, 0) << result;
        EXPECT_EQ(result.output,
                  flag == arguments[1] ? "3 files written\n" : "0 files written, 3 already there\n");
        EXPECT_EQ(contentsOf(out / "a.jpg"), "mine");
        EXPECT_EQ(contentsOf(out / "b.jpg"), pictures[2]);
        EXPECT_EQ(contentsOf(out / "a 2.jpg"), pictures[0]) << "the older one";
        EXPECT_EQ(contentsOf(out / "a 3.jpg"), pictures[1]);
        EXPECT_EQ(std::distance(fs::directory_iterator(out), fs::directory_iterator()), 4);
    }
    struct stat status = {};
    ASSERT_EQ(stat((out / "a 3.jpg").c_str(), &status), 0);
    EXPECT_EQ(status.st_mtim.tv_sec, 992'593'209) << "when it was taken";

    const CommandResult made = run({"export", "--all", "--to", (folder / "not" / "yet").string()});
    EXPECT_EQ(made.exitCode, 0) << made;
    EXPECT_TRUE(fs::exists(folder / "not" / "yet" / "a 2.jpg"));
    EXPECT_EQ(run({"export", "--all", "--to", (out / "b.jpg").string()}).exitCode, 2);
}

TEST_F(Commands, ThumbnailWritesEachFormat) {
    const std::string source = file("a.png", pngPicture());
    const std::string uuid = imported(source);
    const struct {
        const char *format;
        std::string start;
    } cases[] = {
        {"small", "\xff\xd8\xff"}, {"preview", "\xff\xd8\xff"},      {"full", "\xff\xd8\xff"},
        {"png", "\x89PNG"},        {"original", contentsOf(source)}, {"large", "\xff\xd8\xff"},
    };
    for (const auto &[format, start] : cases) {
        const fs::path out = folder / format;
        const CommandResult result = run({"thumbnail", uuid, "--format", format, "--to", out.string()});
        EXPECT_EQ(result.exitCode, 0) << format << ": " << result;
        EXPECT_TRUE(contentsOf(out).starts_with(start)) << format;
    }
    EXPECT_EQ(run({"thumbnail", uuid, "--to", (folder / "small").string()}).exitCode, 1);
}

TEST_F(Commands, ThumbnailHasTheSizeThatIsAskedFor) {
    const std::string uuid = imported(file("a.jpg", jpegOf(fourCorners(2500, 1500))));
    const std::pair<const char *, std::uint32_t> cases[] = {{"1", 256},     {"256", 256},   {"257", 1024},
                                                            {"1024", 1024}, {"2000", 2048}, {"2049", 2500}};
    for (const auto &[size, width] : cases) {
        const CommandResult result =
            run({"thumbnail", uuid, "--size", size, "--to", (folder / "out").string(), "--force"});
        EXPECT_EQ(result.exitCode, 0) << size << ": " << result;
        const std::string written = contentsOf(folder / "out");
        const auto bytes = bytesOf(written);
        EXPECT_EQ(decodedPicture({bytes.begin(), bytes.end()}).width, width) << size;
    }
    for (const char *size : {"0", "-1", "large"})
        EXPECT_EQ(run({"thumbnail", uuid, "--size", size}).exitCode, 2) << size;
    EXPECT_EQ(run({"thumbnail", uuid, "--size", "20", "--format", "full"}).exitCode, 2);
}

TEST_F(Commands, PreviewNeedsItsEntitlement) {
    const std::string self = WICKERLANE_COMMAND;
    const std::string uuid = imported(file("a.jpg", jpegPicture())),
                      edited = file("edited.png", pngPicture());
    EXPECT_EQ(run({"entitlement", "revoke", self, "write-assets"}).exitCode, 0);
    const CommandResult refused = run({"preview", uuid, edited});
    EXPECT_EQ(refused.exitCode, 1) << refused;
    EXPECT_EQ(run({"entitlement", "grant", self, "write-assets"}).exitCode, 0);
    EXPECT_EQ(run({"entitlement", "list", "--json"}).json()[0]["entitlements"].size(), 1U);
    const CommandResult done = run({"preview", uuid, edited});
    EXPECT_EQ(done.exitCode, 0) << done;
    EXPECT_TRUE(run({"show", uuid, "--json"}).json().contains("edited"));
    EXPECT_EQ(run({"entitlement", "revoke", self, "write-assets"}).exitCode, 0);
    EXPECT_EQ(run({"revert", uuid}).exitCode, 5);
    EXPECT_EQ(run({"entitlement", "grant", self, "write-assets"}).exitCode, 0);
    EXPECT_EQ(run({"revert", uuid}).output, "1 asset reverted\n");
    EXPECT_FALSE(run({"show", uuid, "--json"}).json().contains("edited"));
    EXPECT_NE(run({"revert", uuid}).exitCode, 0) << "nothing is left to revert";
    const CommandResult words = run({"preview", uuid, file("words", bytesOf("only words"))});
    EXPECT_EQ(words.exitCode, 1) << words;
    EXPECT_NE(words.errors.find("words was not set: "), std::string::npos) << words;
    EXPECT_EQ(words.errors.find("see the daemon's log"), std::string::npos)
        << "the daemon says why: " << words;
}

} // namespace
