#include "hoardd/service/Access.h"

#include "wickerlane/platform/consent/Consent.h"

namespace wickerlane::hoardd {

AccessStatus accessOf(const PeerIdentity &peer) {
    if (peer.program.standing == ProgramStanding::foreign)
        return AccessStatus::denied;
    if (const auto decided = ConsentStore::shared().decision(kPVGServicePhotos, peer.program, peer.user))
        return *decided ? AccessStatus::granted : AccessStatus::denied;
    // The library belongs to the owner of its root; before there is one, to the user whom the daemon serves.
    return peer.user == ConsentStore::owner() ? AccessStatus::granted : AccessStatus::notAsked;
}

bool isEntitled(const PeerIdentity &peer, const String *entitlement) {
    return ConsentStore::shared().isEntitled(peer, entitlement->utf8());
}

} // namespace wickerlane::hoardd
