// Who may use what: decisions by consent, and the entitlements of programs.
//
// Both stand in one property list below the root, /var/db/wickerlane/Consent.plist. It counts only when it
// belongs to the owner of the root or to root, and no other user could have put it there: on a device, where
// that is the administrator, programs can't decide for themselves; in a user's own library the user decides.
//
// Programs are named by their paths. A grant is for the file to which the path leads, while it does; a denial
// is also for that file under other names, and for a process whose program has been removed or replaced. The
// programs of one user are not protected from each other; docs/hoardd.md says how far consent goes.
#ifndef WICKERLANE_PLATFORM_CONSENT_CONSENT_H
#define WICKERLANE_PLATFORM_CONSENT_CONSENT_H

#include <array>
#include <memory>

#include "wickerlane/platform/consent/ConsentRules.h"
#include "wickerlane/platform/file/PathWatch.h"
#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/object/NeverDestroyed.h"

namespace wickerlane {

/// The service that stands for the photo library: "kPVGServicePhotos".
WL_EXPORT extern const char *const kPVGServicePhotos;

/// The decisions of the current root. Every call sees the file as it is, so that a change takes effect at
/// once, on living connections, too: it is read again when a watch has noticed a change, or each time where
/// it can't be watched. Thread-safe.
class WL_EXPORT ConsentStore {
public:
    /// The one of this process.
    [[nodiscard]] static ConsentStore &shared();

    /// What the file says now. Never null.
    [[nodiscard]] std::shared_ptr<const ConsentRules> rules() WL_EXCLUDES(mutex);
    /// The same, if that is known without reading the file, else null. Never waits for a file.
    [[nodiscard]] std::shared_ptr<const ConsentRules> knownRules() WL_EXCLUDES(mutex);

    // Changes survive a crash. False, with errno, when the file can't be read or written; EPERM says that it
    // does not count.

    [[nodiscard]] bool decide(const ConsentDecision &decision);
    /// Removes the decision.
    [[nodiscard]] bool forget(std::string_view service, std::string_view executable, uid_t user);
    /// Grants an entitlement, or takes it; a program of which nothing is left stays listed.
    [[nodiscard]] bool setEntitled(std::string_view executable, std::string_view entitlement,
                                   bool isEntitled);

private:
    friend class NeverDestroyed<ConsentStore>;
    ConsentStore() = default;

    Mutex reading; // held while the file is read; taken before the other one
    Mutex mutex;   // never held for long
    std::shared_ptr<const ConsentRules> known WL_GUARDED_BY(mutex);
    /// Of who holds `mutex` while there are known rules, else of who holds `reading`.
    PathWatch watch;
};

/// What identifies a client process: eight words that only a listener can make, out of what the kernel says
/// of its peer. Its start time tells it from a later process with the same id.
using AuditToken = std::array<std::uint32_t, 8>;

[[nodiscard]] WL_EXPORT AuditToken auditTokenOf(const PeerIdentity &peer);

/// Whether the client that a token names runs still and has been granted a service: by a decision, or,
/// without one, as the owner of the root. False for a token that no listener made.
[[nodiscard]] WL_EXPORT bool PVGAccessCheckAuditToken(const char *service, const AuditToken &token);

} // namespace wickerlane

#endif
