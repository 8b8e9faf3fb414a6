// Ordered collections.
#ifndef WICKERLANE_PLATFORM_OBJECT_ARRAY_H
#define WICKERLANE_PLATFORM_OBJECT_ARRAY_H

#include <initializer_list>
#include <span>
#include <vector>

#include "wickerlane/platform/object/Object.h"

namespace wickerlane {

/// How an array holds elements of a kind it does not know. A null function: elements are not counted, are
/// described by their address, and are compared by identity. `allocator` is always null.
struct ArrayCallBacks {
    long version; ///< 0.
    const void *(*retain)(const void *allocator, const void *value);
    void (*release)(const void *allocator, const void *value);
    /// Gives an owned description, or null.
    String *(*copyDescription)(const void *value);
    bool (*equal)(const void *a, const void *b);
};

/// An immutable ordered collection of objects, or of what its callbacks say. Elements are never null
/// unless made with callbacks.
class WL_EXPORT Array : public Object {
    WL_OBJECT
public:
    [[nodiscard]] static Ref<Array> create(std::span<Object *const> elements = {});
    [[nodiscard]] static Ref<Array> create(std::initializer_list<Object *> elements);
    /// `callBacks` must stay valid as long as the array lives; null means plain pointers.
    [[nodiscard]] static Ref<Array> createWithCallBacks(std::span<const void *const> elements,
                                                        const ArrayCallBacks *callBacks);
    /// Borrowed form.
    static Array *of(std::initializer_list<Object *> elements);

    [[nodiscard]] std::size_t count() const noexcept { return elements.size(); }
    /// The element at an index below count(); lives as long as the array holds it.
    [[nodiscard]] Object *at(std::size_t index) const noexcept;
    [[nodiscard]] const void *valueAt(std::size_t index) const noexcept;
    /// False for an array that was made with callbacks.
    [[nodiscard]] bool holdsObjects() const noexcept;
    /// Of objects only.
    [[nodiscard]] Object *const *begin() const noexcept;
    [[nodiscard]] Object *const *end() const noexcept { return begin() + count(); }
    /// First position of an equal element; String::notFound when there is none.
    [[nodiscard]] std::size_t indexOf(const void *value) const;
    [[nodiscard]] bool contains(const void *value) const;
    /// Differs after every change of a mutable array: a loop over one can tell that it was changed
    /// meanwhile.
    [[nodiscard]] std::size_t changeCount() const noexcept { return changes; }

    [[nodiscard]] bool isEqual(const Object *other) const override;
    [[nodiscard]] std::size_t hash() const override;
    [[nodiscard]] String *description() const override;

    ~Array() override;

protected:
    explicit Array(const ArrayCallBacks *used) noexcept : callBacks(used) {}
    void appendRetained(const void *value);
    void releaseAll() noexcept;

    const ArrayCallBacks *callBacks;
    std::vector<const void *> elements;
    std::size_t changes = 0;
};

/// A collection that its owner may change.
class WL_EXPORT MutableArray : public Array {
    WL_OBJECT
public:
    [[nodiscard]] static Ref<MutableArray> create();
    [[nodiscard]] static Ref<MutableArray> create(const Array *copied);
    [[nodiscard]] static Ref<MutableArray> createWithCallBacks(const ArrayCallBacks *callBacks);
    void append(Object *element) { appendValue(element); }
    void appendValue(const void *value);
    void insert(Object *element, std::size_t index);
    void replace(std::size_t index, Object *element);
    void remove(std::size_t index);
    void removeAll();

private:
    using Array::Array;
};

} // namespace wickerlane

#endif
