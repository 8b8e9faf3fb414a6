// Comparing and searching texts, and changing their case.
#include <unicode/bytestream.h>
#include <unicode/casemap.h>
#include <unicode/coll.h>
#include <unicode/normalizer2.h>
#include <unicode/uchar.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <array>
#include <map>
#include <memory>

#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/object/NeverDestroyed.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/String.h"
#include "wickerlane/platform/object/UTF8Internal.h"

namespace wickerlane {
namespace {

constexpr CompareOptions foldingOptions =
    CompareOptions::caseInsensitive | CompareOptions::diacriticInsensitive;

// A text with the differences removed that the options say do not count.
struct Folded {
    std::u16string units;
    // For each unit, and for the end, the position in the original text that it stems from.
    std::vector<std::size_t> origins;
};

void foldCharacter(std::u16string &folded, UChar32 character, CompareOptions options) {
    if (character < 0x80) {
        const bool lower = options & CompareOptions::caseInsensitive && character >= 'A' && character <= 'Z';
        folded += static_cast<char16_t>(lower ? character + ('a' - 'A') : character);
        return;
    }
    icu::UnicodeString text(character);
    if (options & CompareOptions::diacriticInsensitive) {
        UErrorCode status = U_ZERO_ERROR;
        icu::UnicodeString decomposed;
        if (icu::Normalizer2::getNFDInstance(status)->getDecomposition(character, decomposed))
            text = decomposed;
        icu::UnicodeString bare;
        for (std::int32_t i = 0; i < text.length(); i = text.moveIndex32(i, 1))
            if (u_charType(text.char32At(i)) != U_NON_SPACING_MARK)
                bare.append(text.char32At(i));
        text = bare;
    }
    if (options & CompareOptions::caseInsensitive)
        text.foldCase();
    folded.append(text.getBuffer(), static_cast<std::size_t>(text.length()));
}

Folded fold(std::u16string_view text, CompareOptions options, bool withOrigins) {
    Folded result;
    if (!(options & foldingOptions)) {
        result.units = text;
        if (withOrigins)
            for (std::size_t i = 0; i < text.size(); ++i)
                result.origins.push_back(i);
    } else {
        const char16_t *p = text.data();
        const char16_t *const end = p + text.size();
        while (p != end) {
            const char16_t *const start = p;
            const char32_t decoded = utf8::next(p, end);
            if (p - start == 1 && (*start & 0xF800) == 0xD800) // a lone surrogate equals itself only
                result.units += *start;
            else
                foldCharacter(result.units, static_cast<UChar32>(decoded), options);
            if (withOrigins)
                result.origins.resize(result.units.size(), static_cast<std::size_t>(start - text.data()));
        }
    }
    if (withOrigins)
        result.origins.push_back(text.size());
    return result;
}

std::strong_ordering compareUnits(std::u16string_view a, std::u16string_view b) noexcept {
    return std::lexicographical_compare_three_way(a.begin(), a.end(), b.begin(), b.end());
}

// The decimal digits at the start of a text, leading zeros left out; moves the text past them all.
std::u16string takeDigits(std::u16string_view &text) {
    std::u16string digits;
    while (!text.empty() && u_charDigitValue(text.front()) >= 0) {
        const auto digit = static_cast<char16_t>(u_charDigitValue(text.front()));
        if (digit != 0 || !digits.empty())
            digits += digit;
        text.remove_prefix(1);
    }
    return digits;
}

std::strong_ordering compareNumeric(std::u16string_view a, std::u16string_view b) {
    while (!a.empty() && !b.empty()) {
        if (u_charDigitValue(a.front()) >= 0 && u_charDigitValue(b.front()) >= 0) {
            const std::u16string left = takeDigits(a);
            const std::u16string right = takeDigits(b);
            if (left.size() != right.size())
                return left.size() <=> right.size();
            if (const auto order = compareUnits(left, right); order != 0)
                return order;
            continue;
        }
        if (a.front() != b.front())
            return a.front() <=> b.front();
        a.remove_prefix(1);
        b.remove_prefix(1);
    }
    return a.size() <=> b.size();
}

std::shared_ptr<const icu::Collator> makeCollator(const icu::Locale &locale, CompareOptions options) {
    UErrorCode status = U_ZERO_ERROR;
    std::shared_ptr<icu::Collator> made(icu::Collator::createInstance(locale, status));
    if (U_FAILURE(status) || made == nullptr) // without the locale's data, or for a locale that is none
        return nullptr;
    const bool ignoreCase = options & CompareOptions::caseInsensitive;
    const bool ignoreMarks = options & CompareOptions::diacriticInsensitive;
    if (ignoreMarks) {
        made->setStrength(icu::Collator::PRIMARY);
        if (!ignoreCase)
            made->setAttribute(UCOL_CASE_LEVEL, UCOL_ON, status);
    } else if (ignoreCase) {
        made->setStrength(icu::Collator::SECONDARY);
    }
    if (options & CompareOptions::numeric)
        made->setAttribute(UCOL_NUMERIC_COLLATION, UCOL_ON, status);
    return U_SUCCESS(status) ? made : nullptr;
}

// Making a collator takes far longer than a comparison, so that each is kept. Once set up, a collator may
// compare on several threads at once. Null when ICU has none.
std::shared_ptr<const icu::Collator> collatorFor(const icu::Locale &locale, CompareOptions options) {
    constexpr std::size_t maxKept = 64; // locale names may come from outside
    using Key = std::pair<std::string, CompareOptions>;
    struct Cache {
        Mutex mutex;
        std::map<Key, std::shared_ptr<const icu::Collator>> made WL_GUARDED_BY(mutex);
    };
    static NeverDestroyed<Cache> shared;
    Cache &cache = *shared;
    Key key(locale.getName(), static_cast<CompareOptions>(static_cast<unsigned>(options) & 7U));
    const MutexLock lock(cache.mutex);
    if (const auto found = cache.made.find(key); found != cache.made.end())
        return found->second;
    auto made = makeCollator(locale, options);
    if (cache.made.size() >= maxKept)
        cache.made.clear();
    cache.made.emplace(std::move(key), made);
    return made;
}

std::strong_ordering collate(const icu::Locale &locale, std::u16string_view a, std::u16string_view b,
                             CompareOptions options) {
    const auto collator = collatorFor(locale, options);
    if (collator == nullptr)
        return compareNumeric(fold(a, options, false).units, fold(b, options, false).units);
    UErrorCode status = U_ZERO_ERROR;
    const auto order = collator->compare(a.data(), static_cast<std::int32_t>(a.size()), b.data(),
                                         static_cast<std::int32_t>(b.size()), status);
    return static_cast<int>(order) <=> 0;
}

// Orders UTF-8 as its UTF-16 form is ordered: there, surrogates stand before U+E000 to U+FFFF.
std::strong_ordering compareBytes(std::string_view a, std::string_view b) noexcept {
    const auto [left, right] = std::ranges::mismatch(a, b);
    if (left == a.end() || right == b.end())
        return a.size() <=> b.size();
    const auto rank = [](char c) {
        const auto byte = static_cast<unsigned char>(c);
        return byte == 0xEE || byte == 0xEF ? byte + 0x100 : int{byte};
    };
    return rank(*left) <=> rank(*right);
}

std::u16string unitsOf(const String *text, Range range) {
    std::u16string units(range.length, u'\0');
    text->getCharacters(units.data(), range);
    return units;
}

using CaseChange = void (*)(const char *, std::uint32_t, icu::StringPiece, icu::ByteSink &, icu::Edits *,
                            UErrorCode &);

String *changeCase(const String *text, CaseChange change) {
    std::string changed;
    icu::StringByteSink<std::string> sink(&changed);
    UErrorCode status = U_ZERO_ERROR;
    const std::string_view original = text->utf8();
    change("", 0, icu::StringPiece(original.data(), static_cast<std::int32_t>(original.size())), sink,
           nullptr, status);
    return String::of(U_SUCCESS(status) ? std::string_view(changed) : original);
}

} // namespace

std::strong_ordering String::compare(const String *other, CompareOptions options, Range range,
                                     const char *locale) const {
    const std::size_t count = length();
    range.location = std::min(range.location, count);
    range.length = std::min(range.length, count - range.location);
    const bool plain =
        locale == nullptr && !(options & foldingOptions) && !(options & CompareOptions::numeric);
    if (plain && range.length == count && hasExactUTF8() && other->hasExactUTF8())
        return compareBytes(utf8(), other->utf8());
    const std::u16string mine = unitsOf(this, range);
    const std::u16string others = other->utf16();
    if (plain)
        return compareUnits(mine, others);
    if (locale != nullptr)
        return collate(icu::Locale::createCanonical(locale), mine, others, options);
    const std::u16string left = fold(mine, options, false).units;
    const std::u16string right = fold(others, options, false).units;
    return options & CompareOptions::numeric ? compareNumeric(left, right) : compareUnits(left, right);
}

std::strong_ordering String::localizedStandardCompare(const String *other) const {
    // The locale of a process that was given none orders by bytes, capitals first, which no person expects.
    const icu::Locale &users = icu::Locale::getDefault();
    const bool none = std::string_view(users.getVariant()) == "POSIX";
    return compare(other, CompareOptions::caseInsensitive | CompareOptions::numeric, {0, length()},
                   none ? "root" : users.getName());
}

Range String::rangeOf(const String *searched, CompareOptions options) const {
    constexpr Range none{notFound, 0};
    const Folded text = fold(utf16(), options, true);
    const std::u16string wanted = fold(searched->utf16(), options, false).units;
    if (wanted.empty() || wanted.size() > text.units.size())
        return none;
    // A match must begin and end where characters of the original text do.
    const auto isBoundary = [&](std::size_t i) {
        return i == 0 || i == text.units.size() || text.origins[i] != text.origins[i - 1];
    };
    const auto matchAt = [&](std::size_t i) {
        return isBoundary(i) && isBoundary(i + wanted.size()) &&
               text.units.compare(i, wanted.size(), wanted) == 0;
    };
    const auto rangeAt = [&](std::size_t i) {
        return Range{text.origins[i], text.origins[i + wanted.size()] - text.origins[i]};
    };
    const std::size_t last = text.units.size() - wanted.size();
    const bool backwards = options & CompareOptions::backwards;
    if (options & CompareOptions::anchored) {
        const std::size_t only = backwards ? last : 0;
        return matchAt(only) ? rangeAt(only) : none;
    }
    const auto search = [&](std::size_t from) {
        return backwards ? text.units.rfind(wanted, from) : text.units.find(wanted, from);
    };
    for (std::size_t i = search(backwards ? last : 0); i != std::u16string::npos;) {
        if (matchAt(i))
            return rangeAt(i);
        if (backwards && i == 0)
            break;
        i = search(backwards ? i - 1 : i + 1);
    }
    return none;
}

String *String::lowercase() const {
    return changeCase(this, icu::CaseMap::utf8ToLower);
}

String *String::uppercase() const {
    return changeCase(this, icu::CaseMap::utf8ToUpper);
}

} // namespace wickerlane
