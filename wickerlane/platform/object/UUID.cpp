#include <uuid/uuid.h>

#include <cstring>

#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/String.h"

namespace wickerlane {

constinit const Class UUID::classInfo{"UUID", &Object::classInfo,
                                      [] { return static_cast<Object *>(UUID::createRandom().leak()); }};
WL_BUILT_IN_CLASS(UUID);

Ref<UUID> UUID::createRandom() {
    auto made = Ref<UUID>::adopt(new UUID);
    uuid_generate_random(made->value);
    return made;
}

Ref<UUID> UUID::createWithBytes(const Raw &bytes) {
    auto made = Ref<UUID>::adopt(new UUID);
    std::memcpy(made->value, bytes, sizeof bytes);
    return made;
}

Ref<UUID> UUID::createWithText(std::string_view text) {
    auto made = Ref<UUID>::adopt(new UUID);
    if (uuid_parse_range(text.data(), text.data() + text.size(), made->value) != 0)
        return {};
    return made;
}

String *UUID::uuidString() const {
    char text[UUID_STR_LEN];
    uuid_unparse_upper(value, text);
    return String::of(text);
}

bool UUID::isEqual(const Object *other) const {
    const auto *uuid = as<UUID>(other);
    return uuid != nullptr && std::memcmp(value, uuid->value, sizeof value) == 0;
}

std::size_t UUID::hash() const {
    // Of a random UUID, any eight bytes tell it apart; of one made from a time, the first eight do.
    std::size_t start = 0;
    std::memcpy(&start, value, sizeof start);
    return start;
}

String *UUID::description() const {
    return uuidString();
}

} // namespace wickerlane
