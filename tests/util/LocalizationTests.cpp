#include "wickerlane/util/texts/JXLocalization.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include "tests/support/Descriptors.h"
#include "tests/support/Peer.h"
#include "wickerlane/platform/locale/Locale.h"
#include "wickerlane/platform/notification/LocalNotification.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/preferences/Preferences.h"
#include "wickerlane/platform/queue/Semaphore.h"

using namespace wickerlane;
using namespace std::chrono_literals;
namespace fs = std::filesystem;

namespace {

constexpr auto generous = 60s;

// The bundles are found once in a process, so that all tests share their folder.
class SharedBundles : public testing::Environment {
public:
    static inline fs::path folder;

    static void write(const std::string &name, std::string_view contents) {
        const fs::path path = folder / name;
        fs::create_directories(path.parent_path());
        std::ofstream(path, std::ios::binary) << contents;
    }

    void SetUp() override {
        std::string made = (fs::temp_directory_path() / "wickerlane-bundles-XXXXXX").string();
        if (mkdtemp(made.data()) == nullptr)
            std::abort();
        folder = made;
        setenv("WICKERLANE_BUNDLES", made.c_str(), 1);
        write("Pixhold.bundle/en.lproj/Pixhold-Device.strings",
              "DEVICE = device; SAME = SAME; ALL = device; \"\" = nothing;");
        write("Pixhold.bundle/en.lproj/Pixhold.strings", "UI = ui; SAME = later; ALL = ui; KEY;");
        write("Pixhold.bundle/en.lproj/Pixhold-Avalanche.strings", "AVALANCHE = avalanche; ALL = avalanche;");
        write("Pixhold.bundle/en.lproj/Pixhold-GM.strings", "GM = gm; ALL = gm;");
        for (const std::string language : {"en", "de", "fr", "pt-BR"}) {
            const std::string place = "PixholdServices.bundle/" + language + ".lproj/PixholdServices";
            write(place + ".strings", "A = 'A " + language + "';");
            write(place + "-GM.strings", "A = wrong; G = 'G " + language + "';");
        }
        write("PixholdServices.bundle/en.lproj/PixholdServices.strings",
              "A = 'A en'; E = 'E en'; U = 'U en';");
        write("PixholdServices.bundle/ja.lproj/PixholdServices.strings", "A = ");
    }
    void TearDown() override { fs::remove_all(folder); }
};

[[maybe_unused]] const testing::Environment *const sharedBundles =
    testing::AddGlobalTestEnvironment(new SharedBundles);

std::string_view hoarddText(const char *key) {
    return JXServicesLocalizedFrameworkStringForHoardd(String::of(key))->utf8();
}

bool setLanguages(Object *languages) {
    return setPreferenceValue("QuandraLanguages", languages, ".GlobalPreferences");
}

class Localization : public testing::Test {
protected:
    void SetUp() override {
        test::allowLastingDescriptors(test::folderWatchDescriptors);
        setProcessLanguages({"en"});
        watchLocale();
    }
    void TearDown() override {
        for (const char *name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"})
            unsetenv(name);
        noticeLocaleChange();
        setProcessLanguages({});
    }
    ReleaseScope scope;
};

} // namespace

TEST(DISABLED_LocalizationPeer, ChoosesFrench) {
    ASSERT_TRUE(setLanguages(Array::of({String::of("fr-CA")})));
}

TEST_F(Localization, FindsTheBundlesByTheirClasses) {
    EXPECT_EQ(JXPixholdFrameworkBundle(), Bundle::forClass(classNamed("JXPhotoTileViewController")));
    EXPECT_EQ(JXPixholdServicesFrameworkBundle(), Bundle::forClass(classNamed("JXPixhold")));
    EXPECT_EQ(JXPixholdFrameworkBundle()->path(), SharedBundles::folder / "Pixhold.bundle");
    EXPECT_EQ(JXPixholdServicesFrameworkBundle()->path(), SharedBundles::folder / "PixholdServices.bundle");
}

TEST_F(Localization, GoesThroughTheTablesInTheirOrder) {
    const struct {
        const char *key;
        const char *text;
    } cases[] = {
        {"DEVICE", "device"}, {"UI", "ui"},   {"AVALANCHE", "avalanche"}, {"GM", "gm"},    {"ALL", "device"},
        {"SAME", "later"},    {"KEY", "KEY"}, {"ABSENT", "ABSENT"},       {"", "nothing"},
    };
    for (const auto &each : cases)
        EXPECT_EQ(JXLocalizedFrameworkString(String::of(each.key))->utf8(), each.text) << each.key;
    for (auto *lookUp : {JXLocalizedFrameworkString, JXServicesLocalizedFrameworkString,
                         JXServicesLocalizedFrameworkStringForHoardd})
        EXPECT_EQ(lookUp(nullptr)->length(), 0U);
}

TEST_F(Localization, GivesServicesTextsInTheLanguageOfTheProcessOrOfTheUser) {
    setProcessLanguages({"de-AT", "en"});
    ASSERT_TRUE(setLanguages(Array::of({String::of("pt-PT"), String::of("fr")})));
    const struct {
        const char *key;
        const char *own;
        const char *ofUser;
    } cases[] = {
        {"A", "A de", "A pt-BR"}, {"G", "G de", "G pt-BR"}, {"E", "E", "E"}, {"", "", ""}, {"X", "X", "X"},
    };
    for (const auto &each : cases) {
        EXPECT_EQ(JXServicesLocalizedFrameworkString(String::of(each.key))->utf8(), each.own) << each.key;
        EXPECT_EQ(hoarddText(each.key), each.ofUser) << each.key;
    }
}

TEST_F(Localization, FallsBackToTheLanguageOfTheProcess) {
    ASSERT_TRUE(setLanguages(Array::of({String::of("ko")})));
    EXPECT_EQ(hoarddText("A"), "A en") << "a language that the bundle does not hold";
    ASSERT_TRUE(setLanguages(Array::of({String::of("ja")})));
    EXPECT_EQ(hoarddText("A"), "A en") << "a table that can't be read";
    EXPECT_EQ(hoarddText("G"), "G en") << "a table that is not there";
    ASSERT_TRUE(setLanguages(Array::of({String::of("de")})));
    EXPECT_EQ(hoarddText("U"), "U en") << "a text that is not there";
    ASSERT_TRUE(setLanguages(Array::of({String::empty()})));
    EXPECT_EQ(hoarddText("A"), "A en") << "no language";
}

TEST_F(Localization, TakesTheLanguageOfTheLocaleWithoutAList) {
    setProcessLanguages({});
    setenv("LC_ALL", "de_CH.UTF-8", 1);
    for (Object *notAList : {static_cast<Object *>(nullptr), static_cast<Object *>(String::of("fr")),
                             static_cast<Object *>(Array::of({})),
                             static_cast<Object *>(Array::of({Number::of(7), String::of("fr")}))}) {
        ASSERT_TRUE(setLanguages(notAList));
        noticeLocaleChange();
        EXPECT_EQ(hoarddText("A"), "A de");
    }
    setenv("LC_ALL", "C.UTF-8", 1);
    ASSERT_TRUE(setLanguages(nullptr));
    noticeLocaleChange();
    EXPECT_EQ(hoarddText("A"), "A en");
}

TEST_F(Localization, FollowsThePreferredLanguageAsItChanges) {
    ASSERT_TRUE(setLanguages(Array::of({String::of("de")})));
    EXPECT_EQ(hoarddText("A"), "A de");
    ASSERT_TRUE(setLanguages(Array::of({String::of("pt-BR")})));
    EXPECT_EQ(hoarddText("A"), "A pt-BR");

    const auto changed = Semaphore::create(0);
    const auto token = observeLocalNotification(localeDidChangeNotification, nullptr,
                                                [&](const LocalNotification &) { changed->signal(); });
    EXPECT_TRUE(test::Peer("DISABLED_LocalizationPeer.ChoosesFrench").wait());
    EXPECT_TRUE(changed->wait(generous));
    EXPECT_EQ(hoarddText("A"), "A fr");
    removeLocalObserver(token);
}

TEST_F(Localization, ReadsTheTableAgainForTheDaemonOnly) {
    ASSERT_TRUE(setLanguages(Array::of({String::of("en")})));
    SharedBundles::write("PixholdServices.bundle/en.lproj/PixholdServices-GM.strings",
                         "N = old; G = 'G en';");
    EXPECT_EQ(hoarddText("N"), "old");
    EXPECT_EQ(JXServicesLocalizedFrameworkString(String::of("N"))->utf8(), "old");
    SharedBundles::write("PixholdServices.bundle/en.lproj/PixholdServices-GM.strings",
                         "N = new; G = 'G en';");
    EXPECT_EQ(hoarddText("N"), "new");
    EXPECT_EQ(JXServicesLocalizedFrameworkString(String::of("N"))->utf8(), "old");
}

TEST_F(Localization, ServesManyThreads) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([] {
            for (int j = 0; j < 50; ++j) {
                ReleaseScope each;
                EXPECT_EQ(JXLocalizedFrameworkString(String::of("GM"))->utf8(), "gm");
                EXPECT_TRUE(hoarddText("A").starts_with("A "));
            }
        });
    for (int i = 0; i < 20; ++i) {
        ReleaseScope each;
        EXPECT_TRUE(setLanguages(Array::of({String::of(i % 2 == 0 ? "fr" : "de")})));
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(hoarddText("A"), "A de");
}
