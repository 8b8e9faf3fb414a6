#include "wickerlane/platform/applications/ApplicationWorkspace.h"

namespace wickerlane {

constinit const Class ApplicationWorkspace::classInfo{"AbstractApplicationWorkspace", &Object::classInfo,
                                                      nullptr};

} // namespace wickerlane
