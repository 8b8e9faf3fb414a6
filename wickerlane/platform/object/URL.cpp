#include "wickerlane/platform/object/URL.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <memory>
#include <optional>

#include "wickerlane/platform/object/Hexadecimal.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/UTF8Internal.h"

namespace wickerlane {

constinit const Class URL::classInfo{"URL", &Object::classInfo, nullptr};
WL_BUILT_IN_CLASS(URL);

namespace {

using View = std::string_view;
using OptionalView = std::optional<std::string_view>;

constexpr View subDelimiters = "!$&'()*+,;=";

bool isAlpha(char c) noexcept {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool isDigit(char c) noexcept {
    return c >= '0' && c <= '9';
}

int hexValue(char c) noexcept {
    if (isDigit(c))
        return c - '0';
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

bool isUnreserved(char c) noexcept {
    return isAlpha(c) || isDigit(c) || View("-._~").find(c) != View::npos;
}

bool isPathCharacter(char c) noexcept {
    return isUnreserved(c) || subDelimiters.find(c) != View::npos || c == ':' || c == '@' || c == '/';
}

// The byte that a "%41" at `i` stands for; -1 when none is there.
int escapedByte(View text, std::size_t i) noexcept {
    if (text[i] != '%' || text.size() - i < 3 || hexValue(text[i + 1]) < 0 || hexValue(text[i + 2]) < 0)
        return -1;
    return hexValue(text[i + 1]) * 16 + hexValue(text[i + 2]);
}

void appendEscaped(std::string &text, char byte) {
    text += '%';
    text += upperHexadecimalDigits[static_cast<unsigned char>(byte) >> 4];
    text += upperHexadecimalDigits[static_cast<unsigned char>(byte) & 15];
}

// Whether a text holds whole escapes and allowed characters only.
bool consistsOf(View text, auto isAllowed) noexcept {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (escapedByte(text, i) >= 0)
            i += 2;
        else if (!isAllowed(text[i]))
            return false;
    }
    return true;
}

// The bytes that a text with escapes stands for.
std::string decodedBytes(View text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const int byte = escapedByte(text, i);
        bytes += byte < 0 ? text[i] : static_cast<char>(byte);
        i += byte < 0 ? 0 : 2;
    }
    return bytes;
}

// The same as text for people: escapes that are no UTF-8, and those of NUL, stay.
std::string decodedText(View text) {
    std::string shown;
    for (std::size_t i = 0; i < text.size();) {
        std::string run;
        std::size_t end = i;
        for (; end < text.size() && escapedByte(text, end) > 0; end += 3)
            run += static_cast<char>(escapedByte(text, end));
        if (run.empty()) {
            shown += text[i++];
            continue;
        }
        const char *p = run.data();
        const char *const runEnd = p + run.size();
        while (p != runEnd) {
            const char *const start = p;
            if (utf8::next(p, runEnd) != utf8::invalid)
                shown.append(start, p);
            else
                for (const char *byte = start; byte != p; ++byte)
                    appendEscaped(shown, *byte);
        }
        i = end;
    }
    return shown;
}

// The parts of a text, in which they lie.
struct Split {
    OptionalView scheme;
    OptionalView authority;
    View path;
    OptionalView query;
    OptionalView fragment;
};

Split split(View text) noexcept {
    Split parts;
    const auto takeFrom = [&](char mark) -> OptionalView {
        const std::size_t at = text.find(mark);
        if (at == View::npos)
            return std::nullopt;
        const View behind = text.substr(at + 1);
        text = text.substr(0, at);
        return behind;
    };
    parts.fragment = takeFrom('#');
    parts.query = takeFrom('?');
    const std::size_t colon = text.find(':');
    if (colon < text.find('/')) {
        parts.scheme = text.substr(0, colon);
        text.remove_prefix(colon + 1);
    }
    if (text.starts_with("//")) {
        text.remove_prefix(2);
        const std::size_t end = std::min(text.find('/'), text.size());
        parts.authority = text.substr(0, end);
        text.remove_prefix(end);
    }
    parts.path = text;
    return parts;
}

struct Authority {
    View userInfo;
    View host; // brackets included
    View port;
};

Authority splitAuthority(View text) noexcept {
    Authority parts;
    if (const std::size_t at = text.rfind('@'); at != View::npos) {
        parts.userInfo = text.substr(0, at);
        text.remove_prefix(at + 1);
    }
    const std::size_t bracket = text.starts_with('[') ? text.find(']') : View::npos;
    const std::size_t colon = text.find(':', bracket == View::npos ? 0 : bracket);
    parts.host = text.substr(0, colon);
    if (colon != View::npos)
        parts.port = text.substr(colon + 1);
    return parts;
}

bool isValidHost(View host) noexcept {
    const auto allowed = [](char c) { return isUnreserved(c) || subDelimiters.find(c) != View::npos; };
    if (!host.starts_with('['))
        return consistsOf(host, allowed);
    if (host.size() < 3 || !host.ends_with(']'))
        return false;
    host = host.substr(1, host.size() - 2);
    // An address of the sixth version, or "v", a version and what that version says.
    const bool future = (host.front() | 0x20) == 'v';
    return std::ranges::all_of(host, [&](char c) {
        return future ? allowed(c) || c == ':' : hexValue(c) >= 0 || c == ':' || c == '.';
    });
}

bool isValid(const Split &parts) noexcept {
    if (parts.scheme && (parts.scheme->empty() || !isAlpha(parts.scheme->front()) ||
                         !std::ranges::all_of(*parts.scheme, [](char c) {
                             return isAlpha(c) || isDigit(c) || c == '+' || c == '-' || c == '.';
                         })))
        return false;
    if (parts.authority) {
        const Authority authority = splitAuthority(*parts.authority);
        if (!isValidHost(authority.host) || !std::ranges::all_of(authority.port, isDigit) ||
            !consistsOf(authority.userInfo,
                        [](char c) { return isPathCharacter(c) && c != '/' && c != '@'; }))
            return false;
    }
    const auto allowedBehind = [](char c) { return isPathCharacter(c) || c == '?'; };
    return consistsOf(parts.path, isPathCharacter) && consistsOf(parts.query.value_or(""), allowedBehind) &&
           consistsOf(parts.fragment.value_or(""), allowedBehind);
}

// Takes "." and ".." out of a path, RFC 3986 5.2.4.
std::string withoutDots(View path) {
    std::string kept;
    while (!path.empty()) {
        if (path.starts_with("../")) {
            path.remove_prefix(3);
        } else if (path.starts_with("./")) {
            path.remove_prefix(2);
        } else if (path.starts_with("/./")) {
            path.remove_prefix(2);
        } else if (path == "/.") {
            path = "/";
        } else if (path.starts_with("/../") || path == "/..") {
            path = path.size() == 3 ? View("/") : path.substr(3);
            const std::size_t slash = kept.rfind('/');
            kept.resize(slash == std::string::npos ? 0 : slash);
        } else if (path == "." || path == "..") {
            path = {};
        } else {
            const std::size_t end = std::min(path.find('/', 1), path.size());
            kept += path.substr(0, end);
            path.remove_prefix(end);
        }
    }
    return kept;
}

std::string joined(const Split &parts) {
    std::string text;
    if (parts.scheme)
        text.append(*parts.scheme).append(":");
    if (parts.authority)
        text.append("//").append(*parts.authority);
    else if (parts.path.starts_with("//"))
        text += "/."; // or the path would be read as an authority
    else if (!parts.scheme && parts.path.find(':') < parts.path.find('/'))
        text += "./"; // or its first segment as a scheme
    text += parts.path;
    if (parts.query)
        text.append("?").append(*parts.query);
    if (parts.fragment)
        text.append("#").append(*parts.fragment);
    return text;
}

// The absolute text of a reference, RFC 3986 5.2.2.
std::string resolved(const Split &reference, const Split &base) {
    Split target = reference;
    std::string path;
    if (reference.scheme || reference.authority) {
        path = withoutDots(reference.path);
    } else if (reference.path.empty()) {
        path = base.path;
        if (!reference.query)
            target.query = base.query;
    } else if (reference.path.starts_with('/')) {
        path = withoutDots(reference.path);
    } else if (base.authority && base.path.empty()) {
        path = withoutDots("/" + std::string(reference.path));
    } else {
        path = withoutDots(std::string(base.path.substr(0, base.path.rfind('/') + 1)).append(reference.path));
    }
    if (!reference.scheme) {
        target.scheme = base.scheme;
        if (!reference.authority)
            target.authority = base.authority;
    }
    target.path = path;
    return joined(target);
}

String *stringOrNull(OptionalView text) {
    return text ? String::of(*text) : nullptr;
}

} // namespace

struct URL::Parts {
    Ref<String> relative;
    Ref<String> absolute;
    Ref<const URL> base;
    Split split; // of the absolute text
};

URL::URL(Parts *parsed) noexcept : parts(parsed) {
}

URL::~URL() {
    delete parts;
}

Ref<URL> URL::create(std::string_view text, const URL *base) {
    if (text.empty() || utf8::lengthInUTF16(text) == utf8::notValid)
        return {};
    std::string encoded;
    encoded.reserve(text.size());
    for (const char c : text) {
        if (static_cast<unsigned char>(c) < 0x80)
            encoded += c;
        else
            appendEscaped(encoded, c);
    }
    const Split reference = wickerlane::split(encoded);
    if (!isValid(reference))
        return {};
    auto parts = std::make_unique<Parts>();
    parts->relative = String::create(encoded);
    if (base == nullptr || reference.scheme) {
        parts->absolute = parts->relative;
    } else {
        parts->absolute = String::create(resolved(reference, base->parts->split));
        parts->base = base;
    }
    parts->split = wickerlane::split(parts->absolute->utf8());
    return Ref<URL>::adopt(new URL(parts.release()));
}

Ref<URL> URL::createWithPath(std::string_view path, bool isDirectory) {
    if (path.empty() || path.find('\0') != View::npos)
        return {};
    std::string whole;
    if (!path.starts_with('/')) {
        const std::unique_ptr<char, void (*)(void *)> current(getcwd(nullptr, 0), std::free);
        if (current == nullptr)
            return {};
        whole = current.get();
        if (!whole.ends_with('/'))
            whole += '/';
    }
    whole += path;
    if (isDirectory && !whole.ends_with('/'))
        whole += '/';
    std::string text = "file://";
    for (const char c : whole) {
        if (isPathCharacter(c))
            text += c;
        else
            appendEscaped(text, c);
    }
    return create(text);
}

URL *URL::of(std::string_view text) {
    return autorelease(create(text));
}

URL *URL::ofPath(std::string_view path) {
    return autorelease(createWithPath(path));
}

String *URL::absoluteString() const {
    return parts->absolute.get();
}

String *URL::relativeString() const {
    return parts->relative.get();
}

const URL *URL::baseURL() const {
    return parts->base.get();
}

URL *URL::absoluteURL() const {
    if (!parts->base)
        return const_cast<URL *>(this); // NOLINT: an object is handed on as such, and URLs are immutable
    auto made = std::make_unique<Parts>();
    made->relative = made->absolute = parts->absolute;
    made->split = parts->split;
    return autorelease(Ref<URL>::adopt(new URL(made.release())));
}

String *URL::scheme() const {
    return stringOrNull(parts->split.scheme);
}

String *URL::host() const {
    View host = splitAuthority(parts->split.authority.value_or("")).host;
    if (host.starts_with('['))
        host = host.substr(1, host.size() - 2);
    return host.empty() ? nullptr : String::of(decodedText(host));
}

String *URL::path() const {
    View path = parts->split.path;
    while (path.size() > 1 && path.ends_with('/'))
        path.remove_suffix(1);
    return String::of(decodedText(path));
}

String *URL::query() const {
    return stringOrNull(parts->split.query);
}

String *URL::fragment() const {
    return stringOrNull(parts->split.fragment);
}

String *URL::queryValue(std::string_view name) const {
    if (!parts->split.query)
        return nullptr;
    for (View rest = *parts->split.query;;) {
        const std::size_t end = rest.find('&');
        const View item = rest.substr(0, end);
        const std::size_t equals = std::min(item.find('='), item.size());
        if (decodedText(item.substr(0, equals)) == name)
            return String::of(decodedText(item.substr(std::min(equals + 1, item.size()))));
        if (end == View::npos)
            return nullptr;
        rest.remove_prefix(end + 1);
    }
}

bool URL::isFileURL() const {
    return parts->split.scheme && std::ranges::equal(*parts->split.scheme, View("file"), {}, [](char c) {
               return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
           });
}

std::string URL::fileSystemPath() const {
    const View host = parts->split.authority.value_or("");
    if (!isFileURL() || (!host.empty() && host != "localhost"))
        return {};
    std::string path = decodedBytes(parts->split.path);
    if (path.find('\0') != std::string::npos)
        return {};
    return path;
}

bool URL::isEqual(const Object *other) const {
    const URL *mine = this;
    const URL *others = as<URL>(other);
    while (mine != others) {
        if (mine == nullptr || others == nullptr ||
            !mine->parts->relative->isEqual(others->parts->relative.get()))
            return false;
        mine = mine->baseURL();
        others = others->baseURL();
    }
    return true;
}

std::size_t URL::hash() const {
    return parts->relative->hash();
}

String *URL::description() const {
    return absoluteString();
}

} // namespace wickerlane
