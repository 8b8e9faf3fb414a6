#include "wickerlane/platform/process/ProcessInformation.h"

#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/String.h"

namespace wickerlane {

constinit const Class ProcessInformation::classInfo{
    "ProcessInformation", &Object::classInfo,
    [] { return static_cast<Object *>(ProcessInformation::create().leak()); }};
WL_BUILT_IN_CLASS(ProcessInformation);

Ref<ProcessInformation> ProcessInformation::create() {
    return makeRef<ProcessInformation>();
}

Array *ProcessInformation::arguments() const {
    constexpr std::size_t maxBytes = std::size_t{8} << 20; // the kernel's own limit is six
    auto listed = MutableArray::create();
    std::vector<std::byte> contents;
    if (readFile("/proc/self/cmdline", contents, maxBytes)) {
        std::string_view rest(reinterpret_cast<const char *>(contents.data()), contents.size());
        while (!rest.empty()) {
            const std::size_t end = rest.find('\0');
            listed->append(MutableString::create(rest.substr(0, end)).get());
            rest.remove_prefix(end == rest.npos ? rest.size() : end + 1);
        }
    }
    return autorelease(std::move(listed));
}

} // namespace wickerlane
