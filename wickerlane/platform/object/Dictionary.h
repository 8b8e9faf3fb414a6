// Key-to-value collections.
#ifndef WICKERLANE_PLATFORM_OBJECT_DICTIONARY_H
#define WICKERLANE_PLATFORM_OBJECT_DICTIONARY_H

#include <initializer_list>
#include <span>
#include <string_view>
#include <vector>

#include "wickerlane/platform/object/HashTable.h"
#include "wickerlane/platform/object/Object.h"

namespace wickerlane {

/// An immutable mapping. Keys are compared by isEqual() and hash(); keys and values are never null. Walking
/// it gives the entries in the order in which the keys were first set.
class WL_EXPORT Dictionary : public Object {
    WL_OBJECT
public:
    struct Entry {
        Object *key;
        Object *value;
    };

    /// Of equal keys the last one's value counts. Entries with a null value are left out.
    [[nodiscard]] static Ref<Dictionary> create(std::initializer_list<Entry> entries = {});
    [[nodiscard]] static Ref<Dictionary> create(std::span<const Entry> entries);
    /// With text keys, which must be valid UTF-8.
    [[nodiscard]] static Ref<Dictionary>
    createWithKeys(std::initializer_list<std::pair<std::string_view, Object *>> entries);

    [[nodiscard]] std::size_t count() const noexcept { return entries.size(); }
    /// Null when there is none; lives as long as the dictionary holds it.
    [[nodiscard]] Object *get(const Object *key) const;
    [[nodiscard]] Object *get(std::string_view key) const;
    /// The value when it is of that class, else null.
    template <class T>
    [[nodiscard]] T *get(std::string_view key) const {
        return as<T>(get(key));
    }
    [[nodiscard]] const Entry *begin() const noexcept { return entries.data(); }
    [[nodiscard]] const Entry *end() const noexcept { return entries.data() + entries.size(); }

    /// Equal when the same keys have equal values, in whatever order.
    [[nodiscard]] bool isEqual(const Object *other) const override;
    [[nodiscard]] std::size_t hash() const override;
    [[nodiscard]] String *description() const override;

    ~Dictionary() override;

protected:
    Dictionary() = default;
    void setEntry(Object *key, Object *value);
    /// The position of the key's entry; entries.size() when there is none.
    [[nodiscard]] std::size_t find(const Object *key) const;

    std::vector<Entry> entries;
    HashTable table; // of the keys
};

/// A mapping that its owner may change.
class WL_EXPORT MutableDictionary : public Dictionary {
    WL_OBJECT
public:
    [[nodiscard]] static Ref<MutableDictionary> create();
    [[nodiscard]] static Ref<MutableDictionary> create(const Dictionary *copied);
    /// A null value removes the key.
    void set(Object *key, Object *value);
    void set(std::string_view key, Object *value);
    void remove(const Object *key);
    void remove(std::string_view key);
    void removeAll();

private:
    MutableDictionary() = default;
};

} // namespace wickerlane

#endif
