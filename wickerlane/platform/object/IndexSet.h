// Sets of unsigned integers.
#ifndef WICKERLANE_PLATFORM_OBJECT_INDEXSET_H
#define WICKERLANE_PLATFORM_OBJECT_INDEXSET_H

#include <span>
#include <vector>

#include "wickerlane/platform/object/String.h"

namespace wickerlane {

/// An immutable set of indices, kept as ascending ranges that neither overlap nor touch.
class WL_EXPORT IndexSet : public Object {
    WL_OBJECT
public:
    [[nodiscard]] static Ref<IndexSet> create(std::initializer_list<std::size_t> indices = {});

    [[nodiscard]] std::size_t count() const noexcept;
    [[nodiscard]] bool contains(std::size_t index) const noexcept;
    /// Valid until the set changes.
    [[nodiscard]] std::span<const Range> ranges() const noexcept { return sorted; }

    [[nodiscard]] bool isEqual(const Object *other) const override;
    [[nodiscard]] std::size_t hash() const override;
    [[nodiscard]] String *description() const override; ///< "{0-2, 5, 9-10}"

protected:
    IndexSet() = default;
    std::vector<Range> sorted;
};

/// A set that its owner may change. Ranges are cut where they would pass the largest index, which is one
/// below String::notFound.
class WL_EXPORT MutableIndexSet final : public IndexSet {
    WL_OBJECT
public:
    [[nodiscard]] static Ref<MutableIndexSet> create();
    void add(Range range);
    void add(std::size_t index) { add(Range{index, 1}); }
    void remove(Range range);

private:
    MutableIndexSet() = default;
};

} // namespace wickerlane

#endif
