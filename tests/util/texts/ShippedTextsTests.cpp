// The texts that are shipped: every language has each of them, with the right places for arguments.
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>

#include "hoardd/albums/BulletinTexts.h"
#include "wickerlane/platform/bundle/StringTable.h"
#include "wickerlane/platform/object/Format.h"
#include "wickerlane/util/texts/JXLocalization.h"

using namespace wickerlane;

namespace {

const std::vector<std::string> languages{"ar", "de", "en", "fr", "ja", "pt-BR"};

// Each key, and the kinds of the arguments that its text is formatted with: '@' an object, 'u' a number.
using Contract = std::map<std::string, std::string>;

Contract interfaceTexts() {
    Contract texts{{"1_ALBUM_IMAGE", ""},
                   {"1_ALBUM_VIDEO", ""},
                   {"1_ALBUM_OTHER", ""},
                   {"ALBUM_IMAGE_COUNT_FORMAT", "@"},
                   {"ALBUM_VIDEO_COUNT_FORMAT", "@"},
                   {"ALBUM_OTHER_COUNT_FORMAT", "@"},
                   {"ALBUM_ZERO_TYPES_LABEL", ""},
                   {"ALBUM_TWO_TYPES_LABEL_COMMAS", "@@"},
                   {"ALBUM_TWO_TYPES_LABEL_CONJUNCTION", "@@"},
                   {"ALBUM_THREE_TYPES_LABEL_COMMAS", "@@@"},
                   {"ALBUM_THREE_TYPES_LABEL_CONJUNCTION", "@@@"},
                   {"SELECTED", "u"},
                   {"ADD_ITEMS_PICKER_PROMPT_0", "@"}};
    for (const std::string suffix : {"PHOTO", "VIDEO", "ITEM"}) {
        texts["SELECT_" + suffix + "S"] = "";
        for (const char *number : {"1_", "n_"})
            texts["ADD_ITEMS_PICKER_PROMPT_" + (number + suffix)] = "@@";
        for (const char *plural : {"", "S"}) {
            texts["SELECTED_" + suffix + plural] = "u";
            texts["HIDE_EVERYWHERE_CONF_TITLE_" + suffix + plural + "_1_ALBUM"] = "";
            texts["HIDE_EVERYWHERE_CONF_TITLE_" + suffix + plural + "_N_ALBUMS"] = "@";
        }
    }
    return texts;
}

Contract servicesTexts() {
    Contract texts;
    for (const hoardd::BulletinText *text : hoardd::bulletinTexts)
        texts[text->key] = text->values;
    return texts;
}

// One thing that is selected may be spoken of without its number.
bool mayLeaveOutItsNumber(const std::string &key) {
    return (key.starts_with("SELECTED_") && !key.ends_with('S')) ||
           key.starts_with("ADD_ITEMS_PICKER_PROMPT_1_");
}

// Whether a text shows each of its arguments, of the given kinds.
bool showsAll(const char *text, const std::string &kinds) {
    std::vector<Ref<String>> objects;
    std::vector<CheckedArgument> arguments;
    constexpr unsigned long number = 777'000;
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        objects.push_back(String::create("<" + std::to_string(i) + ">"));
        if (kinds[i] == '@')
            arguments.emplace_back(objects[i].get());
        else
            arguments.emplace_back(number + i);
    }
    const std::string shown = formatUTF8Checked(text, arguments).value_or("");
    for (std::size_t i = 0; i < kinds.size(); ++i) {
        const std::string expected =
            kinds[i] == '@' ? std::string(objects[i]->utf8()) : std::to_string(number + i);
        if (shown.find(expected) == std::string::npos)
            return false;
    }
    return true;
}

void expectComplete(Bundle *bundle, const std::string &table, const Contract &contract) {
    EXPECT_EQ(bundle->localizations(), languages);
    EXPECT_EQ(bundle->developmentLanguage(), "en");
    for (const std::string &language : languages) {
        SCOPED_TRACE(language + ' ' + table);
        const auto texts = createStringTableFromFile(bundle->pathForResource(table, "strings", language));
        ASSERT_TRUE(texts);
        std::set<std::string> others;
        for (const auto &[key, text] : *texts)
            others.emplace(as<String>(key)->utf8());
        for (const auto &[key, kinds] : contract) {
            others.erase(key);
            const auto *text = as<String>(texts->get(key));
            if (text == nullptr || text->length() == 0 || text->utf8() == key) {
                ADD_FAILURE() << key << " has no text";
                continue;
            }
            EXPECT_TRUE(formatTakes(text->UTF8String(), kinds)) << key << ": " << text->utf8();
            EXPECT_TRUE(showsAll(text->UTF8String(), kinds) || mayLeaveOutItsNumber(key))
                << key << ": " << text->utf8();
        }
        EXPECT_TRUE(others.empty()) << "a text that is not used: " << *others.begin();
    }
}

TEST(ShippedTexts, OfTheInterfaceAreComplete) {
    expectComplete(JXPixholdFrameworkBundle(), "Pixhold", interfaceTexts());
}

TEST(ShippedTexts, OfTheServicesAreComplete) {
    expectComplete(JXPixholdServicesFrameworkBundle(), "PixholdServices", servicesTexts());
}

} // namespace
