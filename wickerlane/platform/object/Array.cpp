#include "wickerlane/platform/object/Array.h"

#include <algorithm>

#include "wickerlane/platform/object/DescriptionInternal.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane {

constinit const Class Array::classInfo{"Array", &Object::classInfo,
                                       [] { return static_cast<Object *>(Array::create().leak()); }};
constinit const Class MutableArray::classInfo{
    "MutableArray", &Array::classInfo, [] { return static_cast<Object *>(MutableArray::create().leak()); }};
WL_BUILT_IN_CLASS(Array);
WL_BUILT_IN_CLASS(MutableArray);

namespace {

const ArrayCallBacks objectCallBacks{
    0,
    [](const void *, const void *value) {
        static_cast<const Object *>(value)->retain();
        return value;
    },
    [](const void *, const void *value) { static_cast<const Object *>(value)->release(); },
    [](const void *value) {
        String *text = static_cast<const Object *>(value)->description();
        text->retain();
        return text;
    },
    [](const void *a, const void *b) {
        return areEqual(static_cast<const Object *>(a), static_cast<const Object *>(b));
    },
};

const ArrayCallBacks pointerCallBacks{0, nullptr, nullptr, nullptr, nullptr};

} // namespace

Ref<Array> Array::create(std::span<Object *const> elements) {
    auto made = Ref<Array>::adopt(new Array(&objectCallBacks));
    made->elements.reserve(elements.size());
    for (Object *element : elements)
        made->appendRetained(element);
    return made;
}

Ref<Array> Array::create(std::initializer_list<Object *> elements) {
    return create(std::span<Object *const>(elements.begin(), elements.size()));
}

Ref<Array> Array::createWithCallBacks(std::span<const void *const> elements,
                                      const ArrayCallBacks *callBacks) {
    auto made = Ref<Array>::adopt(new Array(callBacks != nullptr ? callBacks : &pointerCallBacks));
    made->elements.reserve(elements.size());
    for (const void *element : elements)
        made->appendRetained(element);
    return made;
}

Array *Array::of(std::initializer_list<Object *> elements) {
    return autorelease(create(elements));
}

Array::~Array() {
    releaseAll();
}

void Array::appendRetained(const void *value) {
    ++changes;
    elements.push_back(callBacks->retain != nullptr ? callBacks->retain(nullptr, value) : value);
}

void Array::releaseAll() noexcept {
    ++changes;
    if (callBacks->release != nullptr)
        for (const void *element : elements)
            callBacks->release(nullptr, element);
    elements.clear();
}

const void *Array::valueAt(std::size_t index) const noexcept {
    return elements[index];
}

Object *Array::at(std::size_t index) const noexcept {
    return begin()[index];
}

bool Array::holdsObjects() const noexcept {
    return callBacks == &objectCallBacks;
}

Object *const *Array::begin() const noexcept {
    // The elements are objects that were handed in as such; they are kept as plain pointers for the
    // callbacks.
    return const_cast<Object *const *>(reinterpret_cast<const Object *const *>(elements.data())); // NOLINT
}

std::size_t Array::indexOf(const void *value) const {
    const auto found = std::ranges::find_if(elements, [&](const void *element) {
        return element == value || (callBacks->equal != nullptr && callBacks->equal(element, value));
    });
    return found == elements.end() ? String::notFound : static_cast<std::size_t>(found - elements.begin());
}

bool Array::contains(const void *value) const {
    return indexOf(value) != String::notFound;
}

bool Array::isEqual(const Object *other) const {
    if (this == other)
        return true;
    const auto *array = as<Array>(other);
    if (array == nullptr || array->count() != count() || array->callBacks->equal != callBacks->equal)
        return false;
    return std::ranges::equal(elements, array->elements, [&](const void *a, const void *b) {
        return a == b || (callBacks->equal != nullptr && callBacks->equal(a, b));
    });
}

std::size_t Array::hash() const {
    return count();
}

String *Array::description() const {
    const DescriptionLevel level;
    if (level.tooDeep())
        return String::of("(...)");
    std::string text = "(";
    for (const void *element : elements) {
        text += text.size() == 1 ? "\n" : ",\n";
        text += level.indent();
        ReleaseScope scope;
        if (callBacks == &objectCallBacks)
            text += describeElement(static_cast<const Object *>(element));
        else if (callBacks->copyDescription == nullptr)
            text += String::format("<%p>", element)->utf8();
        else if (const auto described = Ref<String>::adopt(callBacks->copyDescription(element)))
            text += described->utf8();
        else
            text += "(null)";
    }
    if (!elements.empty())
        text += "\n" + level.outerIndent();
    return String::of(text + ")");
}

Ref<MutableArray> MutableArray::create() {
    return createWithCallBacks(&objectCallBacks);
}

Ref<MutableArray> MutableArray::create(const Array *copied) {
    auto made = create();
    for (Object *element : *copied)
        made->append(element);
    return made;
}

Ref<MutableArray> MutableArray::createWithCallBacks(const ArrayCallBacks *callBacks) {
    return Ref<MutableArray>::adopt(new MutableArray(callBacks != nullptr ? callBacks : &pointerCallBacks));
}

void MutableArray::appendValue(const void *value) {
    appendRetained(value);
}

void MutableArray::insert(Object *element, std::size_t index) {
    appendRetained(element);
    std::rotate(elements.begin() + static_cast<std::ptrdiff_t>(index), elements.end() - 1, elements.end());
}

void MutableArray::replace(std::size_t index, Object *element) {
    appendRetained(element);
    std::swap(elements[index], elements.back());
    remove(count() - 1);
}

void MutableArray::remove(std::size_t index) {
    ++changes;
    const void *removed = elements[index];
    elements.erase(elements.begin() + static_cast<std::ptrdiff_t>(index));
    if (callBacks->release != nullptr)
        callBacks->release(nullptr, removed);
}

void MutableArray::removeAll() {
    releaseAll();
}

} // namespace wickerlane
