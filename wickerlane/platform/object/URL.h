// Uniform resource locators.
#ifndef WICKERLANE_PLATFORM_OBJECT_URL_H
#define WICKERLANE_PLATFORM_OBJECT_URL_H

#include <string>

#include "wickerlane/platform/object/Object.h"
#include "wickerlane/platform/object/String.h"

namespace wickerlane {

/// An immutable URL, absolute or relative to a base. Parsed and resolved by RFC 3986.
class WL_EXPORT URL final : public Object {
    WL_OBJECT
public:
    /// From its text; null when the text is empty or not a URL (RFC 3986's characters, or any character
    /// outside ASCII, which is percent-encoded). With a base the text may be relative; without one, too, and
    /// then the URL's absolute text is the relative text.
    [[nodiscard]] static Ref<URL> create(std::string_view text, const URL *base = nullptr);
    /// A file URL of a path; a relative path is resolved against the working directory. Null for an empty
    /// path.
    [[nodiscard]] static Ref<URL> createWithPath(std::string_view path, bool isDirectory = false);
    /// Borrowed forms.
    static URL *of(std::string_view text);
    static URL *ofPath(std::string_view path);

    /// The whole URL, resolved against its base; borrowed, never null.
    [[nodiscard]] String *absoluteString() const;
    [[nodiscard]] String *relativeString() const; ///< The text it was made from, percent-encoded; borrowed.
    [[nodiscard]] const URL *baseURL() const;     ///< Null when absolute; lives as long as this URL.
    [[nodiscard]] URL *absoluteURL() const;       ///< Borrowed.

    // Parts of the absolute URL; borrowed; null when the URL has no such part. A path is always there, if
    // only an empty one. Percent-encoded bytes that are no UTF-8, and NUL, stay so in decoded texts.
    [[nodiscard]] String *scheme() const;
    [[nodiscard]] String *host() const;
    [[nodiscard]] String *path() const; ///< Percent-decoded; without a trailing slash unless it is "/".
    [[nodiscard]] String *query() const;
    [[nodiscard]] String *fragment() const;
    /// The first value of a query parameter, percent-decoded; null when it is not there.
    [[nodiscard]] String *queryValue(std::string_view name) const;

    [[nodiscard]] bool isFileURL() const;
    /// The path in the file system of a file URL on this machine; empty otherwise, and when it would hold a
    /// NUL.
    [[nodiscard]] std::string fileSystemPath() const;

    /// Equal when text and base are.
    [[nodiscard]] bool isEqual(const Object *other) const override;
    [[nodiscard]] std::size_t hash() const override;
    [[nodiscard]] String *description() const override; ///< The absolute text.

    ~URL() override;

private:
    struct Parts;
    explicit URL(Parts *parsed) noexcept;
    Parts *parts;
};

} // namespace wickerlane

#endif
