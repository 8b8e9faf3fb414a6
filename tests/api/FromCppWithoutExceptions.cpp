// The headers, compiled by an application that has no exceptions.
#include "wickerlane/api/Wickerlane.h"

static_assert(!WL_HAS_CLASSES, "the classes need exceptions");
