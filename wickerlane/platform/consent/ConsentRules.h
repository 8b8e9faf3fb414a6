// What the consent file says.
#ifndef WICKERLANE_PLATFORM_CONSENT_CONSENTRULES_H
#define WICKERLANE_PLATFORM_CONSENT_CONSENTRULES_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "wickerlane/platform/message/listener/MessageListener.h"

namespace wickerlane {

/// One decision. Programs are named by their absolute path.
struct ConsentDecision {
    std::string service;
    std::string executable;
    uid_t user = 0;
    bool isGranted = false;
};

/// What a program is entitled to.
struct ProgramEntitlements {
    std::string executable;
    std::vector<std::string> names;
};

/// The decisions and entitlements of a root at one time.
struct WL_EXPORT ConsentRules {
    std::vector<ConsentDecision> decisions;
    std::vector<ProgramEntitlements> programs;
    uid_t owner = 0;       ///< Of the root, or the calling process's user while there is none.
    bool isDevice = false; ///< Else it is a user's own library.

    /// Nothing while there is no decision.
    [[nodiscard]] std::optional<bool> decision(std::string_view service, const RunningProgram &program,
                                               uid_t user) const;
    /// Whether a program is entitled. A program that is not listed is entitled to nothing, but in a user's
    /// own library, where the owner's programs are entitled to all that is not taken from them.
    [[nodiscard]] bool isEntitled(const PeerIdentity &peer, std::string_view entitlement) const;
    /// Whether decision() may have to ask the file system: whether the program of a denial is the one that
    /// runs under another name.
    [[nodiscard]] bool mayAskFiles() const;
};

/// Reads the rules of the current root. False, with errno, when there is a file that can't be read or does
/// not count; then there are no rules.
[[nodiscard]] bool readConsentRules(ConsentRules &rules);
/// Replaces the file. False, with errno, on failure.
[[nodiscard]] bool writeConsentRules(const ConsentRules &rules);
/// Where the rules of the current root are kept.
[[nodiscard]] WL_EXPORT std::string consentPath();
/// Why the file does not count, as a text for people; empty when it does or when there is none. As long as it
/// doesn't, there are no rules.
[[nodiscard]] WL_EXPORT std::string whyConsentIgnored();
/// The user that owns the root, or the calling process's while there is none.
[[nodiscard]] WL_EXPORT uid_t ownerOfRoot();

} // namespace wickerlane

#endif
