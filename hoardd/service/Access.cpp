#include "hoardd/service/Access.h"

#include "wickerlane/platform/consent/Consent.h"

namespace wickerlane::hoardd {

namespace {

AccessStatus accessBy(const ConsentRules &rules, const PeerIdentity &peer) {
    if (peer.program.standing == ProgramStanding::foreign)
        return AccessStatus::denied;
    if (const auto decided = rules.decision(kPVGServicePhotos, peer.program, peer.user))
        return *decided ? AccessStatus::granted : AccessStatus::denied;
    // The library belongs to the owner of its root; before there is one, to the user whom the daemon serves.
    return peer.user == rules.owner ? AccessStatus::granted : AccessStatus::notAsked;
}

} // namespace

AccessStatus accessOf(const PeerIdentity &peer) {
    return accessBy(*ConsentStore::shared().rules(), peer);
}

std::optional<AccessStatus> knownAccessOf(const PeerIdentity &peer) {
    const auto rules = ConsentStore::shared().knownRules();
    if (!rules || rules->mayAskFiles())
        return std::nullopt;
    return accessBy(*rules, peer);
}

bool isEntitled(const PeerIdentity &peer, const String *entitlement) {
    return ConsentStore::shared().rules()->isEntitled(peer, entitlement->utf8());
}

} // namespace wickerlane::hoardd
