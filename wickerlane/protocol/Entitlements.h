// Entitlements that some operations require of the calling process.
#ifndef WICKERLANE_PROTOCOL_ENTITLEMENTS_H
#define WICKERLANE_PROTOCOL_ENTITLEMENTS_H

#include "wickerlane/platform/object/String.h"

/// For writing asset renditions: "org.wickerlane.hoardd.write-assets".
WL_EXPORT extern wickerlane::String *const JXWriteAssetsEntitlement;
/// For deleting assets: "org.wickerlane.hoardd.delete-assets".
WL_EXPORT extern wickerlane::String *const JXDeleteAssetsEntitlement;

#endif
