// A text is read as a UUID exactly when it has the form of one, and what is read spells the same.
#include <array>
#include <cctype>
#include <cstdint>
#include <cstdlib>

#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/util/uuid/JXUUIDString.h"

using namespace wickerlane;

namespace {

bool isUUID(std::string_view text) {
    constexpr std::string_view form = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
    if (text.size() != form.size())
        return false;
    for (std::size_t i = 0; i < form.size(); ++i)
        if (form[i] == '-' ? text[i] != '-' : std::isxdigit(static_cast<unsigned char>(text[i])) == 0)
            return false;
    return true;
}

void require(bool holds) {
    if (!holds)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size) {
    const ReleaseScope scope;
    const auto text = String::create(std::string_view(reinterpret_cast<const char *>(bytes), size));
    if (!text)
        return 0;
    const Data *data = JXUUIDDataFromString(text.get());
    const UUIDBytes value = JXUUIDBytesFromString(text.get());
    require((data != nullptr) == isUUID(text->utf8()));
    const auto uuid = JXUUIDString::initWithBaseUUIDBytes(value);
    // Any string meets a UUID string as it meets a plain one of the same text.
    const auto plain = String::create(uuid->utf8());
    require(text->isEqual(uuid.get()) == text->isEqual(plain.get()));
    require(uuid->isEqual(text.get()) == plain->isEqual(text.get()));
    require(text->compare(uuid.get()) == text->compare(plain.get()));
    require(uuid->compare(text.get()) == plain->compare(text.get()));
    if (data == nullptr) {
        require(value == UUIDBytes{});
        return 0;
    }
    require(JXStringFromUUIDData(data)->isEqual(text->uppercase()));
    require(uuid->isEqual(text->uppercase()) && uuid->hash() == text->uppercase()->hash());
    return 0;
}
