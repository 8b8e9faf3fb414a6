#include "wickerlane/platform/object/IndexSet.h"

#include <algorithm>

namespace wickerlane {

constinit const Class IndexSet::classInfo{"IndexSet", &Object::classInfo,
                                          [] { return static_cast<Object *>(IndexSet::create().leak()); }};
constinit const Class MutableIndexSet::classInfo{
    "MutableIndexSet", &IndexSet::classInfo,
    [] { return static_cast<Object *>(MutableIndexSet::create().leak()); }};
WL_BUILT_IN_CLASS(IndexSet);
WL_BUILT_IN_CLASS(MutableIndexSet);

namespace {

// One past the range's last index, cut where it would pass the largest index.
std::size_t endOf(Range range) noexcept {
    return range.length > String::notFound - range.location ? String::notFound
                                                            : range.location + range.length;
}

// The first of the ascending ranges that ends at `index` or behind it.
auto firstReaching(auto &ranges, std::size_t index) noexcept {
    return std::ranges::lower_bound(ranges, index, {}, endOf);
}

} // namespace

Ref<IndexSet> IndexSet::create(std::initializer_list<std::size_t> indices) {
    auto made = Ref<IndexSet>::adopt(new IndexSet);
    std::vector<std::size_t> ascending(indices);
    std::ranges::sort(ascending);
    for (const std::size_t index : ascending) {
        if (index == String::notFound)
            break;
        if (!made->sorted.empty() && endOf(made->sorted.back()) >= index)
            made->sorted.back().length = index + 1 - made->sorted.back().location;
        else
            made->sorted.push_back({index, 1});
    }
    return made;
}

std::size_t IndexSet::count() const noexcept {
    std::size_t sum = 0;
    for (const Range &range : sorted)
        sum += range.length;
    return sum;
}

bool IndexSet::contains(std::size_t index) const noexcept {
    const auto after = std::ranges::upper_bound(sorted, index, {}, &Range::location);
    return after != sorted.begin() && index < endOf(after[-1]);
}

bool IndexSet::isEqual(const Object *other) const {
    const auto *set = as<IndexSet>(other);
    return set != nullptr && set->sorted == sorted;
}

std::size_t IndexSet::hash() const {
    return sorted.empty() ? 0 : sorted.front().location * 31 + endOf(sorted.back());
}

String *IndexSet::description() const {
    std::string text = "{";
    for (const Range &range : sorted) {
        if (text.size() > 1)
            text += ", ";
        text += std::to_string(range.location);
        if (range.length > 1)
            text += "-" + std::to_string(endOf(range) - 1);
    }
    return String::of(text + "}");
}

Ref<MutableIndexSet> MutableIndexSet::create() {
    return Ref<MutableIndexSet>::adopt(new MutableIndexSet);
}

void MutableIndexSet::add(Range range) {
    std::size_t start = range.location;
    std::size_t end = endOf(range);
    if (start >= end)
        return;
    const auto first = firstReaching(sorted, start);
    auto last = first;
    for (; last != sorted.end() && last->location <= end; ++last) {
        start = std::min(start, last->location);
        end = std::max(end, endOf(*last));
    }
    if (first == last)
        sorted.insert(first, {start, end - start});
    else {
        *first = {start, end - start};
        sorted.erase(first + 1, last);
    }
}

void MutableIndexSet::remove(Range range) {
    const std::size_t start = range.location;
    const std::size_t end = endOf(range);
    if (start >= end)
        return;
    std::vector<Range> kept;
    kept.reserve(sorted.size() + 1);
    for (const Range &each : sorted) {
        const std::size_t eachEnd = endOf(each);
        if (each.location < start)
            kept.push_back({each.location, std::min(eachEnd, start) - each.location});
        if (eachEnd > end) {
            const std::size_t from = std::max(each.location, end);
            kept.push_back({from, eachEnd - from});
        }
    }
    // A range wholly before or behind the removed one was kept once, by one of the two cases.
    sorted.swap(kept);
}

} // namespace wickerlane
