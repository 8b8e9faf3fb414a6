#include "wickerlane/platform/preferences/Preferences.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <thread>

#include "tests/support/Peer.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/String.h"

using namespace wickerlane;
namespace fs = std::filesystem;

namespace {

std::string fileOf(const std::string &domain) {
    return pathUnderRoot("/var/mobile/Library/Preferences/" + domain + ".plist");
}

std::span<const std::byte> bytesOf(std::string_view text) {
    return std::as_bytes(std::span(text));
}

constexpr int writes = 40;

void writeMany(const std::string &who) {
    for (int i = 0; i < writes; ++i) {
        ReleaseScope scope;
        ASSERT_TRUE(setPreferenceValue(who + std::to_string(i), Number::of(i), "org.wickerlane.shared"));
    }
}

} // namespace

TEST(DISABLED_PreferencesPeer, Writes) {
    writeMany("peer ");
}

TEST(Preferences, ComeFromTheDomainThenTheGlobalDomain) {
    const auto value = [](std::string_view key) { return preferenceValue(key, "org.wickerlane.test"); };
    EXPECT_EQ(value("a"), nullptr);
    ASSERT_TRUE(setPreferenceValue("a", String::of("global"), globalPreferencesDomain));
    ASSERT_TRUE(setPreferenceValue("b", Number::of(7), globalPreferencesDomain));
    EXPECT_TRUE(areEqual(value("a"), String::of("global")));
    ASSERT_TRUE(setPreferenceValue("a", String::of("own"), "org.wickerlane.test"));
    EXPECT_TRUE(areEqual(value("a"), String::of("own")));
    EXPECT_TRUE(areEqual(value("b"), Number::of(7)));
    ASSERT_TRUE(setPreferenceValue("a", nullptr, "org.wickerlane.test"));
    ASSERT_TRUE(setPreferenceValue("never there", nullptr, "org.wickerlane.test"));
    EXPECT_TRUE(areEqual(value("a"), String::of("global")));
    // A value of another kind replaces one that equals it.
    ASSERT_TRUE(setPreferenceValue("b", Number::of(1), "org.wickerlane.test"));
    ASSERT_TRUE(setPreferenceValue("b", Number::of(true), "org.wickerlane.test"));
    ASSERT_NE(as<Number>(value("b")), nullptr);
    EXPECT_EQ(as<Number>(value("b"))->kind(), Number::Kind::boolean);
}

TEST(Preferences, GiveIntegersFromNumbersAndTexts) {
    const struct {
        Object *value;
        std::int64_t expected;
    } cases[] = {
        {Number::of(-3), -3},
        {Number::of(true), 1},
        {Number::of(2.9), 2},
        {String::of("12"), 12},
        {String::of("-1"), -1},
        {String::of("7 "), 42},
        {String::of("x"), 42},
        {String::of(""), 42},
        {autorelease(Array::create()), 42},
        {nullptr, 42},
        {String::of("99999999999999999999"), 42},
    };
    for (const auto &each : cases) {
        ASSERT_TRUE(setPreferenceValue("n", each.value, "org.wickerlane.test"));
        EXPECT_EQ(preferenceInteger("n", "org.wickerlane.test", 42), each.expected);
    }
}

TEST(Preferences, LoseNothingThatTwoProcessesAndTwoThreadsWrite) {
    test::Peer peer("DISABLED_PreferencesPeer.Writes");
    std::thread other([] { writeMany("thread "); });
    writeMany("main ");
    other.join();
    ASSERT_TRUE(peer.wait());
    for (const std::string who : {"peer ", "thread ", "main "})
        for (int i = 0; i < writes; ++i)
            EXPECT_EQ(preferenceInteger(who + std::to_string(i), "org.wickerlane.shared", -1), i) << who;
}

// Two states of equal size, written in quick succession: a reader that went by the file's times alone would
// miss some.
TEST(Preferences, AreNeverOlderThanTheFile) {
    for (int i = 0; i < 100; ++i) {
        ReleaseScope scope;
        ASSERT_TRUE(setPreferenceValue("n", Number::of(i % 2), "org.wickerlane.test"));
        ASSERT_EQ(preferenceInteger("n", "org.wickerlane.test", -1), i % 2) << i;
    }
    fs::remove(fileOf("org.wickerlane.test"));
    EXPECT_EQ(preferenceInteger("n", "org.wickerlane.test", -1), -1);
}

TEST(Preferences, ReadDamagedFilesAsEmptyAndLeaveThemAlone) {
    ASSERT_TRUE(makeFolders(pathUnderRoot("/var/mobile/Library/Preferences")));
    const std::string path = fileOf("org.wickerlane.test");
    for (const std::string_view damaged :
         {"bplist00 not really", "{ unfinished", "<plist><array/></plist>"}) {
        ASSERT_TRUE(replaceFile(path, bytesOf(damaged)));
        EXPECT_EQ(preferenceValue("n", "org.wickerlane.test"), nullptr);
        EXPECT_FALSE(setPreferenceValue("n", Number::of(1), "org.wickerlane.test"));
        EXPECT_EQ(errno, EBADMSG);
        EXPECT_EQ(fs::file_size(path), damaged.size());
    }
    ASSERT_TRUE(replaceFile(path, bytesOf("<plist><dict><key>n</key><integer>5</integer></dict></plist>")));
    EXPECT_EQ(preferenceInteger("n", "org.wickerlane.test", -1), 5);
    // Nor are links followed, to read or to write.
    const std::string aside = path + "-aside";
    fs::rename(path, aside);
    fs::create_symlink(aside, path);
    EXPECT_EQ(preferenceInteger("n", "org.wickerlane.test", -1), -1);
    EXPECT_FALSE(setPreferenceValue("n", Number::of(1), "org.wickerlane.test"));
    EXPECT_TRUE(fs::is_symlink(path));
}

TEST(Preferences, RefuseWhatCannotBeStored) {
    for (const std::string domain : {"", "a/b", "..", "a..b", ".", "../../etc/passwd"}) {
        EXPECT_FALSE(setPreferenceValue("n", Number::of(1), domain)) << domain;
        EXPECT_EQ(errno, EINVAL);
        EXPECT_EQ(preferenceValue("n", domain), nullptr);
    }
    EXPECT_FALSE(setPreferenceValue(std::string(1, '\xff'), Number::of(1), "org.wickerlane.test"));
    EXPECT_EQ(preferenceValue(std::string(1, '\xff'), "org.wickerlane.test"), nullptr);
    const auto object = UUID::createRandom();
    EXPECT_FALSE(setPreferenceValue("n", object.get(), "org.wickerlane.test"));
    EXPECT_FALSE(fs::exists(fileOf("org.wickerlane.test")));
}

TEST(Preferences, KnowTheDomainOfTheApplication) {
    EXPECT_EQ(applicationDomain(), fs::read_symlink("/proc/self/exe").filename().string());
    setApplicationDomain("org.example.app");
    EXPECT_EQ(applicationDomain(), "org.example.app");
    setApplicationDomain({});
    EXPECT_NE(applicationDomain(), "org.example.app");
}
