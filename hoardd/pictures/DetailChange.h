// What a caller sets of what people say of assets.
#ifndef HOARDD_PICTURES_DETAILCHANGE_H
#define HOARDD_PICTURES_DETAILCHANGE_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "wickerlane/model/Result.h"
#include "wickerlane/platform/object/Dictionary.h"

namespace wickerlane::hoardd {

/// What is missing stays as it is.
struct DetailChange {
    std::optional<bool> favourite;
    std::optional<bool> hidden;
    std::optional<std::int64_t> rating;
    std::optional<std::string> caption;
    std::optional<std::vector<std::string>> keywords; ///< In place of those that there are.
    std::vector<std::string> removedKeywords;
    std::vector<std::string> addedKeywords; ///< At the end, after others have been removed.

    /// Reads the properties of a request; null for none. The problem says which is wrong, and what is
    /// allowed.
    [[nodiscard]] static Result<DetailChange> read(const Dictionary *properties);

    [[nodiscard]] bool changesKeywords() const {
        return keywords || !removedKeywords.empty() || !addedKeywords.empty();
    }
    /// Whether the result depends on the keywords that there are.
    [[nodiscard]] bool needsKeywords() const { return changesKeywords() && !keywords; }
    /// The keywords afterwards, in the form in which they are kept. Fails when they are too many.
    [[nodiscard]] Result<std::string> keywordsAfter(const std::string &lines) const;
    /// The bits of DueDetail that are not due any more.
    [[nodiscard]] std::int64_t settled() const;
};

} // namespace wickerlane::hoardd

#endif
