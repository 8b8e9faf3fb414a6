// The first example of an application: what it prints, and how it ends.
#include <unistd.h>

#include "tests/cli/CommandRun.h"
#include "wickerlane/platform/consent/Consent.h"

using namespace wickerlane;
using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

CommandResult hello(const std::string &path) {
    return RunningCommand::ofProgram({HELLO_EXAMPLE, path}).wait();
}

TEST_F(Commands, TheExampleSavesAPictureOrSaysWhyNot) {
    const std::string picture = file("a.jpg", jpegPicture()), locked = file("locked.jpg", jpegPicture());
    fs::permissions(locked, fs::perms::none);
    const CommandResult saved = hello(picture);
    EXPECT_EQ(saved.exitCode, 0) << saved;
    EXPECT_TRUE(saved.output.starts_with("Saved: rez-vault://asset/asset.JPG?id=")) << saved;

    struct Case {
        std::string path;
        const char *reason;
    };
    std::vector<Case> cases = {
        {(folder / "missing.jpg").string(), "No such file or directory"},
        {folder.string(), "it is not a regular file"},
        {"", "it is not a regular file"},
        {file("empty.jpg", {}), "there is nothing in it"},
        {"\xFF.jpg", "there is nothing in it"}, // no text, and so no path
    };
    if (geteuid() != 0)
        cases.push_back({locked, "Permission denied"});
    for (const auto &[path, reason] : cases) {
        const CommandResult refused = hello(path);
        EXPECT_EQ(refused.exitCode, 1) << path << refused;
        EXPECT_TRUE(refused.output.starts_with("Not saved: ")) << refused;
        EXPECT_TRUE(refused.output.ends_with(reason + std::string("\n"))) << refused;
    }
    EXPECT_EQ(run({"count"}).output, "1 photo, 0 videos\n");
}

TEST_F(Commands, TheExampleSaysWhenNothingIsServed) {
    const std::string picture = file("a.jpg", jpegPicture());
    describeService({"--max-jobs", "0"});
    const CommandResult full = hello(picture);
    EXPECT_EQ(full.output, "Not saved: hoardd has too much to do; try again later\n");
    EXPECT_EQ(full.exitCode, 1);
    endDaemon();
    describeService({});
    ASSERT_TRUE(ConsentStore::shared().decide({kPVGServicePhotos, HELLO_EXAMPLE, getuid(), false}));
    const CommandResult denied = hello(picture);
    EXPECT_EQ(denied.output, "Not saved: hoardd can't be reached, or does not serve this program\n");
    EXPECT_EQ(denied.exitCode, 1);
    endDaemon();
    fs::remove_all(folder.parent_path() / "services");
    const CommandResult unreached = hello(picture);
    EXPECT_EQ(unreached.output, denied.output);
    EXPECT_EQ(unreached.exitCode, 1);
}

} // namespace
