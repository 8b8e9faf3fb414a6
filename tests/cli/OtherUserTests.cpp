// Other users than the library's owner.
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>

#include "tests/cli/CommandRun.h"

using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

constexpr uid_t other = 65534;

class OtherUsers : public Commands {
protected:
    void SetUp() override {
        Commands::SetUp();
        if (geteuid() != 0)
            GTEST_SKIP() << "only root can be another user";
        root = std::getenv("WICKERLANE_ROOT");
        fs::permissions(root, fs::perms(0755));
        if (runAs(other, {"--version"}).exitCode != 0)
            GTEST_SKIP() << "the build folder is closed to other users";
    }

    void beDevice() const {
        fs::create_directories(root / "etc/wickerlane");
        std::ofstream(root / "etc/wickerlane/device");
    }

    static void expectRefusal(const std::vector<std::string> &arguments, const std::string &text) {
        const CommandResult result = runAs(other, arguments);
        EXPECT_EQ(result.exitCode, 5) << result;
        EXPECT_NE(result.errors.find(text), std::string::npos) << result;
    }

    fs::path root;
};

TEST_F(OtherUsers, StayOutsideALibraryThatIsNoDevices) {
    expectRefusal({"sizes"}, "this user may not start it");
    imported(file("a.png", pngPicture()));
    expectRefusal({"sizes"}, "this user may not reach org.wickerlane.hoardd.Gatekeeper");
    expectRefusal({"consent", "list"}, "can't be looked at: Permission denied");
}

TEST_F(OtherUsers, ReachADeviceOnlyThroughTheDaemonAndByConsent) {
    beDevice();
    expectRefusal({"sizes"}, "this user may not start it");
    imported(file("a.png", pngPicture()));
    expectRefusal({"sizes"}, "consent grant " WICKERLANE_COMMAND " --user 65534");
    ASSERT_EQ(run({"consent", "grant", WICKERLANE_COMMAND, "--user", "65534"}).exitCode, 0);

    const CommandResult counted = runAs(other, {"count"});
    EXPECT_EQ(counted.output, "1 photo, 0 videos\n") << counted;
    EXPECT_EQ(runAs(other, {"daemon", "status", "--json"}).json()["running"], true);
    const std::string second = file("b.jpg", jpegPicture());
    fs::permissions(second, fs::perms(0600));
    ASSERT_EQ(chown(second.c_str(), other, other), 0);
    file("b.xmp", bytesOf("<metadata/>"));
    const CommandResult saved = runAs(other, {"import", second});
    EXPECT_EQ(saved.output, "1 file saved\n") << saved;
    EXPECT_EQ(saved.errors, "") << saved;
    const std::string listed = run({"list", "--json"}).output;
    EXPECT_NE(listed.find("\"b.jpg\""), std::string::npos) << listed;
    EXPECT_NE(listed.find("\"sidecar\""), std::string::npos) << listed;

    const std::string plain = run({"list", "--json", "--name", "a.png"}).output;
    EXPECT_EQ(runAs(other, {"list", "--json", "--name", "a.png"}).output, plain);
    const std::string uuid = nlohmann::json::parse(plain)[0]["uuid"];
    EXPECT_EQ(runAs(other, {"show", uuid, "--json"}).output, run({"show", uuid, "--json"}).output);
    EXPECT_EQ(runAs(other, {"moments"}).exitCode, 0);
    const fs::path copies = folder / "copies";
    fs::create_directory(copies);
    ASSERT_EQ(chown(copies.c_str(), other, other), 0);
    const CommandResult exported = runAs(other, {"export", "--all", "--to", copies.string()});
    EXPECT_EQ(exported.exitCode, 0) << exported;
    EXPECT_NE(exported.errors.find("only originals are exported"), std::string::npos) << exported;
    EXPECT_TRUE(fs::exists(copies / "b.jpg") && !fs::exists(copies / "b.jpg.xmp"));
    const CommandResult ofOwner = run({"export", "--all", "--quiet", "--to", copies.string()});
    EXPECT_EQ(ofOwner.errors, "") << ofOwner;
    EXPECT_TRUE(fs::exists(copies / "b.jpg.xmp"));
    expectRefusal({"check"}, "Only its owner may read it directly");
    expectRefusal({"consent", "list"}, "can't be looked at: Permission denied");
    for (const char *closed : {"var/mobile", "var/mobile/Media", "var/mobile/Media/PhotoData/Incoming",
                               "var/log", "var/db", "var/run/wickerlane/notify"})
        EXPECT_EQ(fs::status(root / closed).permissions(), fs::perms(0700)) << closed;

    ASSERT_EQ(run({"consent", "revoke", WICKERLANE_COMMAND, "--user", "65534"}).exitCode, 0);
    expectRefusal({"list"}, "consent grant " WICKERLANE_COMMAND " --user 65534");
    expectRefusal({"show", uuid}, "consent grant " WICKERLANE_COMMAND " --user 65534");
}

} // namespace
