#include "wickerlane/api/WLNPersistentURL.h"

#include <algorithm>
#include <string_view>

#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/model/AssetURL.h"
#include "wickerlane/platform/consent/Consent.h"
#include "wickerlane/platform/object/ReleaseScope.h"

using namespace wickerlane;

namespace {

constexpr std::string_view musicScheme = "jukelet-library";

bool hasScheme(const URL *url, std::string_view expected) {
    const String *scheme = url != nullptr ? url->scheme() : nullptr;
    return scheme != nullptr && scheme->utf8() == expected;
}

} // namespace

bool WLNIsPersistentURL(const WLURL *url) {
    ReleaseScope scope;
    return hasScheme(url, assetURLScheme) || hasScheme(url, musicScheme);
}

WLString *WLNCreatePathForPersistentURL(WLURL *url) {
    ReleaseScope scope;
    const URL *file = JXGatekeeperClient::sharedInstance()->fileURLForAssetURL(url, true);
    return file != nullptr ? Ref<String>(file->path()).leak() : nullptr;
}

int WLNGetCurrentAccess() {
    return WLNAccessGranted;
}

int WLNGetCurrentAccessForURLAndToken(const WLURL *url, WLAuditToken token) {
    ReleaseScope scope;
    AuditToken checked;
    std::ranges::copy(token.words, checked.begin());
    const bool isGranted =
        PVGAccessCheckAuditToken(kPVGServicePhotos, checked) || hasScheme(url, musicScheme);
    return isGranted ? WLNAccessGranted : WLNAccessNone;
}
