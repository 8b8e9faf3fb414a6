// Errors and exceptions as objects.
#ifndef WICKERLANE_PLATFORM_OBJECT_ERROR_H
#define WICKERLANE_PLATFORM_OBJECT_ERROR_H

#include <exception>

#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/String.h"

namespace wickerlane {

/// Key under which an error's user information holds its localized description.
WL_EXPORT extern String *const localizedDescriptionKey;
/// Domain of errors whose code is an errno value.
WL_EXPORT extern String *const posixErrorDomain;
/// Domain of errors of the property-list and other platform readers.
WL_EXPORT extern String *const platformErrorDomain;

/// An immutable error: what failed in which vocabulary, with optional details.
class WL_EXPORT Error final : public Object {
    WL_OBJECT
public:
    [[nodiscard]] static Ref<Error> create(String *domain, std::int64_t code, Dictionary *userInfo = nullptr);
    /// With a localized description as its only user information.
    [[nodiscard]] static Ref<Error> createWithDescription(String *domain, std::int64_t code,
                                                          String *description);

    [[nodiscard]] String *domain() const noexcept { return errorDomain.get(); }
    [[nodiscard]] std::int64_t code() const noexcept { return errorCode; }
    [[nodiscard]] Dictionary *userInfo() const noexcept {
        return information.get();
    } ///< Null when there is none.
    /// The one in the user information, else a text made of domain and code; never null.
    [[nodiscard]] String *localizedDescription() const;

    [[nodiscard]] bool isEqual(const Object *other) const override;
    [[nodiscard]] std::size_t hash() const override;
    [[nodiscard]] String *description() const override; ///< "Error Domain=... Code=... "description"".

private:
    Error(String *domain, std::int64_t code, Dictionary *userInfo);
    Ref<String> errorDomain;
    std::int64_t errorCode;
    Ref<Dictionary> information;
};

/// The base of what the platform throws: a name and a reason. Platform code throws it for errors of
/// programming only; no call of the library throws to an application.
class WL_EXPORT Exception : public std::exception {
public:
    /// Either may be null.
    Exception(String *name, String *reason);
    [[nodiscard]] String *name() const noexcept { return exceptionName.get(); }     ///< May be null.
    [[nodiscard]] String *reason() const noexcept { return exceptionReason.get(); } ///< May be null.
    [[nodiscard]] const char *what() const noexcept override;
    /// What is said of it: the reason, else the name, else "exception". Borrowed.
    [[nodiscard]] virtual String *description() const;
    ~Exception() override;

private:
    Ref<String> exceptionName;
    Ref<String> exceptionReason;
};

} // namespace wickerlane

#endif
