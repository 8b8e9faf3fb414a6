#include "wickerlane/platform/bundle/Bundle.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include "wickerlane/platform/bundle/LocalizationMatcher.h"
#include "wickerlane/platform/locale/Locale.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/propertylist/PropertyList.h"

using namespace wickerlane;
namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using Names = std::vector<std::string>;

namespace {

// Gives each test a bundle to fill, found by its name, and the language German.
class ResourceBundle : public testing::Test {
protected:
    void SetUp() override {
        setenv("WICKERLANE_BUNDLES", std::getenv("WICKERLANE_ROOT"), 1);
        folder = fs::path(std::getenv("WICKERLANE_ROOT")) / "Test.bundle";
        fs::create_directories(folder);
        bundle = Bundle::create(folder);
        setProcessLanguages({"de-AT"});
    }
    void TearDown() override {
        unsetenv("WICKERLANE_BUNDLES");
        setProcessLanguages({});
    }

    void write(const std::string &name, std::string_view contents) const {
        fs::create_directories((folder / name).parent_path());
        std::ofstream(folder / name, std::ios::binary) << contents;
    }
    std::string text(std::string_view key, std::string_view table = "Table", String *value = nullptr) {
        return std::string(bundle->localizedString(String::of(key), value, table)->utf8());
    }

    ReleaseScope scope;
    fs::path folder;
    Ref<Bundle> bundle;
};

std::string utf16(std::u16string_view text, bool isBigEndian) {
    const std::u16string marked = std::u16string(1, u'\xFEFF').append(text);
    std::string bytes;
    for (const char16_t unit : marked) {
        const char high = static_cast<char>(unit >> 8), low = static_cast<char>(unit & 0xFF);
        bytes += {isBigEndian ? high : low, isBigEndian ? low : high};
    }
    return bytes;
}

std::string_view binary(Ref<Data> &kept, const Dictionary *dictionary) {
    kept = createPropertyListData(dictionary);
    return {static_cast<const char *>(kept->bytes()), kept->length()};
}

struct OwnClass : Object {
    WL_OBJECT
};
constinit const Class OwnClass::classInfo{"OwnClass", &Object::classInfo, nullptr};

} // namespace

TEST(LocalizationMatcher, PicksWhatAPersonWould) {
    const Names many{"ar", "de", "en",    "en-GB", "es", "es-419",  "fr",      "he",      "id",
                     "ja", "nb", "pt-BR", "pt-PT", "sr", "sr-Latn", "zh-Hans", "zh-Hant", "zh-HK"};
    const struct {
        std::string wanted;
        Names available;
        std::string best; // empty when none serves
    } cases[] = {
        {"de-CH", many, "de"},
        {"en-AU", many, "en-GB"},
        {"en-US", many, "en"},
        {"en-CA", {"en", "fr"}, "en"},
        {"es-MX", many, "es-419"},
        {"es-ES", many, "es"},
        {"fr-CA", many, "fr"},
        {"pt-PT", many, "pt-PT"},
        {"pt", many, "pt-BR"},
        {"pt-AO", many, "pt-PT"},
        {"pt-PT", {"en", "pt-BR"}, "pt-BR"},
        {"sr-Latn", many, "sr-Latn"},
        {"sr-Latn-RS", {"en", "sr"}, "sr"},
        {"sr-RS", many, "sr"},
        {"zh-Hant-HK", many, "zh-HK"},
        {"zh-Hant-HK", {"en", "zh-Hans", "zh-Hant"}, "zh-Hant"},
        {"zh-TW", many, "zh-Hant"},
        {"zh-CN", many, "zh-Hans"},
        {"zh", {"zh_TW", "zh_CN"}, "zh_CN"},
        {"no", many, "nb"},
        {"nn-NO", many, "nb"},
        {"iw-IL", many, "he"},
        {"in", many, "id"},
        {"gsw-CH", many, "de"},
        {"ko", many, ""},
        {"en", {"de", "fr"}, ""},
        {"", many, ""},
        {"../de", many, ""},
        {std::string(5000, 'd'), many, ""},
        {"de", {}, ""},
        {"de", {"", "!", "x/y", "de_DE"}, "de_DE"},
    };
    for (const auto &each : cases) {
        const Names matches = matchingLocalizations(each.available, Names{each.wanted});
        EXPECT_EQ(matches.empty() ? "" : matches.front(), each.best) << each.wanted.substr(0, 20);
    }
    EXPECT_THAT(matchingLocalizations(many, Names{"ko", "ja-JP", "pt-PT", "ja"}), ElementsAre("ja", "pt-PT"));
    EXPECT_THAT(matchingLocalizations(Names{"en", "pt", "pt-PT", "zh"}, Names{"pt-PT", "en-GB"}),
                ElementsAre("pt-PT", "pt", "en"));
}

TEST_F(ResourceBundle, ReadsTablesInEveryForm) {
    Ref<Data> kept;
    const auto value = String::create("Übung „1“");
    const struct {
        const char *what;
        std::string contents;
    } cases[] = {
        {"UTF-8", "/* A comment */\n\"key\" = \"Übung „1“\"; // end\n"},
        {"UTF-8 with a mark", "\xEF\xBB\xBFkey = 'Übung „1“';"},
        {"UTF-16, big end first", utf16(u"\"key\" = \"Übung „1“\";", true)},
        {"UTF-16, little end first", utf16(u"\"key\" = \"\\U00DCbung „1“\";", false)},
        {"XML", "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict><key>key</key>"
                "<string>Übung „1“</string></dict></plist>"},
        {"binary", std::string(binary(kept, Dictionary::createWithKeys({{"key", value.get()}}).get()))},
    };
    for (const auto &each : cases) {
        write(std::string("de.lproj/") + each.what + ".strings", each.contents);
        EXPECT_EQ(text("key", each.what), value->utf8()) << each.what;
    }
}

TEST_F(ResourceBundle, ChoosesTheFirstLocalizationThatHasTheTable) {
    write("de.lproj/Table.strings", "a = deutsch;");
    write("en.lproj/Table.strings", "a = english; b = english;");
    write("fr.lproj/Table.strings", "a = francais;");
    write("en.lproj/Only.strings", "a = english;");
    write("fr.lproj/Third.strings", "a = francais;");
    write("de.lproj/Broken.strings", "a = ");
    write("en.lproj/Broken.strings", "a = english;");
    write("Plain.strings", "a = plain;");
    write("en.lproj/Localizable.strings", "a = default;");
    EXPECT_THAT(bundle->localizations(), ElementsAre("de", "en", "fr"));
    EXPECT_THAT(bundle->preferredLocalizations(), ElementsAre("de", "en"));
    EXPECT_EQ(text("a"), "deutsch");
    EXPECT_EQ(text("b"), "b") << "a table that lacks a text must not be filled up from another language";
    EXPECT_EQ(text("a", "Only"), "english");
    EXPECT_EQ(text("a", "Third"), "a");
    EXPECT_EQ(text("a", "Broken"), "english");
    EXPECT_EQ(text("a", "Plain"), "plain");
    EXPECT_EQ(text("a", ""), "default");

    write("Info.plist", "{ DevelopmentLanguage = fr; }");
    EXPECT_EQ(bundle->developmentLanguage(), "fr");
    setProcessLanguages({"ko"});
    EXPECT_EQ(text("a"), "francais") << "the languages have changed";
    EXPECT_EQ(text("a", "Third"), "francais");
}

TEST_F(ResourceBundle, GivesTheValueOrTheKeyForWhatIsMissing) {
    Ref<Data> kept;
    write("de.lproj/Table.strings", "\"\" = \"of nothing\"; empty = \"\"; same;");
    write("de.lproj/Kinds.strings",
          binary(kept,
                 Dictionary::createWithKeys({{"number", Number::of(1)}, {"text", String::of("t")}}).get()));
    EXPECT_EQ(text("absent"), "absent");
    EXPECT_EQ(text("absent", "Table", String::of("value")), "value");
    EXPECT_EQ(text("absent", "Table", String::empty()), "absent");
    EXPECT_EQ(text("absent", "No such table"), "absent");
    EXPECT_EQ(text(""), "of nothing");
    EXPECT_EQ(text("", "No such table"), "");
    EXPECT_EQ(text("empty"), "");
    EXPECT_EQ(text("same"), "same");
    EXPECT_EQ(text("number", "Kinds"), "number") << "not a text";
    EXPECT_EQ(text("text", "Kinds"), "t");
    EXPECT_EQ(bundle->localizedString(nullptr, nullptr, "Table")->length(), 0U);
}

TEST_F(ResourceBundle, TakesHostileFoldersAsEmpty) {
    write("de.lproj/Garbage.strings", std::string_view("\x00\xFF\xFE\x01garbage", 11));
    write("de.lproj/List.strings", "( a, b )");
    write("de.lproj/Deep.strings", "a = " + std::string(100'000, '(') + ";");
    write("de.lproj/Empty.strings", "");
    write("secret.strings", "a = secret;");
    fs::create_directories(folder / "de.lproj" / "Folder.strings");
    fs::create_symlink("Link.strings", folder / "de.lproj" / "Link.strings");
    fs::create_symlink("it.lproj", folder / "it.lproj");
    fs::create_directories(folder / ".lproj");
    write("file.lproj", "not a folder");
    std::ofstream(folder / "de.lproj" / "Huge.strings") << "a = b;";
    fs::resize_file(folder / "de.lproj" / "Huge.strings", std::uintmax_t{1} << 40);
    write("Info.plist", "( no, dictionary )");

    for (const char *table :
         {"Garbage", "List", "Deep", "Empty", "Folder", "Link", "Huge", "../secret", "x/y"})
        EXPECT_EQ(text("a", table), "a") << table;
    EXPECT_THAT(bundle->localizations(), ElementsAre("de"));
    EXPECT_EQ(bundle->developmentLanguage(), "en");
    EXPECT_EQ(bundle->pathForResource("secret", "strings", ".."), "");
    EXPECT_EQ(bundle->pathForResource("secret", "strings", "../Test.bundle/de"), "");
    EXPECT_EQ(bundle->pathForResource("Empty", "strings", "de"), folder / "de.lproj/Empty.strings");
    EXPECT_THAT(Bundle::create("/no/such/folder")->localizations(), IsEmpty());
}

TEST_F(ResourceBundle, IsFoundByItsNameAndByItsClasses) {
    EXPECT_EQ(Bundle::named("Test")->path(), folder);
    EXPECT_EQ(Bundle::named("Test"), Bundle::named("Test"));
    for (const std::string name : {"Absent", "", "..", "../Test", "./Test", "Test.bundle"})
        EXPECT_EQ(Bundle::named(name), nullptr) << name;

    EXPECT_EQ(Bundle::forClass(nullptr), Bundle::main());
    EXPECT_EQ(Bundle::forClass(&OwnClass::classInfo), Bundle::main());
    static constexpr BundledClass own{&OwnClass::classInfo, "Test"};
    Bundle::registerClass(&own);
    EXPECT_EQ(Bundle::forClass(&OwnClass::classInfo), Bundle::named("Test"));
    EXPECT_EQ(fs::path(Bundle::main()->path()), fs::read_symlink("/proc/self/exe").parent_path());
    EXPECT_EQ(Bundle::forClass(classNamed("JXPixhold")), Bundle::main()) << "its bundle is not found here";
}

TEST_F(ResourceBundle, ServesManyThreadsWhileTheLanguagesChange) {
    write("de.lproj/Table.strings", "a = deutsch;");
    write("en.lproj/Table.strings", "a = english;");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int j = 0; j < 2000; ++j) {
                ReleaseScope each;
                const std::string found = text("a");
                ASSERT_TRUE(found == "deutsch" || found == "english") << found;
            }
        });
    for (int i = 0; i < 20; ++i)
        setProcessLanguages({i % 2 == 0 ? "en" : "de"});
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(text("a"), "deutsch");
}
