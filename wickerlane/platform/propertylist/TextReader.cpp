#include <array>
#include <optional>

#include "wickerlane/platform/object/UTF8Internal.h"
#include "wickerlane/platform/propertylist/PropertyListInternal.h"

namespace wickerlane::propertylist {

namespace {

bool isWordCharacter(char c) noexcept {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           std::string_view("_$/:.-").find(c) != std::string_view::npos;
}

// -1 for what is no digit of the base, which is 8 or 16.
int digitValue(char c, int base) noexcept {
    int value = -1;
    if (c >= '0' && c <= '9')
        value = c - '0';
    else if (c >= 'a' && c <= 'f')
        value = c - 'a' + 10;
    else if (c >= 'A' && c <= 'F')
        value = c - 'A' + 10;
    return value < base ? value : -1;
}

class TextReader {
public:
    TextReader(std::string_view utf8, MemoryLeft memory, Failure &reported)
        : text(utf8), failure(reported), tree(memory) {}

    Ref<Object> read() {
        if (!skipSpace())
            return {};
        const bool isTable = atEnd() || startsTable();
        if (isTable)
            tree.open(true);
        while (tree.place() != TreeBuilder::Place::done) {
            if (!readNext(isTable))
                return {};
            if (tree.isMemoryUsedUp()) {
                fail(memoryUsedUp, PropertyListErrorCode::tooLarge);
                return {};
            }
        }
        if (!skipSpace())
            return {};
        if (!atEnd()) {
            fail("there is more than one value");
            return {};
        }
        return tree.takeRoot();
    }

private:
    bool fail(std::string_view reason, PropertyListErrorCode code = PropertyListErrorCode::corrupt) {
        return failAt(position, reason, code);
    }
    bool failAt(std::size_t place, std::string_view reason,
                PropertyListErrorCode code = PropertyListErrorCode::corrupt) {
        std::size_t line = 1;
        for (const char c : text.substr(0, place))
            line += c == '\n' ? 1 : 0;
        failure = {code, std::string(reason) + " in line " + std::to_string(line)};
        return false;
    }

    [[nodiscard]] bool atEnd() const noexcept { return position == text.size(); }
    [[nodiscard]] char peek() const noexcept { return atEnd() ? '\0' : text[position]; }
    [[nodiscard]] bool isAt(std::string_view searched) const noexcept {
        return text.substr(position).starts_with(searched);
    }
    bool accept(char c) noexcept {
        if (atEnd() || text[position] != c)
            return false;
        ++position;
        return true;
    }

    // Passes over white space and comments. False for a comment without an end.
    bool skipSpace() {
        while (!atEnd()) {
            if (std::string_view(" \t\r\n\f\v").find(peek()) != std::string_view::npos) {
                ++position;
            } else if (isAt("\xE2\x80\xA8") || isAt("\xE2\x80\xA9")) { // line and paragraph separators
                position += 3;
            } else if (isAt("//")) {
                position = std::min(text.find_first_of("\r\n", position), text.size());
            } else if (isAt("/*")) {
                const std::size_t end = text.find("*/", position + 2);
                if (end == std::string_view::npos)
                    return fail("a comment does not end");
                position = end + 2;
            } else {
                break;
            }
        }
        return true;
    }

    // A string table begins with a text and a sign that makes a pair of it.
    bool startsTable() {
        const std::size_t start = position;
        const bool found = readText() && skipSpace() && (peek() == '=' || peek() == ';');
        position = start;
        failure = {};
        return found;
    }

    // Reads up to the next value or the end of a container.
    bool readNext(bool isTable) {
        if (!skipSpace())
            return false;
        switch (tree.place()) {
        case TreeBuilder::Place::key:
            if (isTable && tree.depth() == 1 ? atEnd() : accept('}'))
                return close();
            return readKey();
        case TreeBuilder::Place::array:
            if (accept(')'))
                return close();
            break;
        case TreeBuilder::Place::root:
        case TreeBuilder::Place::value:
        case TreeBuilder::Place::done:
            break;
        }
        return readValue();
    }

    bool close() {
        tree.close();
        return finishValue();
    }

    bool readKey() {
        const auto key = readText();
        if (!key || !skipSpace())
            return false;
        tree.add(key);
        if (accept('='))
            return true;
        if (!accept(';'))
            return fail("a key is followed by neither '=' nor ';'");
        tree.add(key);
        return true;
    }

    bool readValue() {
        const bool isDictionary = peek() == '{';
        if (isDictionary || peek() == '(') {
            if (tree.isFull())
                return fail("containers nest deeper than " + std::to_string(propertyListDepthLimit) +
                                " levels",
                            PropertyListErrorCode::tooLarge);
            ++position;
            tree.open(isDictionary);
            return true;
        }
        Ref<Object> value;
        if (peek() == '<')
            value = readData();
        else
            value = readText();
        if (!value)
            return false;
        tree.add(std::move(value));
        return finishValue();
    }

    // What must stand behind a value, by the container it stands in.
    bool finishValue() {
        if (tree.place() == TreeBuilder::Place::done)
            return true;
        if (!skipSpace())
            return false;
        if (tree.place() == TreeBuilder::Place::key)
            return accept(';') || fail("a dictionary's value is not followed by ';'");
        return accept(',') || peek() == ')' || fail("an array's element is followed by neither ',' nor ')'");
    }

    Ref<Data> readData() {
        const std::size_t start = position++;
        std::vector<std::byte> decoded;
        int high = -1;
        while (!accept('>')) {
            if (atEnd()) {
                failAt(start, "data does not end");
                return {};
            }
            const char c = text[position];
            const int digit = digitValue(c, 16);
            if (digit < 0 && std::string_view(" \t\r\n").find(c) == std::string_view::npos) {
                fail("data holds something other than hexadecimal digits");
                return {};
            }
            ++position;
            if (digit < 0)
                continue;
            if (high >= 0)
                decoded.push_back(static_cast<std::byte>(high << 4 | digit));
            high = high < 0 ? digit : -1;
        }
        if (high >= 0) {
            failAt(start, "data has an odd number of digits");
            return {};
        }
        return Data::createAdopting(std::move(decoded));
    }

    // A quoted text or a bare word.
    Ref<String> readText() {
        if (peek() == '"' || peek() == '\'')
            return readQuoted();
        const std::size_t start = position;
        while (!atEnd() && isWordCharacter(text[position]))
            ++position;
        if (position == start) {
            fail(atEnd() ? "the list is cut off"
                         : "a value or key begins with a character that none begins with");
            return {};
        }
        return String::create(text.substr(start, position - start));
    }

    Ref<String> readQuoted() {
        const std::size_t start = position;
        const char quote = text[position++];
        const std::size_t plainEnd = text.find_first_of({std::array{quote, '\\'}.data(), 2}, position);
        if (plainEnd != std::string_view::npos && text[plainEnd] == quote) {
            const std::string_view plain = text.substr(position, plainEnd - position);
            position = plainEnd + 1;
            return String::create(plain);
        }
        std::string decoded;
        while (!accept(quote)) {
            if (atEnd()) {
                failAt(start, "a quoted text does not end");
                return {};
            }
            if (accept('\\')) {
                if (!readEscape(decoded))
                    return {};
                continue;
            }
            const std::size_t end =
                std::min(text.find_first_of({std::array{quote, '\\'}.data(), 2}, position), text.size());
            decoded += text.substr(position, end - position);
            position = end;
        }
        return String::create(decoded);
    }

    // What stands behind a backslash.
    bool readEscape(std::string &decoded) {
        if (atEnd())
            return fail("a quoted text does not end");
        const char c = peek();
        if (digitValue(c, 8) >= 0) {
            const char32_t character = readDigits(8, 3);
            if (character > 0xFF)
                return fail("an octal escape is greater than 377");
            utf8::append(decoded, character);
            return true;
        }
        ++position;
        if (c == 'U' || c == 'u')
            return readUTF16Escape(decoded);
        constexpr std::string_view letters = "abfnrtv";
        constexpr std::string_view controls = "\a\b\f\n\r\t\v";
        const std::size_t control = letters.find(c);
        // All other characters stand for themselves, and so do the further bytes of theirs that follow.
        decoded += control == std::string_view::npos ? c : controls[control];
        return true;
    }

    bool readUTF16Escape(std::string &decoded) {
        if (digitValue(peek(), 16) < 0)
            return fail("an escape has no hexadecimal digits");
        char16_t units[2] = {static_cast<char16_t>(readDigits(16, 4)), 0};
        std::size_t count = 1;
        const bool isHigh = (units[0] & 0xFC00) == 0xD800;
        if (isHigh && (isAt("\\U") || isAt("\\u"))) {
            const std::size_t start = position;
            position += 2;
            units[1] = static_cast<char16_t>(readDigits(16, 4));
            if ((units[1] & 0xFC00) == 0xDC00)
                count = 2;
            else
                position = start;
        }
        utf8::append(decoded, std::u16string_view(units, count));
        return true;
    }

    char32_t readDigits(int base, int maxDigits) noexcept {
        char32_t value = 0;
        for (int digit = 0; maxDigits != 0 && (digit = digitValue(peek(), base)) >= 0;
             --maxDigits, ++position)
            value = value * static_cast<char32_t>(base) + static_cast<char32_t>(digit);
        return value;
    }

    std::string_view text;
    std::size_t position = 0;
    Failure &failure;
    TreeBuilder tree;
};

// The text of a byte-order-marked UTF-16 file. Null when it holds half a unit.
std::optional<std::string> decodeUTF16(std::string_view bytes, bool isBigEndian) {
    if (bytes.size() % 2 != 0)
        return std::nullopt;
    std::u16string units;
    units.reserve(bytes.size() / 2);
    for (std::size_t i = 0; i < bytes.size(); i += 2) {
        const unsigned first = static_cast<unsigned char>(bytes[i]);
        const unsigned second = static_cast<unsigned char>(bytes[i + 1]);
        units += static_cast<char16_t>(isBigEndian ? first << 8 | second : second << 8 | first);
    }
    std::string text;
    text.reserve(units.size());
    utf8::append(text, units);
    return text;
}

} // namespace

Ref<Object> readText(Bytes bytes, MemoryLeft memory, Failure &failure) {
    std::string_view text(reinterpret_cast<const char *>(bytes.data()), bytes.size());
    if (text.size() > maxTextBytes) {
        failure = {PropertyListErrorCode::tooLarge, "the text form has more bytes than are read"};
        return {};
    }
    const bool isBigEndian = text.starts_with("\xFE\xFF");
    if (isBigEndian || text.starts_with("\xFF\xFE")) {
        const auto decoded = decodeUTF16(text.substr(2), isBigEndian);
        if (!decoded) {
            failure.reason = "UTF-16 text ends within a unit";
            return {};
        }
        return TextReader(*decoded, memory, failure).read();
    }
    if (text.starts_with("\xEF\xBB\xBF"))
        text.remove_prefix(3);
    if (utf8::lengthInUTF16(text) == utf8::notValid) {
        failure.reason = "the text is neither valid UTF-8 nor UTF-16 with a byte order mark";
        return {};
    }
    return TextReader(text, memory, failure).read();
}

} // namespace wickerlane::propertylist
