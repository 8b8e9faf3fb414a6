#include "wickerlane/platform/locale/PluralRules.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

using namespace wickerlane;

namespace {

TEST(PluralRules, EachLanguageHasItsCategories) {
    const struct {
        const char *language;
        std::vector<std::string> categories; ///< Of 0, 1, 2, 5, 11 and 100.
    } cases[] = {
        {"en", {"other", "one", "other", "other", "other", "other"}},
        {"fr", {"one", "one", "other", "other", "other", "other"}},
        {"pt-BR", {"one", "one", "other", "other", "other", "other"}},
        {"ja", {"other", "other", "other", "other", "other", "other"}},
        {"ar", {"zero", "one", "two", "few", "many", "other"}},
        {"no language", {"other", "one", "other", "other", "other", "other"}},
        {"", {"other", "one", "other", "other", "other", "other"}},
    };
    for (const auto &[language, categories] : cases) {
        std::vector<std::string> found;
        for (const std::uint64_t count : {0, 1, 2, 5, 11, 100})
            found.push_back(pluralCategory(language, count));
        EXPECT_EQ(found, categories) << language;
    }
}

} // namespace
