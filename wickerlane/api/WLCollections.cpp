#include "wickerlane/api/WLCollections.h"

#include <algorithm>

using namespace wickerlane;

namespace {

const Dictionary::Entry *entryAt(const Dictionary *dictionary, std::size_t index) {
    return dictionary != nullptr && index < dictionary->count() ? dictionary->begin() + index : nullptr;
}

} // namespace

WLArray *WLArrayCreate(WLObject *const *elements, size_t count) {
    const std::span objects(elements, elements != nullptr ? count : 0);
    if (objects.size() != count || std::ranges::find(objects, nullptr) != objects.end())
        return nullptr;
    return Array::create(objects).leak();
}

size_t WLArrayCount(const WLArray *array) {
    return array != nullptr ? array->count() : 0;
}

WLObject *WLArrayGet(const WLArray *array, size_t index) {
    return array != nullptr && index < array->count() && array->holdsObjects() ? array->at(index) : nullptr;
}

WLDictionary *WLDictionaryCreate(const char *const *keys, WLObject *const *values, size_t count) {
    if (count != 0 && (keys == nullptr || values == nullptr))
        return nullptr;
    auto dictionary = MutableDictionary::create();
    for (std::size_t i = 0; i < count; ++i) {
        const auto key = String::create(keys[i]);
        if (!key || values[i] == nullptr)
            return nullptr;
        dictionary->set(key.get(), values[i]);
    }
    return dictionary.leak();
}

size_t WLDictionaryCount(const WLDictionary *dictionary) {
    return dictionary != nullptr ? dictionary->count() : 0;
}

WLObject *WLDictionaryGet(const WLDictionary *dictionary, const char *key) {
    return dictionary != nullptr && key != nullptr ? dictionary->get(key) : nullptr;
}

WLObject *WLDictionaryKeyAt(const WLDictionary *dictionary, size_t index) {
    const Dictionary::Entry *entry = entryAt(dictionary, index);
    return entry != nullptr ? entry->key : nullptr;
}

WLObject *WLDictionaryValueAt(const WLDictionary *dictionary, size_t index) {
    const Dictionary::Entry *entry = entryAt(dictionary, index);
    return entry != nullptr ? entry->value : nullptr;
}
