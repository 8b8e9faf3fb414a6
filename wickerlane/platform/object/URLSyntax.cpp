#include "wickerlane/platform/object/URLSyntax.h"

#include <algorithm>

#include "wickerlane/platform/object/Hexadecimal.h"
#include "wickerlane/platform/object/UTF8Internal.h"

namespace wickerlane::urlsyntax {
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

// The byte that a "%41" at `i` stands for; -1 when none is there.
int escapedByte(View text, std::size_t i) noexcept {
    if (text[i] != '%' || text.size() - i < 3 || hexValue(text[i + 1]) < 0 || hexValue(text[i + 2]) < 0)
        return -1;
    return hexValue(text[i + 1]) * 16 + hexValue(text[i + 2]);
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

// Takes "." and ".." out of a path, RFC 3986 5.2.4.
std::string withoutDots(View path) {
    std::string kept;
    while (!path.empty()) {
        if (path.starts_with("../")) {
            path.remove_prefix(3);
        } else if (path.starts_with("./") || path.starts_with("/./")) {
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

} // namespace

bool isPathCharacter(char c) noexcept {
    return isUnreserved(c) || subDelimiters.find(c) != View::npos || c == ':' || c == '@' || c == '/';
}

void appendEscaped(std::string &text, char byte) {
    text += '%';
    text += upperHexadecimalDigits[static_cast<unsigned char>(byte) >> 4];
    text += upperHexadecimalDigits[static_cast<unsigned char>(byte) & 15];
}

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

View hostOf(View authority) noexcept {
    return splitAuthority(authority).host;
}

std::string resolved(const Split &reference, const Split &base) {
    Split target = reference;
    std::string path;
    if (reference.scheme || reference.authority || reference.path.starts_with('/')) {
        path = withoutDots(reference.path);
    } else if (reference.path.empty()) {
        path = base.path;
        if (!reference.query)
            target.query = base.query;
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

} // namespace wickerlane::urlsyntax
