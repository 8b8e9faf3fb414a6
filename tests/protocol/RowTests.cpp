#include <gtest/gtest.h>

#include "wickerlane/protocol/AssetRows.h"

using namespace wickerlane;
using namespace wickerlane::protocol;

TEST(Rows, ARequestIsCheckedAgainstItsRow) {
    const auto problem = [](const Row &row, auto fill) {
        const auto message = MessageDictionary::create();
        fill(message.get());
        return problemWith(message.get(), row);
    };
    EXPECT_EQ(problem(fileURLForAssetURL, [](auto *m) { m->setString("assetURL", "a:b"); }), "");
    EXPECT_EQ(problem(fileURLForAssetURL,
                      [](auto *m) {
                          m->setString("assetURL", "a:b");
                          m->setBool("withAdjustments", true);
                      }),
              "");
    EXPECT_EQ(problem(fileURLForAssetURL, [](auto *) {}),
              "fileURLForAssetURL:withAdjustments: (operation 2) needs a value under \"assetURL\"");
    EXPECT_EQ(problem(fileURLForAssetURL,
                      [](auto *m) {
                          m->setString("assetURL", "a:b");
                          m->setInt64("withAdjustments", 1);
                      }),
              "fileURLForAssetURL:withAdjustments: (operation 2) has a value of the wrong kind under "
              "\"withAdjustments\"");
    // A signed number does not pass for an unsigned one.
    EXPECT_NE(problem(imageDataForAsset,
                      [](auto *m) {
                          m->setData("objectID", "x", 1);
                          m->setInt64("format", 1);
                      }),
              "");
}

TEST(Keys, AnErrorReadsAsADictionaryOfItsDescriptionAndItsKind) {
    const ReleaseScope scope;
    const auto error = MessageError::create("gone", 5);
    EXPECT_EQ(coding::Int64::read(error.get(), messageErrorKindKey), 5);
    EXPECT_EQ(coding::Int64::read(error.get(), messageErrorDescriptionKey), 0);
    EXPECT_EQ(coding::Text::read(error.get(), messageErrorDescriptionKey)->utf8(), "gone");
    EXPECT_EQ(coding::Int64::read(MessageError::connectionInterrupted(), messageErrorKindKey), 0);
}
