// The scripted daemon from other languages.
#include <gtest/gtest.h>

#include "tests/support/Descriptors.h"
#include "tests/testing/ScriptFromC.h"

TEST(ScriptsFromC, DoWhatTheySay) {
    wickerlane::test::allowLastingDescriptors(wickerlane::test::readerDescriptors);
    EXPECT_STREQ(faultOfScriptFromC(), nullptr);
}
