#include "wickerlane/protocol/Entitlements.h"

using namespace wickerlane;

namespace {
WL_IMMORTAL Immortal<ConstantString> writeAssets{"org.wickerlane.hoardd.write-assets"};
WL_IMMORTAL Immortal<ConstantString> deleteAssets{"org.wickerlane.hoardd.delete-assets"};
} // namespace

constinit String *const JXWriteAssetsEntitlement = writeAssets.get();
constinit String *const JXDeleteAssetsEntitlement = deleteAssets.get();
