#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "wickerlane/platform/consent/Consent.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/process/ProcessFacts.h"

using namespace wickerlane;
namespace fs = std::filesystem;

namespace {

ConsentStore &consent() {
    return ConsentStore::shared();
}

std::string file() {
    return pathUnderRoot("/var/db/wickerlane/Consent.plist");
}

TEST(Consent, DecisionsAreKeptForProgramAndUser) {
    EXPECT_EQ(consent().decision("s", "/bin/a", 1), std::nullopt);
    ASSERT_TRUE(consent().decide({"s", "/bin/a", 1, true}));
    ASSERT_TRUE(consent().decide({"s", "/bin/a", 2, false}));
    ASSERT_TRUE(consent().decide({"t", "/bin/a", 1, false}));
    EXPECT_EQ(consent().decision("s", "/bin/a", 1), true);
    EXPECT_EQ(consent().decision("s", "/bin/a", 2), false);
    EXPECT_EQ(consent().decision("t", "/bin/a", 1), false);
    EXPECT_EQ(consent().decision("s", "/bin/b", 1), std::nullopt);
    ASSERT_TRUE(consent().decide({"s", "/bin/a", 1, false}));
    EXPECT_EQ(consent().decision("s", "/bin/a", 1), false);
    ASSERT_TRUE(consent().forget("s", "/bin/a", 1));
    EXPECT_EQ(consent().decision("s", "/bin/a", 1), std::nullopt);
    EXPECT_EQ(consent().decisions().size(), 2U);
}

TEST(Consent, EntitlementsBelongToPrograms) {
    const PeerIdentity owner{getuid(), 0, 1, 1, "/bin/a"}, stranger{getuid() + 1, 0, 1, 1, "/bin/a"};
    EXPECT_TRUE(consent().isEntitled(owner, "x")) << "in one's own library";
    EXPECT_FALSE(consent().isEntitled(stranger, "x"));
    ASSERT_TRUE(consent().setEntitled("/bin/a", "x", true));
    EXPECT_TRUE(consent().isEntitled(stranger, "x"));
    EXPECT_FALSE(consent().isEntitled(owner, "y")) << "a listed program has what is listed";
    ASSERT_TRUE(consent().setEntitled("/bin/a", "x", false));
    EXPECT_FALSE(consent().isEntitled(owner, "x"));
}

TEST(Consent, AFileThatOthersCouldWriteDoesNotCount) {
    ASSERT_TRUE(consent().decide({"s", "/bin/a", 1, true}));
    fs::permissions(file(), fs::perms::others_write, fs::perm_options::add);
    EXPECT_EQ(consent().decision("s", "/bin/a", 1), std::nullopt);
    EXPECT_FALSE(consent().decide({"s", "/bin/b", 1, true})) << "nor is it overwritten";
    fs::permissions(file(), fs::perms::others_write, fs::perm_options::remove);
    EXPECT_EQ(consent().decision("s", "/bin/a", 1), true);

    fs::rename(file(), file() + ".other");
    fs::create_symlink(file() + ".other", file());
    EXPECT_EQ(consent().decision("s", "/bin/a", 1), std::nullopt);
    fs::remove(file());
    std::ofstream(file()) << "garbage";
    EXPECT_EQ(consent().decision("s", "/bin/a", 1), std::nullopt);
    EXPECT_FALSE(consent().decide({"s", "/bin/b", 1, true})) << "what is not understood stays as it is";
}

TEST(AuditToken, StandsForOneProcessWhileItRuns) {
    const pid_t child = fork();
    if (child == 0) {
        pause();
        _exit(0);
    }
    const PeerIdentity peer{getuid(), getgid(), child, startTimeOf(child), executableOf(child)};
    const AuditToken token = auditTokenOf(peer);
    EXPECT_TRUE(PVGAccessCheckAuditToken(kPVGServicePhotos, token)) << "the owner's own";
    ASSERT_TRUE(consent().decide({kPVGServicePhotos, peer.executable, peer.user, false}));
    EXPECT_FALSE(PVGAccessCheckAuditToken(kPVGServicePhotos, token));
    ASSERT_TRUE(consent().forget(kPVGServicePhotos, peer.executable, peer.user));

    AuditToken other = token;
    other[4] ^= 1; // another process with this id
    EXPECT_FALSE(PVGAccessCheckAuditToken(kPVGServicePhotos, other));
    other = token;
    other[0] = 0;
    EXPECT_FALSE(PVGAccessCheckAuditToken(kPVGServicePhotos, other));
    other = token;
    other[1] = getuid() + 1;
    EXPECT_FALSE(PVGAccessCheckAuditToken(kPVGServicePhotos, other));
    EXPECT_FALSE(PVGAccessCheckAuditToken(kPVGServicePhotos, {}));

    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    EXPECT_FALSE(PVGAccessCheckAuditToken(kPVGServicePhotos, token));
}

} // namespace
