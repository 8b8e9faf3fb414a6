// The class behind save jobs. Applications use it through the C functions alone.
#ifndef WICKERLANE_API_SAVEJOB_H
#define WICKERLANE_API_SAVEJOB_H

#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/surface/ImageSurface.h"

namespace wickerlane {

/// What to save, put together step by step.
class WL_EXPORT SaveJob final : public Object {
    WL_OBJECT
public:
    Ref<MutableDictionary> entries = MutableDictionary::create(); ///< With the keys of JobKeys.h.
    Ref<ImageSurface> image;                                      ///< Null when the entries name the bytes.
    Ref<ImageSurface> preview;                                    ///< May be null.
};

} // namespace wickerlane

#endif
