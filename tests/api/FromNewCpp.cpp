// The overloads for callables, from the one header that has them.
#include "wickerlane/api/WLCallables.h"

static_assert(WL_HAS_CLASSES, "this file is compiled as C++20 with exceptions");
