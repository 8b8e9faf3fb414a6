#include "wickerlane/model/AssetURL.h"

#include <gtest/gtest.h>

#include "wickerlane/platform/object/ReleaseScope.h"

using namespace wickerlane;

namespace {

TEST(AssetURL, IsReadStrictly) {
    ReleaseScope scope;
    const std::string uuid = "0000000A-0000-4000-8000-00000000ABCD";
    const std::pair<std::string, bool> cases[] = {
        {"rez-vault://asset/asset.JPG?id=" + uuid + "&ext=JPG", true},
        {"rez-vault://asset/asset.JPG?ext=JPG&id=0000000a-0000-4000-8000-00000000abcd", true},
        {"REZ-VAULT://asset/asset.JPG?id=" + uuid + "&ext=JPG", false},
        {"jukelet-library://asset/asset.JPG?id=" + uuid, false},
        {"rez-vault://album/asset.JPG?id=" + uuid, false},
        {"rez-vault://asset/asset.JPG?id=" + uuid + "0", false},
        {"rez-vault://asset/asset.JPG?id=", false},
        {"rez-vault://asset/" + uuid, false},
        {"rez-vault:" + uuid, false},
        {uuid, false},
    };
    for (const auto &[text, isOne] : cases)
        EXPECT_EQ(uuidOfAssetURL(URL::of(text)), isOne ? uuid : "") << text;
    EXPECT_EQ(uuidOfAssetURL(nullptr), "");
}

} // namespace
