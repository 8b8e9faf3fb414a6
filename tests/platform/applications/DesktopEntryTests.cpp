#include "wickerlane/platform/applications/library/DesktopEntry.h"

#include <gtest/gtest.h>

using namespace wickerlane;

namespace {
const std::string head = "[Desktop Entry]\n";
}

TEST(DesktopEntry, ReadsTheMainGroupOnly) {
    const auto entry =
        parseDesktopEntry("# made by hand\n\n  [Desktop Entry]  \r\n"
                          "Type = Application \r\nName=A\\sname\\\\\\q\\\nName[pt_BR]=Um nome\n"
                          "TryExec=/bin/true\nX-Odd-Key=\n"
                          "[Desktop Action new]\nName=Other\nHidden=true\n");
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->type, "Application");
    EXPECT_EQ(entry->name, "A name\\\\q\\");
    EXPECT_EQ(entry->tryExec, "/bin/true");
    EXPECT_FALSE(entry->isHidden);
    EXPECT_TRUE(entry->isApplication());
}

TEST(DesktopEntry, OfOtherThingsIsNoApplication) {
    for (const auto &[text, isHidden] : {std::pair{head, false},
                                         {head + "Type=Application", false},
                                         {head + "Name=A", false},
                                         {head + "Type=Link\nName=A", false},
                                         {head + "type=Application\nName=A", false},
                                         {head + "Hidden=true", true},
                                         {head + "Hidden=1", true},
                                         {head + "Hidden=yes", false}}) {
        const auto entry = parseDesktopEntry(text);
        ASSERT_TRUE(entry) << text;
        EXPECT_FALSE(entry->isApplication()) << text;
        EXPECT_EQ(entry->isHidden, isHidden) << text;
    }
}

TEST(DesktopEntry, MalformedTextGivesNone) {
    for (const std::string &text :
         {std::string(), std::string("# nothing"), std::string("Type=Application\n") + head,
          "[Other]\n" + head, head + head, head + "words", head + "=value", head + "Na me=A",
          head + "Name[=A", head + "Name[]=A", head + "[", head + "[]", head + "[Action", head + "[a]b]",
          head + "N\xC3\xA4me=A", head + "Name=\xFF", head + "Name=A" + std::string(1, '\0'),
          std::string("[Desktop Entry")})
        EXPECT_FALSE(parseDesktopEntry(text)) << text;
}
