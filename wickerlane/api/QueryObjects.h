// The classes behind queries and their pages. Applications use them through the C functions alone.
#ifndef WICKERLANE_API_QUERYOBJECTS_H
#define WICKERLANE_API_QUERYOBJECTS_H

#include <utility>
#include <vector>

#include "wickerlane/model/AssetChange.h"
#include "wickerlane/model/AssetFiles.h"
#include "wickerlane/model/AssetQuery.h"
#include "wickerlane/model/Moments.h"
#include "wickerlane/model/Trash.h"

namespace wickerlane {

/// A query that is put together step by step.
class WL_EXPORT AssetQueryObject final : public Object {
    WL_OBJECT
public:
    AssetQuery query;
};

/// A record as an immutable object.
template <class Record>
class WL_EXPORT RecordObject final : public Object {
    WL_OBJECT
public:
    explicit RecordObject(Record record) : known(std::move(record)) {}
    [[nodiscard]] const Record &record() const noexcept { return known; }

private:
    const Record known;
};

/// What a query has given, and the query for the page that follows, which has no cursor after the last one.
/// Immutable.
template <class Query, class Item>
class WL_EXPORT PageObject final : public Object {
    WL_OBJECT
public:
    PageObject(Query next, std::vector<Ref<Item>> given)
        : following(std::move(next)), held(std::move(given)) {}
    [[nodiscard]] const Query &next() const noexcept { return following; }
    [[nodiscard]] bool isLast() const noexcept { return following.cursor.empty(); }
    [[nodiscard]] std::size_t count() const noexcept { return held.size(); }
    /// Null when there is none.
    [[nodiscard]] Item *at(std::size_t index) const {
        return index < held.size() ? held[index].get() : nullptr;
    }

private:
    const Query following;
    const std::vector<Ref<Item>> held;
};

using SectionsObject = RecordObject<std::vector<AssetSection>>;
using ChangesObject = RecordObject<ChangesPage>;
using MomentObject = RecordObject<MomentRecord>;
using DuplicatesObject = RecordObject<DuplicatesRecord>;
using MomentListsObject = RecordObject<std::vector<MomentListRecord>>;
using FeedObject = RecordObject<std::vector<FeedEntryRecord>>;
using CompanionsObject = RecordObject<std::vector<CompanionRecord>>;
using TrashedObject = RecordObject<TrashedAsset>;
using AssetPageObject = PageObject<AssetQuery, ManagedAsset>;
using MomentPageObject = PageObject<MomentQuery, MomentObject>;
using DuplicatesPageObject = PageObject<DuplicatesQuery, DuplicatesObject>;
using TrashPageObject = PageObject<TrashQuery, TrashedObject>;

template <>
const Class SectionsObject::classInfo;
template <>
const Class ChangesObject::classInfo;
template <>
const Class MomentObject::classInfo;
template <>
const Class DuplicatesObject::classInfo;
template <>
const Class MomentListsObject::classInfo;
template <>
const Class FeedObject::classInfo;
template <>
const Class CompanionsObject::classInfo;
template <>
const Class TrashedObject::classInfo;
template <>
const Class TrashPageObject::classInfo;
template <>
const Class AssetPageObject::classInfo;
template <>
const Class MomentPageObject::classInfo;
template <>
const Class DuplicatesPageObject::classInfo;

} // namespace wickerlane

#endif
