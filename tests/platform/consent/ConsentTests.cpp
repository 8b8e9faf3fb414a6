#include <gtest/gtest.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <fstream>

#include "tests/support/Descriptors.h"
#include "tests/support/Fork.h"
#include "wickerlane/platform/consent/Consent.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/process/ProcessFacts.h"

using namespace wickerlane;
using test::resultOfForkedChild;
namespace fs = std::filesystem;

namespace {

class Consent : public ::testing::Test {
protected:
    void SetUp() override { test::allowLastingDescriptors(test::folderWatchDescriptors); }
};

ConsentStore &consent() {
    return ConsentStore::shared();
}

/// A program that no process runs.
RunningProgram named(const char *path) {
    return {.path = path, .standing = ProgramStanding::named};
}

std::string file() {
    return pathUnderRoot("/var/db/wickerlane/Consent.plist");
}

TEST_F(Consent, DecisionsAreKeptForProgramAndUser) {
    EXPECT_EQ(consent().rules()->decision("s", named("/bin/a"), 1), std::nullopt);
    ASSERT_TRUE(consent().decide({"s", "/bin/a", 1, true}));
    ASSERT_TRUE(consent().decide({"s", "/bin/a", 2, false}));
    ASSERT_TRUE(consent().decide({"t", "/bin/a", 1, false}));
    EXPECT_EQ(consent().rules()->decision("s", named("/bin/a"), 1), true);
    EXPECT_EQ(consent().rules()->decision("s", named("/bin/a"), 2), false);
    EXPECT_EQ(consent().rules()->decision("t", named("/bin/a"), 1), false);
    EXPECT_EQ(consent().rules()->decision("s", named("/bin/b"), 1), std::nullopt);
    ASSERT_TRUE(consent().decide({"s", "/bin/a", 1, false}));
    EXPECT_EQ(consent().rules()->decision("s", named("/bin/a"), 1), false);
    ASSERT_TRUE(consent().forget("s", "/bin/a", 1));
    EXPECT_EQ(consent().rules()->decision("s", named("/bin/a"), 1), std::nullopt);
    EXPECT_EQ(consent().rules()->decisions.size(), 2U);
}

TEST_F(Consent, EntitlementsBelongToPrograms) {
    const PeerIdentity owner{getuid(), 0, 1, 1, named("/bin/a")},
        stranger{getuid() + 1, 0, 1, 1, named("/bin/a")};
    EXPECT_TRUE(consent().rules()->isEntitled(owner, "x")) << "in one's own library";
    EXPECT_FALSE(consent().rules()->isEntitled(stranger, "x"));
    ASSERT_TRUE(consent().setEntitled("/bin/a", "x", true));
    EXPECT_TRUE(consent().rules()->isEntitled(stranger, "x"));
    EXPECT_FALSE(consent().rules()->isEntitled(owner, "y")) << "a listed program has what is listed";
    ASSERT_TRUE(consent().setEntitled("/bin/a", "x", false));
    EXPECT_FALSE(consent().rules()->isEntitled(owner, "x"));
}

TEST_F(Consent, AFileThatOthersCouldWriteDoesNotCount) {
    ASSERT_TRUE(consent().decide({"s", "/bin/a", 1, true}));
    for (const std::string &writable : {file(), pathUnderRoot("/var/db")}) {
        fs::permissions(writable, fs::perms::others_write, fs::perm_options::add);
        EXPECT_EQ(consent().rules()->decision("s", named("/bin/a"), 1), std::nullopt) << writable;
        EXPECT_EQ(whyConsentIgnored(), writable + " may be written by other users; chmod go-w ends that");
        EXPECT_FALSE(consent().decide({"s", "/bin/b", 1, true})) << "nor is it overwritten";
        fs::permissions(writable, fs::perms::others_write, fs::perm_options::remove);
        EXPECT_EQ(consent().rules()->decision("s", named("/bin/a"), 1), true);
        EXPECT_EQ(whyConsentIgnored(), "");
    }

    fs::rename(file(), file() + ".other");
    fs::create_symlink(file() + ".other", file());
    EXPECT_EQ(consent().rules()->decision("s", named("/bin/a"), 1), std::nullopt);
    fs::remove(file());
    std::ofstream(file()) << "garbage";
    EXPECT_EQ(consent().rules()->decision("s", named("/bin/a"), 1), std::nullopt);
    EXPECT_FALSE(consent().decide({"s", "/bin/b", 1, true})) << "what is not understood stays as it is";
}

TEST_F(Consent, IsReadByTheGroupThatItsFolderPassesOn) {
    const fs::path folder = fs::path(file()).parent_path();
    constexpr fs::perms owners = fs::perms::owner_read | fs::perms::owner_write;
    ASSERT_TRUE(consent().decide({"s", "/bin/a", 1, true}));
    EXPECT_EQ(fs::status(file()).permissions(), owners);
    fs::permissions(folder, fs::perms::set_gid | fs::perms::group_read, fs::perm_options::add);
    ASSERT_TRUE(consent().decide({"s", "/bin/a", 1, false}));
    EXPECT_EQ(fs::status(file()).permissions(), owners | fs::perms::group_read);
    EXPECT_EQ(whyConsentIgnored(), "");
}

/// A process of a program, which the destructor ends.
class Running {
public:
    explicit Running(const fs::path &program, int namespaces = 0) {
        process = fork();
        if (process == 0) {
            if (namespaces != 0 && unshare(namespaces) != 0)
                _exit(1);
            execl(program.c_str(), program.c_str(), "1000", nullptr);
            _exit(1);
        }
        // Until then it runs this test's program.
        const std::string exe = "/proc/" + std::to_string(process) + "/exe";
        siginfo_t ended{};
        std::error_code error;
        while (fs::equivalent(exe, "/proc/self/exe", error) &&
               waitid(P_PID, static_cast<id_t>(process), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 &&
               ended.si_pid == 0)
            sched_yield();
    }
    Running(const Running &) = delete;
    Running &operator=(const Running &) = delete;
    ~Running() {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }
    [[nodiscard]] RunningProgram program() const { return programOf(process); }

private:
    pid_t process;
};

// What another file, another name, and a missing file do to decisions about a program.
TEST_F(Consent, BelongsToTheFileThatRuns) {
    const fs::path folder = fs::canonical(rootPath());
    const fs::path sleeper = folder / "sleeper", second = folder / "second";
    const auto decided = [&](const RunningProgram &program, bool isGranted) {
        EXPECT_TRUE(consent().decide({"s", sleeper, 1, isGranted}));
        return consent().rules()->decision("s", program, 1);
    };
    for (const fs::path &each : {sleeper, folder / "new"})
        fs::copy_file("/bin/sleep", each);
    fs::create_hard_link(sleeper, second);

    const Running first(sleeper), linked(second);
    ASSERT_TRUE(first.program().is(sleeper.string())) << first.program().path;
    EXPECT_EQ(decided(first.program(), true), true);
    EXPECT_EQ(decided(first.program(), false), false);
    EXPECT_EQ(decided(linked.program(), true), std::nullopt) << "a grant is for one name";
    EXPECT_EQ(decided(linked.program(), false), false) << "a denial is for the file";

    fs::rename(folder / "new", sleeper);
    EXPECT_EQ(first.program().standing, ProgramStanding::gone);
    EXPECT_EQ(decided(first.program(), true), std::nullopt) << "another file has the name";
    EXPECT_EQ(decided(first.program(), false), false);

    fs::remove(sleeper);
    EXPECT_EQ(decided(first.program(), true), std::nullopt);
    EXPECT_EQ(decided(first.program(), false), false) << "no file has the name";

    EXPECT_EQ(decided({}, true), std::nullopt) << "one that the kernel doesn't name";
    EXPECT_EQ(decided({}, false), false) << "could be the one that is denied";
}

TEST_F(Consent, EntitlementsOfAFileThatIsGoneAreNotKept) {
    const fs::path program = fs::canonical(rootPath()) / "sleeper";
    fs::copy_file("/bin/sleep", program);
    const Running running(program);
    const auto isEntitled = [&](uid_t user, const char *entitlement) {
        return consent().rules()->isEntitled({user, 0, 1, 1, running.program()}, entitlement);
    };
    ASSERT_TRUE(consent().setEntitled(program.string(), "x", true));
    EXPECT_TRUE(isEntitled(getuid() + 1, "x"));
    fs::remove(program);
    EXPECT_FALSE(isEntitled(getuid() + 1, "x"));
    EXPECT_TRUE(isEntitled(getuid(), "x")) << "as an owner's program that is not listed";
    EXPECT_FALSE(isEntitled(getuid(), "y")) << "what was taken stays taken";
}

TEST_F(Consent, IsNotForProgramsInNamespacesOfTheirOwn) {
    const fs::path program = fs::canonical(rootPath()) / "sleeper";
    fs::copy_file("/bin/sleep", program);
    const Running outside(program), inside(program, CLONE_NEWUSER | CLONE_NEWNS);
    EXPECT_EQ(outside.program().standing, ProgramStanding::named);
    if (inside.program().path.empty())
        GTEST_SKIP() << "this system gives no user namespaces to programs";
    EXPECT_EQ(inside.program().standing, ProgramStanding::foreign);
    EXPECT_FALSE(consent().rules()->isEntitled({getuid(), 0, 1, 1, inside.program()}, "x"));
}

// A service manager gives hoardd mounts of its own; its clients have those of process 1.
TEST_F(Consent, IsForProgramsWithTheMountsOfTheFirstProcess) {
    const fs::path program = fs::canonical(rootPath()) / "sleeper";
    fs::copy_file("/bin/sleep", program);
    constexpr int impossible = 99;
    const auto standing = [](const Running &each) { return static_cast<int>(each.program().standing); };
    // The first process of a process namespace, with mounts that all there have unless they leave them.
    const auto asFirst = [&](auto ask) {
        return resultOfForkedChild([&] {
            const std::string user = std::to_string(getuid()), group = std::to_string(getgid());
            if (unshare(CLONE_NEWUSER | CLONE_NEWPID | CLONE_NEWNS) != 0)
                return impossible;
            // Only a user who has a name here can make further namespaces.
            std::ofstream("/proc/self/setgroups") << "deny";
            std::ofstream("/proc/self/uid_map") << "0 " << user << " 1";
            std::ofstream("/proc/self/gid_map") << "0 " << group << " 1";
            if (getuid() != 0 || getgid() != 0)
                return impossible;
            return resultOfForkedChild([&] {
                if (mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
                    mount("proc", "/proc", "proc", 0, nullptr) != 0)
                    return impossible;
                return ask();
            });
        });
    };
    const auto besideOwnMounts = [&](int clientsNamespaces) {
        return asFirst([&] {
            const Running client(program, clientsNamespaces);
            return resultOfForkedChild(
                [&] { return unshare(CLONE_NEWNS) == 0 ? standing(client) : impossible; });
        });
    };
    if (asFirst([] { return 0; }) != 0)
        GTEST_SKIP() << "this system gives no namespaces to programs";
    EXPECT_EQ(besideOwnMounts(0), static_cast<int>(ProgramStanding::named));
    EXPECT_EQ(besideOwnMounts(CLONE_NEWNS), static_cast<int>(ProgramStanding::foreign));
    EXPECT_EQ(besideOwnMounts(CLONE_NEWUSER), static_cast<int>(ProgramStanding::foreign));
}

TEST_F(Consent, TokensStandForOneProcessWhileItRuns) {
    const pid_t child = fork();
    if (child == 0) {
        pause();
        _exit(0);
    }
    const PeerIdentity peer{getuid(), getgid(), child, startTimeOf(child), programOf(child)};
    const AuditToken token = auditTokenOf(peer);
    EXPECT_TRUE(PVGAccessCheckAuditToken(kPVGServicePhotos, token)) << "the owner's own";
    ASSERT_TRUE(consent().decide({kPVGServicePhotos, peer.program.path, peer.user, false}));
    EXPECT_FALSE(PVGAccessCheckAuditToken(kPVGServicePhotos, token));
    ASSERT_TRUE(consent().forget(kPVGServicePhotos, peer.program.path, peer.user));

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
