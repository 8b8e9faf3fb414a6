#include "wickerlane/api/QueryObjects.h"

namespace wickerlane {

constinit const Class AssetQueryObject::classInfo{"AssetQuery", &Object::classInfo, nullptr};
template <>
constinit const Class SectionsObject::classInfo{"AssetSections", &Object::classInfo, nullptr};
template <>
constinit const Class ChangesObject::classInfo{"Changes", &Object::classInfo, nullptr};
template <>
constinit const Class MomentObject::classInfo{"Moment", &Object::classInfo, nullptr};
template <>
constinit const Class DuplicatesObject::classInfo{"Duplicates", &Object::classInfo, nullptr};
template <>
constinit const Class MomentListsObject::classInfo{"MomentLists", &Object::classInfo, nullptr};
template <>
constinit const Class FeedObject::classInfo{"Feed", &Object::classInfo, nullptr};
template <>
constinit const Class CompanionsObject::classInfo{"Companions", &Object::classInfo, nullptr};
template <>
constinit const Class TrashedObject::classInfo{"Trashed", &Object::classInfo, nullptr};
template <>
constinit const Class TrashPageObject::classInfo{"TrashPage", &Object::classInfo, nullptr};
template <>
constinit const Class AssetPageObject::classInfo{"AssetPage", &Object::classInfo, nullptr};
template <>
constinit const Class MomentPageObject::classInfo{"MomentPage", &Object::classInfo, nullptr};
template <>
constinit const Class DuplicatesPageObject::classInfo{"DuplicatesPage", &Object::classInfo, nullptr};

} // namespace wickerlane
