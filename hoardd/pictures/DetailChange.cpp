#include "hoardd/pictures/DetailChange.h"

#include <algorithm>

#include "wickerlane/model/AssetDetails.h"
#include "wickerlane/model/AssetRecord.h"
#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/String.h"
#include "wickerlane/protocol/DetailKeys.h"

namespace wickerlane::hoardd {

namespace keys = protocol::detail;

namespace {

Failure wrong(std::string_view key, const std::string &allowed) {
    return fail(ProblemKind::invalid, std::string(key) + " must be " + allowed);
}

Result<> read(const Object *value, std::string_view key, std::optional<bool> &wanted) {
    const auto *number = as<Number>(value);
    if (number == nullptr || number->kind() != Number::Kind::boolean)
        return wrong(key, "a boolean");
    wanted = number->boolValue();
    return {};
}

Result<> read(const Object *value, std::string_view key, std::optional<std::int64_t> &rating) {
    const auto *number = as<Number>(value);
    const bool isInteger = number != nullptr && (number->kind() == Number::Kind::signedInteger ||
                                                 number->kind() == Number::Kind::unsignedInteger);
    if (!isInteger || number->int64Value() < 0 || number->int64Value() > maxRating)
        return wrong(key, "an integer from 0 to " + std::to_string(maxRating));
    rating = number->int64Value();
    return {};
}

Result<> read(const Object *value, std::string_view key, std::optional<std::string> &caption) {
    const auto *text = as<String>(value);
    if (text == nullptr || !isCaption(text->utf8()))
        return wrong(key, "a text of at most " + std::to_string(maxCaptionBytes) +
                              " bytes, with no control characters but tabs and line ends");
    caption = text->utf8();
    return {};
}

Result<> read(const Object *value, std::string_view key, std::vector<std::string> &words) {
    const auto failed = [key] {
        return wrong(key, "an array of at most " + std::to_string(maxKeywords) + " texts of 1 to " +
                              std::to_string(maxKeywordBytes) +
                              " bytes, without control characters and without spaces at their ends");
    };
    const auto *array = as<Array>(value);
    if (array == nullptr || array->count() > maxKeywords)
        return failed();
    for (const Object *each : *array) {
        const auto *text = as<String>(each);
        if (text == nullptr || !isKeyword(text->utf8()))
            return failed();
        words.emplace_back(text->utf8());
    }
    return {};
}

Result<> readOne(std::string_view key, const Object *value, DetailChange &change) {
    if (key == keys::favourite)
        return read(value, key, change.favourite);
    if (key == keys::hidden)
        return read(value, key, change.hidden);
    if (key == keys::rating)
        return read(value, key, change.rating);
    if (key == keys::caption)
        return read(value, key, change.caption);
    if (key == keys::keywords)
        return read(value, key, change.keywords.emplace());
    if (key == keys::removeKeywords)
        return read(value, key, change.removedKeywords);
    if (key == keys::addKeywords)
        return read(value, key, change.addedKeywords);
    return fail(ProblemKind::invalid,
                "properties may hold favourite, hidden, rating, caption, keywords, removeKeywords and "
                "addKeywords alone");
}

} // namespace

Result<DetailChange> DetailChange::read(const Dictionary *properties) {
    if (properties == nullptr || properties->count() == 0)
        return fail(ProblemKind::invalid, "properties must say what is to be set");
    DetailChange change;
    for (const auto &[key, value] : *properties) {
        const auto *text = as<String>(key);
        if (const auto done = readOne(text != nullptr ? text->utf8() : std::string_view(), value, change);
            !done)
            return passOn(done);
    }
    return change;
}

Result<std::string> DetailChange::keywordsAfter(const std::string &lines) const {
    std::vector<std::string> all = keywords ? *keywords : keywordsIn(lines);
    std::erase_if(all, [&](const std::string &each) {
        return std::ranges::find(removedKeywords, each) != removedKeywords.end();
    });
    for (const std::string &each : addedKeywords)
        if (std::ranges::find(all, each) == all.end())
            all.push_back(each);
    if (all.size() > maxKeywords)
        return fail(ProblemKind::invalid,
                    "an asset can have at most " + std::to_string(maxKeywords) + " keywords");
    return keywordLines(all);
}

std::int64_t DetailChange::settled() const {
    std::int64_t bits = 0;
    if (rating)
        bits |= dueRating;
    if (caption)
        bits |= dueCaption;
    if (changesKeywords())
        bits |= dueKeywords;
    return bits;
}

} // namespace wickerlane::hoardd
