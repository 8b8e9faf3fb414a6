#include "wickerlane/platform/propertylist/PropertyList.h"

#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/propertylist/PropertyListInternal.h"

namespace wickerlane {

namespace {

using propertylist::Failure;

void report(const Failure &failure, Ref<Error> *error) {
    if (error == nullptr)
        return;
    ReleaseScope scope;
    // Reasons may quote foreign text, but only such that was found to be valid UTF-8.
    *error = Error::createWithDescription(platformErrorDomain, static_cast<std::int64_t>(failure.code),
                                          String::of("Property list: " + failure.reason + "."));
}

// Byte order marks and the zero halves of UTF-16 are passed over, so that one look serves every encoding.
bool looksLikeXML(std::string_view text) {
    std::string start;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (byte == 0 || byte >= 0x80 || (start.empty() && byte <= ' '))
            continue;
        start += c;
        if (start.front() != '<')
            return false;
        if (start == "<?" || start == "<!" || start == "<plist")
            return true;
        if (!std::string_view("<plist").starts_with(start))
            return false;
    }
    return false;
}

} // namespace

Ref<Data> createPropertyListData(const Object *root, Ref<Error> *error) {
    if (error != nullptr)
        *error = nullptr;
    if (root == nullptr)
        return {};
    Failure failure;
    auto data = propertylist::writeBinary(root, failure);
    if (!data)
        report(failure, error);
    return data;
}

Ref<Object> createPropertyListObject(Bytes bytes, Ref<Error> *error, PropertyListFormat *format,
                                     std::size_t memory) {
    if (error != nullptr)
        *error = nullptr;
    const std::string_view text(reinterpret_cast<const char *>(bytes.data()), bytes.size());
    Failure failure;
    const propertylist::MemoryLeft left(memory);
    Ref<Object> root;
    PropertyListFormat found;
    if (text.starts_with("bplist")) {
        found = PropertyListFormat::binary;
        root = propertylist::readBinary(bytes, left, failure);
    } else if (looksLikeXML(text)) {
        found = PropertyListFormat::xml;
        root = propertylist::readXML(bytes, left, failure);
    } else {
        found = PropertyListFormat::text;
        root = propertylist::readText(bytes, left, failure);
    }
    if (format != nullptr)
        *format = found;
    if (!root)
        report(failure, error);
    return root;
}

namespace propertylist {

bool MemoryLeft::take(const Object *made) {
    constexpr std::size_t object = 64, reference = 8, dictionary = 192, entry = 32;
    if (const auto *text = as<String>(made))
        return take(object + text->utf8().size());
    if (const auto *data = as<Data>(made))
        return take(object + data->length());
    if (const auto *array = as<Array>(made))
        return take(object + array->count() * reference);
    if (const auto *pairs = as<Dictionary>(made))
        return take(dictionary + pairs->count() * entry);
    return take(object);
}

void TreeBuilder::close() {
    const Frame frame = frames.back();
    frames.pop_back();
    const std::span<Object *const> held = std::span(values).subspan(frame.firstValue);
    Ref<Object> made;
    if (frame.isDictionary) {
        if (held.empty() && !emptyDictionary)
            emptyDictionary = Dictionary::create();
        std::vector<Dictionary::Entry> entries;
        entries.reserve(held.size() / 2);
        for (std::size_t i = 0; i + 1 < held.size(); i += 2)
            entries.push_back({held[i], held[i + 1]});
        made = held.empty() ? emptyDictionary : Dictionary::create(entries);
    } else {
        if (held.empty() && !emptyArray)
            emptyArray = Array::create();
        made = held.empty() ? emptyArray : Array::create(held);
    }
    for (Object *value : held)
        value->release();
    values.resize(frame.firstValue);
    add(std::move(made));
}

} // namespace propertylist

} // namespace wickerlane
