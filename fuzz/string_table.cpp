// A string table of any form gives each key its own value. Its keys and texts, taken for names of languages,
// pass through the matcher, which answers with names that it was given, each once.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <set>
#include <vector>

#include "wickerlane/platform/bundle/LocalizationMatcher.h"
#include "wickerlane/platform/bundle/StringTable.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/String.h"

using namespace wickerlane;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size) {
    const ReleaseScope scope;
    const auto table = createStringTable(std::as_bytes(std::span(bytes, size)));
    if (!table)
        return 0;
    constexpr std::size_t mostNames = 32; // so that inputs stay quick
    std::vector<std::string> available, preferred;
    for (const auto &[key, value] : *table) {
        if (table->get(key) != value)
            std::abort();
        const auto *name = as<String>(key), *language = as<String>(value);
        if (name == nullptr)
            std::abort();
        if (language != nullptr && available.size() < mostNames) {
            available.emplace_back(name->utf8());
            preferred.emplace_back(language->utf8());
        }
    }
    const auto matches = matchingLocalizations(available, preferred);
    if (std::set(matches.begin(), matches.end()).size() != matches.size())
        std::abort();
    for (const std::string &match : matches)
        if (std::find(available.begin(), available.end(), match) == available.end())
            std::abort();
    return 0;
}
