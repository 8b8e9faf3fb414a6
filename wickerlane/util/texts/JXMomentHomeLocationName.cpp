#include "wickerlane/util/texts/JXMomentHomeLocationName.h"

namespace {

WL_IMMORTAL wickerlane::Immortal<wickerlane::ConstantString> homeLocationName{"_$!<Home>!$_"};

} // namespace

constinit wickerlane::String *const JXMomentHomeLocationName = homeLocationName.get();
