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

namespace {
// Up to here, comparing the stored hashes one by one beats any index.
constexpr std::size_t mostWithoutIndex = 8;
} // namespace

Ref<Dictionary> Dictionary::create(std::initializer_list<Entry> entries) {
    return create(std::span<const Entry>(entries.begin(), entries.size()));
}

Ref<Dictionary> Dictionary::create(std::span<const Entry> entries) {
    auto made = Ref<Dictionary>::adopt(new Dictionary);
    made->entries.reserve(entries.size());
    made->hashes.reserve(entries.size());
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

template <class Matches>
std::size_t Dictionary::find(std::size_t hash, Matches matches) const {
    if (index.empty()) {
        for (std::size_t i = 0; i < entries.size(); ++i)
            if (hashes[i] == hash && matches(entries[i].key))
                return i;
        return entries.size();
    }
    const std::size_t mask = index.size() - 1;
    for (std::size_t slot = hash & mask; index[slot] != 0; slot = (slot + 1) & mask) {
        const std::size_t i = index[slot] - 1;
        if (hashes[i] == hash && matches(entries[i].key))
            return i;
    }
    return entries.size();
}

void Dictionary::rebuildIndex() {
    index.clear();
    if (entries.size() <= mostWithoutIndex)
        return;
    std::size_t slots = 32;
    while (slots < entries.size() * 3)
        slots *= 2;
    index.assign(slots, 0);
    for (std::size_t i = 0; i < entries.size(); ++i) {
        std::size_t slot = hashes[i] & (slots - 1);
        while (index[slot] != 0)
            slot = (slot + 1) & (slots - 1);
        index[slot] = static_cast<std::uint32_t>(i + 1);
    }
}

void Dictionary::setEntry(Object *key, Object *value) {
    const std::size_t hash = key->hash();
    const std::size_t found = find(hash, [&](Object *held) { return held->isEqual(key); });
    value->retain();
    if (found != entries.size()) {
        std::exchange(entries[found].value, value)->release();
        return;
    }
    key->retain();
    entries.push_back({key, value});
    hashes.push_back(hash);
    if (index.empty() ? entries.size() > mostWithoutIndex : entries.size() * 3 > index.size() * 2) {
        rebuildIndex();
    } else if (!index.empty()) {
        std::size_t slot = hash & (index.size() - 1);
        while (index[slot] != 0)
            slot = (slot + 1) & (index.size() - 1);
        index[slot] = static_cast<std::uint32_t>(entries.size());
    }
}

Object *Dictionary::get(const Object *key) const {
    const std::size_t found = find(key->hash(), [&](Object *held) { return held->isEqual(key); });
    return found == entries.size() ? nullptr : entries[found].value;
}

Object *Dictionary::get(std::string_view key) const {
    const std::size_t found = find(String::hashOfUTF8(key), [&](Object *held) {
        const auto *text = as<String>(held);
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
    const std::size_t found = find(key->hash(), [&](Object *held) { return held->isEqual(key); });
    if (found == entries.size())
        return;
    const Entry removed = entries[found];
    entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(found));
    hashes.erase(hashes.begin() + static_cast<std::ptrdiff_t>(found));
    rebuildIndex();
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
    hashes.clear();
    index.clear();
    for (const Entry &entry : removed) {
        entry.key->release();
        entry.value->release();
    }
}

} // namespace wickerlane
