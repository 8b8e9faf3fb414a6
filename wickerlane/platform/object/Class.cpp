#include <mutex>
#include <shared_mutex>
#include <vector>

#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Data.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/Error.h"
#include "wickerlane/platform/object/IndexSet.h"
#include "wickerlane/platform/object/ManagedObjectID.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/String.h"
#include "wickerlane/platform/object/URL.h"

namespace wickerlane {
namespace {

constexpr const Class *builtIn[] = {
    &Object::classInfo,
    &String::classInfo,
    &MutableString::classInfo,
    &Data::classInfo,
    &MutableData::classInfo,
    &Number::classInfo,
    &Date::classInfo,
    &UUID::classInfo,
    &URL::classInfo,
    &IndexSet::classInfo,
    &MutableIndexSet::classInfo,
    &Array::classInfo,
    &MutableArray::classInfo,
    &Dictionary::classInfo,
    &MutableDictionary::classInfo,
    &Error::classInfo,
    &ManagedObjectID::classInfo,
};

struct Registry {
    std::shared_mutex mutex;
    std::vector<const Class *> classes;
};

Registry &registry() {
    static Registry &made = *new Registry;
    return made;
}

template <class Classes>
const Class *find(const Classes &classes, std::string_view name) {
    for (const Class *each : classes)
        if (name == each->name)
            return each;
    return nullptr;
}

} // namespace

const Class *classNamed(std::string_view name) {
    if (const Class *found = find(builtIn, name))
        return found;
    Registry &r = registry();
    const std::shared_lock lock(r.mutex);
    return find(r.classes, name);
}

bool registerClass(const Class *added) {
    if (const Class *found = find(builtIn, added->name))
        return found == added;
    Registry &r = registry();
    const std::unique_lock lock(r.mutex);
    if (const Class *found = find(r.classes, added->name))
        return found == added;
    r.classes.push_back(added);
    return true;
}

} // namespace wickerlane
