#include "wickerlane/platform/object/Data.h"

#include <algorithm>
#include <cstring>

#include "wickerlane/platform/object/Hexadecimal.h"
#include "wickerlane/platform/object/KeyedHash.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane {

constinit const Class Data::classInfo{"Data", &Object::classInfo,
                                      [] { return static_cast<Object *>(Data::create({}).leak()); }};
constinit const Class MutableData::classInfo{
    "MutableData", &Data::classInfo, [] { return static_cast<Object *>(MutableData::create().leak()); }};
WL_BUILT_IN_CLASS(Data);
WL_BUILT_IN_CLASS(MutableData);

namespace {

class OwnedData final : public Data {
public:
    explicit OwnedData(std::vector<std::byte> bytes) noexcept : storage(std::move(bytes)) {}
    [[nodiscard]] const void *bytes() const override { return storage.data(); }
    [[nodiscard]] std::size_t length() const override { return storage.size(); }

private:
    std::vector<std::byte> storage;
};

class LentData final : public Data {
public:
    LentData(Bytes bytes, Handler<void()> atEnd) noexcept : lent(bytes), destructor(std::move(atEnd)) {}
    ~LentData() override {
        if (destructor)
            destructor();
    }
    [[nodiscard]] const void *bytes() const override { return lent.data(); }
    [[nodiscard]] std::size_t length() const override { return lent.size(); }

private:
    Bytes lent;
    Handler<void()> destructor;
};

} // namespace

Ref<Data> Data::create(Bytes copied) {
    return makeRef<OwnedData>(std::vector<std::byte>(copied.begin(), copied.end()));
}

Ref<Data> Data::create(const void *copied, std::size_t length) {
    return create(Bytes(static_cast<const std::byte *>(copied), length));
}

Ref<Data> Data::createAdopting(std::vector<std::byte> bytes) {
    return makeRef<OwnedData>(std::move(bytes));
}

Ref<Data> Data::createLending(Bytes lent, Handler<void()> destructor) {
    return makeRef<LentData>(lent, std::move(destructor));
}

void Data::getBytes(void *destination, std::size_t count) const {
    getBytes(destination, Range{0, count});
}

void Data::getBytes(void *destination, Range range) const {
    const Bytes all = span();
    if (range.location >= all.size())
        return;
    const std::size_t count = std::min(range.length, all.size() - range.location);
    if (count != 0)
        std::memcpy(destination, all.data() + range.location, count);
}

bool Data::isEqual(const Object *other) const {
    if (this == other)
        return true;
    const auto *data = as<Data>(other);
    return data != nullptr && std::ranges::equal(span(), data->span());
}

std::size_t Data::hash() const {
    // Most data differ in length or in their first bytes; equality looks at the rest.
    const Bytes all = span();
    const auto *start = reinterpret_cast<const char *>(all.data());
    return keyedHash({start, std::min<std::size_t>(all.size(), 256)}) ^ all.size();
}

String *Data::description() const {
    const Bytes all = span();
    std::string text = "<";
    text.reserve(all.size() * 9 / 4 + 2);
    for (std::size_t i = 0; i < all.size(); i += 4) {
        if (i != 0)
            text += ' ';
        text += hexadecimal(all.subspan(i, std::min<std::size_t>(4, all.size() - i)));
    }
    text += '>';
    return String::of(text);
}

Ref<MutableData> MutableData::create(std::size_t length) {
    auto made = makeRef<MutableData>();
    made->setLength(length);
    return made;
}

void MutableData::append(Bytes added) {
    storage.insert(storage.end(), added.begin(), added.end());
}

void MutableData::setLength(std::size_t length) {
    storage.resize(length);
}

} // namespace wickerlane
