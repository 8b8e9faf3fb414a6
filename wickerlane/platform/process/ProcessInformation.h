// What a process knows of itself.
#ifndef WICKERLANE_PLATFORM_PROCESS_PROCESSINFORMATION_H
#define WICKERLANE_PLATFORM_PROCESS_PROCESSINFORMATION_H

#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Object.h"

namespace wickerlane {

/// The process that asks. Found by its name, "ProcessInformation", by those who do not want to depend on it.
class WL_EXPORT ProcessInformation final : public Object {
    WL_OBJECT
public:
    [[nodiscard]] static Ref<ProcessInformation> create();

    /// The arguments that the process was started with, as strings; ill-formed UTF-8 in them becomes U+FFFD.
    /// Empty when there are none, or when the kernel does not tell. Borrowed. Thread-safe.
    [[nodiscard]] Array *arguments() const;
};

} // namespace wickerlane

#endif
