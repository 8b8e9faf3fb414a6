#include "wickerlane/platform/locale/PluralRules.h"

#include <unicode/plurrule.h>

#include <memory>

#include "wickerlane/platform/locale/ICULocaleInternal.h"

namespace wickerlane {

std::string pluralCategory(const std::string &language, std::uint64_t count) {
    UErrorCode status = U_ZERO_ERROR;
    const std::unique_ptr<icu::PluralRules> rules(
        icu::PluralRules::forLocale(icuLocaleNamed(language), status));
    std::string category = "other";
    if (U_SUCCESS(status) && rules != nullptr) {
        category.clear();
        rules->select(static_cast<double>(count)).toUTF8String(category);
    }
    return category;
}

} // namespace wickerlane
