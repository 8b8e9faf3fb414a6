// Collections of a photo library's items.
#ifndef WICKERLANE_UTIL_TEXTS_JXITEMCOLLECTION_H
#define WICKERLANE_UTIL_TEXTS_JXITEMCOLLECTION_H

#include <cstdint>
#include <iterator>
#include <memory>
#include <ranges>
#include <type_traits>

/// The kind of an item, as its assetKind() returns it. Texts call the last two "items".
enum JXAssetKind : std::int16_t {
    JXAssetKindPhoto = 0,
    JXAssetKindVideo = 1,
    JXAssetKindThird = 2,
    JXAssetKindFourth = 3,
};

namespace wickerlane {

/// An object with a member function assetKind() that returns a number, or a pointer to one (plain, Ref or
/// smart).
template <class Item>
concept HasAssetKind = requires(Item &item) {
    static_cast<std::uint16_t>(item.assetKind());
}
|| requires(Item &item) {
    static_cast<std::uint16_t>(item->assetKind());
};

template <class Range>
concept RangeOfItems =
    std::ranges::forward_range<Range> && HasAssetKind<std::ranges::range_reference_t<Range>>;

} // namespace wickerlane

/// A view of any range of items: `JXSuffixForItems(selectedPhotos)`. It refers to the range and must not
/// outlive it. Only the low 16 bits of a kind count.
class JXItemCollection {
public:
    template <class Range>
    requires(!std::same_as<std::remove_cvref_t<Range>, JXItemCollection> && wickerlane::RangeOfItems<Range>)
        JXItemCollection(Range &&items)
    noexcept
        : range(const_cast<void *>(static_cast<const volatile void *>(std::addressof(items)))),
          counted(&countOf<std::remove_reference_t<Range>>), walked(&walk<std::remove_reference_t<Range>>) {}

    [[nodiscard]] std::uint64_t count() const { return counted(range); }

    /// Calls `visit(std::uint16_t kind)` for the items in their order, until it returns false.
    template <class Visit>
    void forEachKind(Visit visit) const {
        walked(
            range,
            [](void *context, std::uint16_t kind) -> bool { return (*static_cast<Visit *>(context))(kind); },
            &visit);
    }

private:
    using Visitor = bool (*)(void *context, std::uint16_t kind);

    template <class Range>
    static std::uint64_t countOf(void *items) {
        return static_cast<std::uint64_t>(std::ranges::distance(*static_cast<Range *>(items)));
    }
    template <class Range>
    static void walk(void *items, Visitor visit, void *context) {
        for (auto &&item : *static_cast<Range *>(items)) {
            std::uint16_t kind = 0;
            if constexpr (requires { item.assetKind(); })
                kind = static_cast<std::uint16_t>(item.assetKind());
            else
                kind = static_cast<std::uint16_t>(item->assetKind());
            if (!visit(context, kind))
                return;
        }
    }

    void *range;
    std::uint64_t (*counted)(void *);
    void (*walked)(void *, Visitor, void *);
};

#endif
