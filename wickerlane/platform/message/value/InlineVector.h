// Short arrays without an allocation.
#ifndef WICKERLANE_PLATFORM_MESSAGE_VALUE_INLINEVECTOR_H
#define WICKERLANE_PLATFORM_MESSAGE_VALUE_INLINEVECTOR_H

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <new>
#include <type_traits>

namespace wickerlane {

/// A growing array of plain elements whose first few lie in the object itself.
template <class T, std::size_t inlineCount>
class InlineVector {
    static_assert(std::is_trivially_copyable_v<T>);

public:
    InlineVector() noexcept {} // leaves the elements as they are
    InlineVector(const InlineVector &) = delete;
    InlineVector &operator=(const InlineVector &) = delete;
    ~InlineVector() {
        if (elements != firstElements())
            std::free(elements);
    }
    [[nodiscard]] std::size_t size() const noexcept { return count; }
    [[nodiscard]] T *begin() const noexcept { return elements; }
    [[nodiscard]] T *end() const noexcept { return elements + count; }
    [[nodiscard]] T &operator[](std::size_t i) const noexcept { return elements[i]; }
    void reserve(std::size_t wanted) {
        if (wanted <= capacity)
            return;
        const bool moves = elements == firstElements();
        auto *grown = static_cast<T *>(std::realloc(moves ? nullptr : elements, wanted * sizeof(T)));
        if (grown == nullptr)
            throw std::bad_alloc();
        if (moves && count != 0)
            std::memcpy(grown, elements, count * sizeof(T));
        elements = grown;
        capacity = wanted;
    }
    T &append(const T &added) {
        if (count == capacity)
            reserve(capacity < 4 ? 8 : capacity * 2);
        elements[count] = added;
        return elements[count++];
    }
    void remove(std::size_t i) noexcept {
        std::memmove(elements + i, elements + i + 1, (count - i - 1) * sizeof(T));
        --count;
    }

private:
    [[nodiscard]] T *firstElements() noexcept { return reinterpret_cast<T *>(storage); }
    T *elements = firstElements();
    std::size_t count = 0;
    std::size_t capacity = inlineCount;
    alignas(T) std::byte storage[inlineCount == 0 ? 1 : inlineCount * sizeof(T)];
};

} // namespace wickerlane

#endif
