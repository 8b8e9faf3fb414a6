#include "wickerlane/platform/object/URL.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <memory>
#include <optional>

#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/URLSyntax.h"
#include "wickerlane/platform/object/UTF8Internal.h"

namespace wickerlane {

constinit const Class URL::classInfo{"URL", &Object::classInfo, nullptr};
WL_BUILT_IN_CLASS(URL);

namespace {

using View = std::string_view;
using OptionalView = std::optional<std::string_view>;

String *stringOrNull(OptionalView text) {
    return text ? String::of(*text) : nullptr;
}

} // namespace

struct URL::Parts {
    Ref<String> relative;
    Ref<String> absolute;
    Ref<const URL> base;
    urlsyntax::Split split; // of the absolute text
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
            urlsyntax::appendEscaped(encoded, c);
    }
    const urlsyntax::Split reference = urlsyntax::split(encoded);
    if (!urlsyntax::isValid(reference))
        return {};
    auto parts = std::make_unique<Parts>();
    parts->relative = String::create(encoded);
    if (base == nullptr || reference.scheme) {
        parts->absolute = parts->relative;
    } else {
        parts->absolute = String::create(urlsyntax::resolved(reference, base->parts->split));
        parts->base = base;
    }
    parts->split = urlsyntax::split(parts->absolute->utf8());
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
        if (urlsyntax::isPathCharacter(c))
            text += c;
        else
            urlsyntax::appendEscaped(text, c);
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
    View host = urlsyntax::hostOf(parts->split.authority.value_or(""));
    if (host.starts_with('['))
        host = host.substr(1, host.size() - 2);
    return host.empty() ? nullptr : String::of(urlsyntax::decodedText(host));
}

String *URL::path() const {
    View path = parts->split.path;
    while (path.size() > 1 && path.ends_with('/'))
        path.remove_suffix(1);
    return String::of(urlsyntax::decodedText(path));
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
        if (urlsyntax::decodedText(item.substr(0, equals)) == name)
            return String::of(urlsyntax::decodedText(item.substr(std::min(equals + 1, item.size()))));
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
    std::string path = urlsyntax::decodedBytes(parts->split.path);
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
