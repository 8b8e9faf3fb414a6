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

Ref<Object> createPropertyListObject(Bytes bytes, Ref<Error> *error, PropertyListFormat *format) {
    if (error != nullptr)
        *error = nullptr;
    const std::string_view text(reinterpret_cast<const char *>(bytes.data()), bytes.size());
    Failure failure;
    Ref<Object> root;
    PropertyListFormat found;
    if (text.starts_with("bplist")) {
        found = PropertyListFormat::binary;
        root = propertylist::readBinary(bytes, failure);
    } else if (looksLikeXML(text)) {
        found = PropertyListFormat::xml;
        root = propertylist::readXML(bytes, failure);
    } else {
        found = PropertyListFormat::text;
        root = propertylist::readText(bytes, failure);
    }
    if (format != nullptr)
        *format = found;
    if (!root)
        report(failure, error);
    return root;
}

namespace propertylist {

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
