#include "wickerlane/platform/consent/ConsentRules.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/file/TrustedPath.h"
#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/propertylist/PropertyList.h"

namespace wickerlane {
namespace {

constexpr std::size_t maxFileBytes = 4 << 20;
constexpr const char *consentKey = "Consent", *entitlementsKey = "Entitlements";

std::string textUnder(const Dictionary *entry, std::string_view key) {
    const auto *text = entry->get<String>(key);
    return text != nullptr ? std::string(text->utf8()) : std::string();
}

// Why a file does not count; empty when it does, or is missing.
std::string problemOf(const std::string &path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0)
        return errno == ENOENT || errno == ENOTDIR ? std::string()
                                                   : path + " can't be looked at: " + strerrordesc_np(errno);
    if (!S_ISREG(status.st_mode))
        return path + " is no regular file";
    if (status.st_uid != ownerOfRoot() && status.st_uid != 0)
        return path + " belongs neither to the owner of the root nor to root";
    return whyUntrusted(path);
}

// A folder that passes its group on says who reads besides the owner: on a device the user of hoardd.
mode_t modeOfFileIn(const std::string &folder) {
    constexpr mode_t owners = S_IRUSR | S_IWUSR;
    struct stat status {};
    const bool passesGroupOn = stat(folder.c_str(), &status) == 0 && (status.st_mode & S_ISGID) != 0;
    return passesGroupOn ? owners | S_IRGRP : owners;
}

} // namespace

std::string consentPath() {
    return pathUnderRoot("/var/db/wickerlane/Consent.plist");
}

uid_t ownerOfRoot() {
    struct stat root {};
    return stat(rootPath().c_str(), &root) == 0 ? root.st_uid : geteuid();
}

std::string whyConsentIgnored() {
    return problemOf(consentPath());
}

bool readConsentRules(ConsentRules &rules) {
    rules = {};
    rules.owner = ownerOfRoot();
    rules.isDevice = rootPath() == "/";
    const std::string path = consentPath();
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0)
        return errno == ENOENT || errno == ENOTDIR;
    if (!problemOf(path).empty()) {
        errno = EPERM;
        return false;
    }
    ReleaseScope scope;
    std::vector<std::byte> bytes;
    if (!readFile(path, bytes, maxFileBytes))
        return false;
    const Ref<Object> root = createPropertyListObject(bytes);
    const auto *dictionary = as<Dictionary>(root.get());
    if (dictionary == nullptr) {
        errno = EBADMSG;
        return false;
    }
    if (const auto *list = dictionary->get<Array>(consentKey))
        for (std::size_t i = 0; i < list->count(); ++i) {
            const auto *entry = as<Dictionary>(list->at(i));
            const auto *user = entry != nullptr ? entry->get<Number>("User") : nullptr;
            const auto *granted = entry != nullptr ? entry->get<Number>("Granted") : nullptr;
            if (user != nullptr && granted != nullptr)
                rules.decisions.push_back({textUnder(entry, "Service"), textUnder(entry, "Executable"),
                                           static_cast<uid_t>(user->int64Value()), granted->boolValue()});
        }
    if (const auto *programs = dictionary->get<Dictionary>(entitlementsKey))
        for (const auto &[program, names] : *programs) {
            const auto *executable = as<String>(program);
            const auto *list = as<Array>(names);
            if (executable == nullptr || list == nullptr)
                continue;
            rules.programs.push_back({std::string(executable->utf8()), {}});
            for (std::size_t i = 0; i < list->count(); ++i)
                if (const auto *name = as<String>(list->at(i)))
                    rules.programs.back().names.emplace_back(name->utf8());
        }
    return true;
}

bool writeConsentRules(const ConsentRules &rules) {
    ReleaseScope scope;
    const auto decisions = MutableArray::create();
    for (const ConsentDecision &each : rules.decisions)
        decisions->append(Dictionary::createWithKeys({{"Service", String::of(each.service)},
                                                      {"Executable", String::of(each.executable)},
                                                      {"User", Number::of(std::int64_t{each.user})},
                                                      {"Granted", Number::of(each.isGranted)}})
                              .get());
    const auto programs = MutableDictionary::create();
    for (const ProgramEntitlements &each : rules.programs) {
        const auto names = MutableArray::create();
        for (const std::string &name : each.names)
            names->append(String::of(name));
        programs->set(each.executable, names.get());
    }
    const auto root =
        Dictionary::createWithKeys({{consentKey, decisions.get()}, {entitlementsKey, programs.get()}});
    const auto bytes = createPropertyListData(root.get());
    const std::string path = consentPath();
    return bytes && replaceFile(path, bytes->span(), modeOfFileIn(std::string(parentFolder(path))));
}

std::optional<bool> ConsentRules::decision(std::string_view service, const RunningProgram &program,
                                           uid_t user) const {
    std::optional<bool> found;
    for (const ConsentDecision &each : decisions) {
        if (each.service != service || each.user != user)
            continue;
        if (!each.isGranted && program.mayBe(each.executable))
            return false;
        if (program.is(each.executable))
            found = each.isGranted;
    }
    return found;
}

bool ConsentRules::isEntitled(const PeerIdentity &peer, std::string_view entitlement) const {
    if (peer.program.standing == ProgramStanding::foreign)
        return false;
    bool isListed = false;
    for (const ProgramEntitlements &each : programs) {
        const bool hasIt = std::ranges::find(each.names, entitlement) != each.names.end();
        if (peer.program.is(each.executable))
            isListed = true;
        if (!hasIt && peer.program.mayBe(each.executable))
            return false;
    }
    return isListed || (!isDevice && peer.user == owner);
}

bool ConsentRules::mayAskFiles() const {
    return !std::ranges::all_of(decisions, &ConsentDecision::isGranted);
}

} // namespace wickerlane
