#include "wickerlane/platform/object/Error.h"

#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane {

constinit const Class Error::classInfo{"Error", &Object::classInfo, nullptr};
WL_BUILT_IN_CLASS(Error);

namespace {
WL_IMMORTAL Immortal<ConstantString> localizedDescriptionText{"LocalizedDescription"};
WL_IMMORTAL Immortal<ConstantString> posixText{"POSIX"};
WL_IMMORTAL Immortal<ConstantString> platformText{"WickerlanePlatform"};
} // namespace

constinit String *const localizedDescriptionKey = localizedDescriptionText.get();
constinit String *const posixErrorDomain = posixText.get();
constinit String *const platformErrorDomain = platformText.get();

Error::Error(String *domain, std::int64_t code, Dictionary *userInfo)
    : errorDomain(domain), errorCode(code), information(userInfo) {
}

Ref<Error> Error::create(String *domain, std::int64_t code, Dictionary *userInfo) {
    return Ref<Error>::adopt(new Error(domain, code, userInfo));
}

Ref<Error> Error::createWithDescription(String *domain, std::int64_t code, String *description) {
    return create(domain, code, Dictionary::create({{localizedDescriptionKey, description}}).get());
}

String *Error::localizedDescription() const {
    if (information)
        if (auto *text = as<String>(information->get(localizedDescriptionKey)))
            return text;
    return String::format("The operation could not be completed. (%@ error %lld)", errorDomain.get(),
                          static_cast<long long>(errorCode));
}

bool Error::isEqual(const Object *other) const {
    const auto *error = as<Error>(other);
    return error != nullptr && error->errorCode == errorCode &&
           areEqual(errorDomain.get(), error->domain()) && areEqual(information.get(), error->userInfo());
}

std::size_t Error::hash() const {
    return errorDomain->hash() ^ static_cast<std::size_t>(errorCode);
}

String *Error::description() const {
    return String::format("Error Domain=%@ Code=%lld \"%@\"", errorDomain.get(),
                          static_cast<long long>(errorCode), localizedDescription());
}

Exception::Exception(String *name, String *reason) : exceptionName(name), exceptionReason(reason) {
}

Exception::~Exception() = default;

String *Exception::description() const {
    if (exceptionReason)
        return exceptionReason.get();
    return exceptionName ? exceptionName.get() : String::of("exception");
}

const char *Exception::what() const noexcept {
    if (exceptionReason)
        return exceptionReason->UTF8String();
    return exceptionName ? exceptionName->UTF8String() : "exception";
}

} // namespace wickerlane
