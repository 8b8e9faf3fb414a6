#include "wickerlane/platform/consent/Consent.h"

#include <algorithm>

#include "wickerlane/platform/file/FileLock.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/platform/process/ProcessFacts.h"

const char *const wickerlane::kPVGServicePhotos = "kPVGServicePhotos";

namespace wickerlane {
namespace {

constexpr std::uint32_t tokenMark = 0x574C4154; // tells tokens of ours from other bytes

/// Reads, changes and writes the file, while no other process does.
template <class Change>
bool change(Change make) {
    const std::string path = consentPath();
    if (!makeFolders(std::string(parentFolder(path))))
        return false;
    const UniqueFd lock = openLocked(path + ".lock");
    if (!lock)
        return false;
    ConsentRules rules;
    if (!readConsentRules(rules))
        return false;
    make(rules);
    return writeConsentRules(rules);
}

bool isAbout(const ConsentDecision &each, std::string_view service, std::string_view executable, uid_t user) {
    return each.service == service && each.executable == executable && each.user == user;
}

} // namespace

ConsentStore &ConsentStore::shared() {
    static NeverDestroyed<ConsentStore> store;
    return *store;
}

std::shared_ptr<const ConsentRules> ConsentStore::knownRules() {
    const MutexLock lock(mutex);
    if (known && !watch.isUnchanged())
        known = nullptr;
    return known;
}

std::shared_ptr<const ConsentRules> ConsentStore::rules() {
    if (auto unchanged = knownRules())
        return unchanged;
    const MutexLock only(reading);
    if (auto unchanged = knownRules()) // another thread has read it meanwhile
        return unchanged;
    // Watched before it is read, so that a change meanwhile is noticed next time.
    const bool isWatched = watch.begin(consentPath());
    const auto read = std::make_shared<ConsentRules>();
    static_cast<void>(readConsentRules(*read)); // without a file that counts there are none
    if (isWatched) {
        const MutexLock lock(mutex);
        known = read;
    }
    return read;
}

bool ConsentStore::decide(const ConsentDecision &decision) {
    return change([&](ConsentRules &rules) {
        std::erase_if(rules.decisions, [&](const ConsentDecision &each) {
            return isAbout(each, decision.service, decision.executable, decision.user);
        });
        rules.decisions.push_back(decision);
    });
}

bool ConsentStore::forget(std::string_view service, std::string_view executable, uid_t user) {
    return change([&](ConsentRules &rules) {
        std::erase_if(rules.decisions,
                      [&](const ConsentDecision &each) { return isAbout(each, service, executable, user); });
    });
}

bool ConsentStore::setEntitled(std::string_view executable, std::string_view entitlement, bool isEntitled) {
    return change([&](ConsentRules &rules) {
        auto found = std::ranges::find(rules.programs, executable, &ProgramEntitlements::executable);
        if (found == rules.programs.end())
            found = rules.programs.insert(found, {std::string(executable), {}});
        auto &names = found->names;
        std::erase(names, entitlement);
        if (isEntitled)
            names.emplace_back(entitlement);
    });
}

AuditToken auditTokenOf(const PeerIdentity &peer) {
    return {tokenMark,
            peer.user,
            peer.group,
            static_cast<std::uint32_t>(peer.process),
            static_cast<std::uint32_t>(peer.startTime),
            static_cast<std::uint32_t>(peer.startTime >> 32),
            0,
            0};
}

bool PVGAccessCheckAuditToken(const char *service, const AuditToken &token) {
    const auto process = static_cast<pid_t>(token[3]);
    const std::uint64_t started = token[4] | std::uint64_t{token[5]} << 32;
    // Read before the start time is compared, so that both are the same process's.
    const RunningProgram program = programOf(process);
    if (token[0] != tokenMark || process <= 0 || started == 0 || startTimeOf(process) != started ||
        program.standing == ProgramStanding::foreign)
        return false;
    const uid_t user = token[1];
    const auto rules = ConsentStore::shared().rules();
    return rules->decision(service, program, user).value_or(user == rules->owner);
}

} // namespace wickerlane
