#include <expat.h>

#include <charconv>
#include <memory>

#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/propertylist/PropertyListInternal.h"

namespace wickerlane::propertylist {

namespace {

constexpr std::string_view whiteSpace = " \t\r\n";

std::string_view trimmed(std::string_view text) noexcept {
    const std::size_t first = text.find_first_not_of(whiteSpace);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(whiteSpace) - first + 1);
}

// Each of these gives null for a text that is no such value.

Ref<Object> parseInteger(std::string_view text) {
    text = trimmed(text);
    const bool isNegative = text.starts_with('-');
    if (isNegative || text.starts_with('+'))
        text.remove_prefix(1);
    int base = 10;
    if (text.starts_with("0x") || text.starts_with("0X")) {
        text.remove_prefix(2);
        base = 16;
    }
    std::uint64_t magnitude = 0;
    const char *end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, magnitude, base);
    if (result.ec != std::errc() || result.ptr != end)
        return {};
    constexpr std::uint64_t twoTo63 = std::uint64_t{1} << 63;
    if (isNegative)
        return magnitude <= twoTo63 ? Number::create(static_cast<std::int64_t>(0 - magnitude))
                                    : Ref<Number>();
    return magnitude < twoTo63 ? Number::create(static_cast<std::int64_t>(magnitude))
                               : Number::create(magnitude);
}

Ref<Object> parseReal(std::string_view text) {
    text = trimmed(text);
    if (text.starts_with('+') && !text.starts_with("+-"))
        text.remove_prefix(1);
    double value = 0;
    const char *end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    if (result.ec != std::errc() || result.ptr != end)
        return {};
    return Number::create(value);
}

// Days from 1970-01-01, counting years from March on so that the leap day ends one.
std::int64_t daysFromCivil(std::int64_t year, unsigned month, unsigned day) noexcept {
    year -= month <= 2 ? 1 : 0;
    const std::int64_t era = (year >= 0 ? year : year - 399) / 400;
    const std::int64_t yearOfEra = year - era * 400;
    const std::int64_t dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    return era * 146097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719468;
}

unsigned daysInMonth(unsigned year, unsigned month) noexcept {
    if (month == 2)
        return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0) ? 29 : 28;
    return month == 4 || month == 6 || month == 9 || month == 11 ? 30 : 31;
}

// "2026-11-24T23:08:24Z".
Ref<Object> parseDate(std::string_view text) {
    text = trimmed(text);
    constexpr std::string_view form = "dddd-dd-ddTdd:dd:ddZ";
    if (text.size() != form.size())
        return {};
    unsigned parts[6] = {};
    std::size_t part = 0;
    for (std::size_t i = 0; i < form.size(); ++i) {
        if (form[i] != 'd') {
            if (text[i] != form[i])
                return {};
            ++part;
        } else if (text[i] < '0' || text[i] > '9') {
            return {};
        } else {
            parts[part] = parts[part] * 10 + static_cast<unsigned>(text[i] - '0');
        }
    }
    const auto [year, month, day, hour, minute, second] = parts;
    if (month < 1 || month > 12 || day < 1 || day > daysInMonth(year, month) || hour > 23 || minute > 59 ||
        second > 59)
        return {};
    const std::int64_t seconds =
        daysFromCivil(year, month, day) * 86400 + std::int64_t{hour} * 3600 + minute * 60 + second;
    return Date::createWithUnixSeconds(static_cast<double>(seconds));
}

int base64Digit(char c) noexcept {
    if (c >= 'A' && c <= 'Z')
        return c - 'A';
    if (c >= 'a' && c <= 'z')
        return c - 'a' + 26;
    if (c >= '0' && c <= '9')
        return c - '0' + 52;
    return c == '+' ? 62 : (c == '/' ? 63 : -1);
}

Ref<Object> parseData(std::string_view text) {
    std::vector<std::byte> decoded;
    decoded.reserve(text.size() / 4 * 3 + 3);
    std::uint32_t group = 0;
    unsigned digits = 0;
    unsigned padding = 0;
    for (const char c : text) {
        if (whiteSpace.find(c) != std::string_view::npos)
            continue;
        if (c == '=') {
            ++padding;
            continue;
        }
        const int digit = base64Digit(c);
        if (digit < 0 || padding != 0)
            return {};
        group = group << 6 | static_cast<std::uint32_t>(digit);
        if (++digits % 4 == 0) {
            for (const unsigned shift : {16U, 8U, 0U})
                decoded.push_back(static_cast<std::byte>(group >> shift));
            group = 0;
        }
    }
    const unsigned rest = digits % 4;
    if (rest == 1 || padding != (rest == 0 ? 0 : 4 - rest))
        return {};
    if (rest >= 2)
        decoded.push_back(static_cast<std::byte>(rest == 2 ? group >> 4 : group >> 10));
    if (rest == 3)
        decoded.push_back(static_cast<std::byte>(group >> 2));
    return Data::createAdopting(std::move(decoded));
}

Ref<Object> parseText(std::string_view text) {
    return String::create(text);
}

// The elements, and how those that hold text become values.
struct Element {
    std::string_view name;
    enum class Kind { list, array, dictionary, key, yes, no, value } kind;
    Ref<Object> (*parse)(std::string_view) = nullptr;
};
constexpr Element elements[] = {
    {"plist", Element::Kind::list},
    {"array", Element::Kind::array},
    {"dict", Element::Kind::dictionary},
    {"key", Element::Kind::key, parseText},
    {"true", Element::Kind::yes},
    {"false", Element::Kind::no},
    {"string", Element::Kind::value, parseText},
    {"integer", Element::Kind::value, parseInteger},
    {"real", Element::Kind::value, parseReal},
    {"date", Element::Kind::value, parseDate},
    {"data", Element::Kind::value, parseData},
};

class XMLReader {
public:
    XMLReader(MemoryLeft memory, Failure &reported)
        : failure(reported), parser(XML_ParserCreate(nullptr)), tree(memory) {
        XML_Parser p = parser.get();
        if (p == nullptr)
            return;
        XML_SetUserData(p, this);
        XML_SetElementHandler(
            p, [](void *self, const char *name, const char **) { reader(self).startElement(name); },
            [](void *self, const char *) { reader(self).endElement(); });
        XML_SetCharacterDataHandler(p, [](void *self, const char *text, int size) {
            reader(self).characters({text, static_cast<std::size_t>(size)});
        });
        // A plain document type line names the kind of file and is passed over. Anything inside one could
        // only be there to make a small file large.
        XML_SetStartDoctypeDeclHandler(
            p, [](void *self, const char *, const char *, const char *, int hasInternalSubset) {
                if (hasInternalSubset != 0)
                    reader(self).fail("the document type declares something of its own");
            });
        XML_SetEntityDeclHandler(p, [](void *self, const char *, int, const char *, int, const char *,
                                       const char *, const char *,
                                       const char *) { reader(self).fail("an entity is declared"); });
        XML_SetSkippedEntityHandler(
            p, [](void *self, const char *, int) { reader(self).fail("an entity is not known"); });
    }

    Ref<Object> read(Bytes bytes) {
        if (!parser) {
            failure.reason = "there is not enough memory";
            return {};
        }
        // In one piece, since a token that is fed in pieces is scanned again with every piece.
        const auto *text = reinterpret_cast<const char *>(bytes.data());
        const auto status = XML_Parse(parser.get(), text, static_cast<int>(bytes.size()), XML_TRUE);
        if (hasFailed)
            return {};
        if (status != XML_STATUS_OK) {
            fail(XML_ErrorString(XML_GetErrorCode(parser.get())));
            return {};
        }
        if (tree.place() != TreeBuilder::Place::done) {
            fail("there is no value");
            return {};
        }
        return tree.takeRoot();
    }

private:
    static XMLReader &reader(void *self) noexcept { return *static_cast<XMLReader *>(self); }

    void fail(std::string_view reason, PropertyListErrorCode code = PropertyListErrorCode::corrupt) {
        if (hasFailed)
            return;
        hasFailed = true;
        const auto line = XML_GetCurrentLineNumber(parser.get());
        failure = {code, std::string(reason) + " in line " + std::to_string(line)};
        XML_StopParser(parser.get(), XML_FALSE);
    }

    void startElement(std::string_view name) {
        if (hasFailed)
            return;
        if (current != nullptr)
            return fail("a value holds an element");
        const Element *found = nullptr;
        for (const Element &element : elements)
            if (element.name == name)
                found = &element;
        const bool isList = found != nullptr && found->kind == Element::Kind::list;
        if (!isInList)
            return isList ? void(isInList = true) : fail("the outermost element is not a property list");
        if (found == nullptr)
            return fail("an element is not known");
        if (isList)
            return fail("a property list stands in another");
        const bool isKey = found->kind == Element::Kind::key;
        if (isKey != (tree.place() == TreeBuilder::Place::key))
            return fail(isKey ? "a key stands where none belongs" : "a dictionary's value has no key");
        if (tree.place() == TreeBuilder::Place::done)
            return fail("there is more than one value");
        if (found->kind == Element::Kind::array || found->kind == Element::Kind::dictionary) {
            if (tree.isFull())
                return fail("containers nest deeper than " + std::to_string(propertyListDepthLimit) +
                                " levels",
                            PropertyListErrorCode::tooLarge);
            return tree.open(found->kind == Element::Kind::dictionary);
        }
        current = found;
        gathered.clear();
    }

    void endElement() {
        if (hasFailed)
            return;
        if (tree.isMemoryUsedUp())
            return fail(memoryUsedUp, PropertyListErrorCode::tooLarge);
        const Element *ended = std::exchange(current, nullptr);
        if (ended == nullptr) { // of a container, or of the list
            if (tree.depth() == 0)
                return;
            if (tree.place() == TreeBuilder::Place::value)
                return fail("a dictionary's key has no value");
            return tree.close();
        }
        if (ended->parse == nullptr) {
            if (!trimmed(gathered).empty())
                return fail("a boolean value holds text");
            return tree.add(Number::create(ended->kind == Element::Kind::yes));
        }
        Ref<Object> value = ended->parse(gathered);
        if (!value)
            return fail("the text of element \"" + std::string(ended->name) + "\" is no such value");
        tree.add(std::move(value));
    }

    void characters(std::string_view added) {
        if (hasFailed)
            return;
        if (current != nullptr)
            gathered += added;
        else if (!trimmed(added).empty())
            fail("text stands between the elements");
    }

    struct FreeParser {
        void operator()(XML_Parser p) const noexcept { XML_ParserFree(p); }
    };

    Failure &failure;
    std::unique_ptr<XML_ParserStruct, FreeParser> parser;
    TreeBuilder tree;
    const Element *current = nullptr; // the one whose text is being gathered
    std::string gathered;
    bool isInList = false;
    bool hasFailed = false;
};

} // namespace

Ref<Object> readXML(Bytes bytes, MemoryLeft memory, Failure &failure) {
    if (bytes.size() > maxXMLBytes) {
        failure = {PropertyListErrorCode::tooLarge, "the XML form has more bytes than are read"};
        return {};
    }
    return XMLReader(memory, failure).read(bytes);
}

} // namespace wickerlane::propertylist
