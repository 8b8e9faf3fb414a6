// An application that knows of the library what is installed of it.
#include <cstdio>

#include <wickerlane/platform/object/Number.h>
#include <wickerlane/platform/object/ReleaseScope.h>
#include <wickerlane/platform/propertylist/PropertyList.h>

using namespace wickerlane;

int main() {
    ReleaseScope scope;
    const auto dictionary =
        Dictionary::createWithKeys({{"title", String::of("Sommer")}, {"count", Number::of(3)}});
    const auto data = createPropertyListData(dictionary.get());
    const auto back = createPropertyListObject(data->span());
    if (!areEqual(dictionary.get(), back.get()))
        return 1;
    std::printf("%s: %lld\n", as<Dictionary>(back.get())->get<String>("title")->cString(),
                static_cast<long long>(as<Dictionary>(back.get())->get<Number>("count")->int64Value()));
    return 0;
}
