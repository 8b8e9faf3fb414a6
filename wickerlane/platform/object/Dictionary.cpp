#include "wickerlane/platform/object/Dictionary.h"

#include "wickerlane/platform/object/DescriptionInternal.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/String.h"

namespace wickerlane {

constinit const Class Dictionary::classInfo{
    "Dictionary", &Object::classInfo, [] { return static_cast<Object *>(Dictionary::create().leak()); }};
constinit const Class MutableDictionary::classInfo{
    "MutableDictionary", &Dictionary::classInfo,
    [] { return static_cast<Object *>(MutableDictionary::create().leak()); }};
WL_BUILT_IN_CLASS(Dictionary);
WL_BUILT_IN_CLASS(MutableDictionary);

Ref<Dictionary> Dictionary::create(std::initializer_list<Entry> entries) {
    return create(std::span<const Entry>(entries.begin(), entries.size()));
}

Ref<Dictionary> Dictionary::create(std::span<const Entry> entries) {
    auto made = Ref<Dictionary>::adopt(new Dictionary);
    made->entries.reserve(entries.size());
    made->table.reserve(entries.size());
    for (const Entry &entry : entries)
        if (entry.value != nullptr)
            made->setEntry(entry.key, entry.value);
    return made;
}

Ref<Dictionary>
Dictionary::createWithKeys(std::initializer_list<std::pair<std::string_view, Object *>> entries) {
    auto made = Ref<Dictionary>::adopt(new Dictionary);
    for (const auto &[key, value] : entries)
        if (value != nullptr)
            made->setEntry(String::create(key).get(), value);
    return made;
}

Dictionary::~Dictionary() {
    for (const Entry &entry : entries) {
        entry.key->release();
        entry.value->release();
    }
}

std::size_t Dictionary::find(const Object *key) const {
    return table.find(key->hash(), [&](std::size_t i) { return entries[i].key->isEqual(key); });
}

void Dictionary::setEntry(Object *key, Object *value) {
    const std::size_t position =
        table.findOrAppend(key->hash(), [&](std::size_t i) { return entries[i].key->isEqual(key); });
    value->retain();
    if (position != entries.size()) {
        std::exchange(entries[position].value, value)->release();
        return;
    }
    key->retain();
    entries.push_back({key, value});
}

Object *Dictionary::get(const Object *key) const {
    const std::size_t found = find(key);
    return found == entries.size() ? nullptr : entries[found].value;
}

Object *Dictionary::get(std::string_view key) const {
    const std::size_t found = table.find(String::hashOfUTF8(key), [&](std::size_t i) {
        const auto *text = as<String>(entries[i].key);
        return text != nullptr && text->utf8() == key;
    });
    return found == entries.size() ? nullptr : entries[found].value;
}

bool Dictionary::isEqual(const Object *other) const {
    if (this == other)
        return true;
    const auto *dictionary = as<Dictionary>(other);
    if (dictionary == nullptr || dictionary->count() != count())
        return false;
    for (const auto &[key, value] : *this)
        if (!areEqual(value, dictionary->get(key)))
            return false;
    return true;
}

std::size_t Dictionary::hash() const {
    return count();
}

String *Dictionary::description() const {
    const DescriptionLevel level;
    if (level.tooDeep())
        return String::of("{...}");
    std::string text = "{";
    for (const auto &[key, value] : *this) {
        ReleaseScope scope;
        text += "\n" + level.indent() + describeElement(key) + " = " + describeElement(value) + ";";
    }
    if (count() != 0)
        text += "\n" + level.outerIndent();
    return String::of(text + "}");
}

Ref<MutableDictionary> MutableDictionary::create() {
    return Ref<MutableDictionary>::adopt(new MutableDictionary);
}

Ref<MutableDictionary> MutableDictionary::create(const Dictionary *copied) {
    auto made = create();
    for (const auto &[key, value] : *copied)
        made->setEntry(key, value);
    return made;
}

void MutableDictionary::set(Object *key, Object *value) {
    if (value == nullptr)
        remove(key);
    else
        setEntry(key, value);
}

void MutableDictionary::set(std::string_view key, Object *value) {
    if (value == nullptr)
        remove(key);
    else if (const auto text = String::create(key))
        setEntry(text.get(), value);
}

void MutableDictionary::remove(const Object *key) {
    const std::size_t found = find(key);
    if (found == entries.size())
        return;
    table.remove(key->hash(), found);
    const Entry removed = entries[found];
    entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(found));
    removed.key->release();
    removed.value->release();
}

void MutableDictionary::remove(std::string_view key) {
    if (const auto text = String::create(key))
        remove(text.get());
}

void MutableDictionary::removeAll() {
    std::vector<Entry> removed;
    removed.swap(entries);
    table.clear();
    for (const Entry &entry : removed) {
        entry.key->release();
        entry.value->release();
    }
}

} // namespace wickerlane
