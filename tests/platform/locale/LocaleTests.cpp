#include "wickerlane/platform/locale/Locale.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <mutex>

#include "tests/support/Descriptors.h"
#include "tests/support/WaitUntil.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/notification/LocalNotification.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/String.h"
#include "wickerlane/platform/preferences/Preferences.h"

using namespace wickerlane;
using Names = std::vector<std::string>;
using Environment = std::map<std::string, std::string>;

namespace {

class CurrentLocale : public testing::Test {
protected:
    void SetUp() override { setEnvironment({}); }
    void TearDown() override {
        setEnvironment({});
        setProcessLanguages({});
    }
    static void setEnvironment(const Environment &environment) {
        for (const char *name : {"LANGUAGE", "LC_ALL", "LC_MESSAGES", "LANG"})
            unsetenv(name);
        for (const auto &[name, value] : environment)
            setenv(name.c_str(), value.c_str(), 1);
        noticeLocaleChange();
    }
    static bool setPreference(const char *language) {
        return setPreferenceValue(languagesPreference, Array::of({String::of(language)}),
                                  globalPreferencesDomain);
    }
    ReleaseScope scope;
};

} // namespace

TEST_F(CurrentLocale, ReadsLanguagesFromTheEnvironment) {
    const struct {
        Environment environment;
        Names languages;
        std::string locale;
        std::string code;
    } cases[] = {
        {{}, {"en"}, "", ""},
        {{{"LANG", "C.UTF-8"}}, {"en"}, "", ""},
        {{{"LANG", "POSIX"}, {"LANGUAGE", "de"}}, {"en"}, "", ""},
        {{{"LANG", "de_AT.UTF-8"}}, {"de-AT"}, "de-AT", "de"},
        {{{"LANG", "de_DE@euro"}, {"LC_MESSAGES", "fr_FR"}}, {"fr-FR"}, "fr-FR", "fr"},
        {{{"LANG", "de_DE"}, {"LC_MESSAGES", "fr_FR"}, {"LC_ALL", "C"}}, {"en"}, "", ""},
        {{{"LC_ALL", "sr_RS.UTF-8@latin"}}, {"sr-Latn-RS"}, "sr-Latn-RS", "sr"},
        {{{"LC_ALL", "uz@cyrillic"}}, {"uz-Cyrl"}, "uz-Cyrl", "uz"},
        {{{"LANG", "en_US.UTF-8"}, {"LANGUAGE", "pt_BR::C:ja:"}}, {"pt-BR", "ja", "en-US"}, "en-US", "en"},
    };
    for (const auto &each : cases) {
        setEnvironment(each.environment);
        EXPECT_EQ(processLanguages(), each.languages) << each.locale;
        EXPECT_EQ(currentLocale(), each.locale);
        EXPECT_EQ(currentLanguageCode(), each.code);
    }
}

TEST_F(CurrentLocale, PutsWhatTheProgramSaysBeforeTheEnvironmentBeforePreferences) {
    ASSERT_TRUE(setPreference("ja-JP"));
    EXPECT_EQ(processLanguages(), Names{"ja-JP"});
    EXPECT_EQ(currentLocale(), "ja-JP");
    setEnvironment({{"LANG", "fr_FR"}});
    EXPECT_EQ(processLanguages(), Names{"fr-FR"});
    setProcessLanguages({"ar", "de"});
    EXPECT_EQ(processLanguages(), (Names{"ar", "de"}));
    EXPECT_EQ(currentLocale(), "ar");
    setProcessLanguages({});
    EXPECT_EQ(currentLocale(), "fr-FR");
}

TEST_F(CurrentLocale, PostsEachChangeOnce) {
    test::allowLastingDescriptors(test::folderWatchDescriptors);
    watchLocale();
    int posted = 0;
    auto token = observeLocalNotification(localeDidChangeNotification, nullptr,
                                          [&](const LocalNotification &) { ++posted; });
    const std::uint64_t before = localeGeneration();
    setProcessLanguages({"de"});
    EXPECT_EQ(posted, 1);
    setProcessLanguages({"de"});
    noticeLocaleChange();
    EXPECT_EQ(posted, 1);
    setEnvironment({{"LANG", "fr_FR"}});
    EXPECT_EQ(posted, 1) << "what the program chose hides the environment";
    setProcessLanguages({});
    EXPECT_EQ(posted, 2);
    EXPECT_EQ(localeGeneration(), before + 2);
    removeLocalObserver(token);
}

TEST_F(CurrentLocale, NoticesPreferencesInWhateverWayTheyAreChanged) {
    test::allowLastingDescriptors(test::folderWatchDescriptors);
    watchLocale();
    // The languages when the last change was noticed. One that is seen half written is noticed twice.
    std::mutex mutex;
    Names noticed;
    const auto token =
        observeLocalNotification(localeDidChangeNotification, nullptr, [&](const LocalNotification &) {
            const std::lock_guard guard(mutex);
            noticed = processLanguages();
        });
    const auto isNoticed = [&](const char *language) {
        const std::lock_guard guard(mutex);
        return noticed == Names{language};
    };
    const auto comesToBeNoticed = [&](const char *language) {
        return test::waitUntil([&] { return isNoticed(language); });
    };
    ASSERT_TRUE(setPreference("ja"));
    EXPECT_TRUE(isNoticed("ja")) << "a change of this process itself is noticed before it returns";

    const std::string file = pathUnderRoot("/var/mobile/Library/Preferences/.GlobalPreferences.plist");
    std::ofstream(file) << "{ QuandraLanguages = ( ar ); }"; // as an editor writes it
    EXPECT_TRUE(comesToBeNoticed("ar"));
    std::ofstream(file + ".other") << "{ QuandraLanguages = ( de ); }";
    std::filesystem::rename(file + ".other", file);
    EXPECT_TRUE(comesToBeNoticed("de"));
    std::filesystem::remove(file);
    EXPECT_TRUE(comesToBeNoticed("en"));

    // The folder too may be removed and made again.
    const auto folder = std::filesystem::path(file).parent_path();
    std::filesystem::remove_all(folder.parent_path());
    std::filesystem::create_directories(folder);
    std::ofstream(file) << "{ QuandraLanguages = ( fr ); }";
    EXPECT_TRUE(comesToBeNoticed("fr"));
    std::filesystem::rename(folder, folder.string() + ".old");
    EXPECT_TRUE(comesToBeNoticed("en"));
    std::filesystem::rename(folder.string() + ".old", folder);
    EXPECT_TRUE(comesToBeNoticed("fr"));
    removeLocalObserver(token);
}
