#include "wickerlane/platform/consent/Consent.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "wickerlane/platform/file/FileLock.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/file/TrustedPath.h"
#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/NeverDestroyed.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/process/ProcessFacts.h"
#include "wickerlane/platform/propertylist/PropertyList.h"

const char *const wickerlane::kPVGServicePhotos = "kPVGServicePhotos";

namespace wickerlane {
namespace {

constexpr const char *systemPath = "/var/db/wickerlane/Consent.plist";
constexpr std::size_t maxFileBytes = 4 << 20;
constexpr std::uint32_t tokenMark = 0x574C4154; // tells tokens of ours from other bytes
constexpr const char *consentKey = "Consent", *entitlementsKey = "Entitlements";

struct Contents {
    std::vector<ConsentDecision> decisions;
    std::vector<ProgramEntitlements> programs;
};

std::string textUnder(const Dictionary *entry, std::string_view key) {
    const auto *text = entry->get<String>(key);
    return text != nullptr ? std::string(text->utf8()) : std::string();
}

// Why a file does not count; empty when it does, or is missing.
std::string problemOf(const std::string &path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0)
        return {};
    if (!S_ISREG(status.st_mode))
        return path + " is no regular file";
    if (status.st_uid != ConsentStore::owner() && status.st_uid != 0)
        return path + " belongs neither to the owner of the root nor to root";
    return whyUntrusted(path);
}

/// False, with errno, when there is a file that does not count.
bool read(const std::string &path, Contents &contents) {
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
                contents.decisions.push_back({textUnder(entry, "Service"), textUnder(entry, "Executable"),
                                              static_cast<uid_t>(user->int64Value()), granted->boolValue()});
        }
    if (const auto *programs = dictionary->get<Dictionary>(entitlementsKey))
        for (const auto &[program, names] : *programs) {
            const auto *executable = as<String>(program);
            const auto *list = as<Array>(names);
            if (executable == nullptr || list == nullptr)
                continue;
            contents.programs.push_back({std::string(executable->utf8()), {}});
            for (std::size_t i = 0; i < list->count(); ++i)
                if (const auto *name = as<String>(list->at(i)))
                    contents.programs.back().names.emplace_back(name->utf8());
        }
    return true;
}

Contents contentsNow() {
    Contents contents;
    if (!read(pathUnderRoot(systemPath), contents))
        contents = {};
    return contents;
}

bool write(const std::string &path, const Contents &contents) {
    ReleaseScope scope;
    const auto decisions = MutableArray::create();
    for (const ConsentDecision &each : contents.decisions)
        decisions->append(Dictionary::createWithKeys({{"Service", String::of(each.service)},
                                                      {"Executable", String::of(each.executable)},
                                                      {"User", Number::of(std::int64_t{each.user})},
                                                      {"Granted", Number::of(each.isGranted)}})
                              .get());
    const auto programs = MutableDictionary::create();
    for (const ProgramEntitlements &each : contents.programs) {
        const auto names = MutableArray::create();
        for (const std::string &name : each.names)
            names->append(String::of(name));
        programs->set(each.executable, names.get());
    }
    const auto root =
        Dictionary::createWithKeys({{consentKey, decisions.get()}, {entitlementsKey, programs.get()}});
    const auto bytes = createPropertyListData(root.get());
    return bytes && replaceFile(path, bytes->span());
}

/// Reads, changes and writes the file, while no other process does.
template <class Change>
bool change(Change make) {
    const std::string path = pathUnderRoot(systemPath);
    if (!makeFolders(std::string(parentFolder(path))))
        return false;
    const UniqueFd lock = openLocked(path + ".lock");
    if (!lock)
        return false;
    Contents contents;
    if (!read(path, contents))
        return false;
    make(contents);
    return write(path, contents);
}

bool isAbout(const ConsentDecision &each, std::string_view service, std::string_view executable, uid_t user) {
    return each.service == service && each.executable == executable && each.user == user;
}

const ProgramEntitlements *find(const Contents &contents, std::string_view executable) {
    const auto found = std::ranges::find(contents.programs, executable, &ProgramEntitlements::executable);
    return found != contents.programs.end() ? &*found : nullptr;
}

} // namespace

ConsentStore &ConsentStore::shared() {
    static NeverDestroyed<ConsentStore> store;
    return *store;
}

uid_t ConsentStore::owner() {
    struct stat root {};
    return stat(rootPath().c_str(), &root) == 0 ? root.st_uid : geteuid();
}

std::string ConsentStore::whyIgnored() {
    return problemOf(pathUnderRoot(systemPath));
}

std::optional<bool> ConsentStore::decision(std::string_view service, const RunningProgram &program,
                                           uid_t user) {
    std::optional<bool> found;
    for (const ConsentDecision &each : contentsNow().decisions) {
        if (each.service != service || each.user != user)
            continue;
        if (!each.isGranted && program.mayBe(each.executable))
            return false;
        if (program.is(each.executable))
            found = each.isGranted;
    }
    return found;
}

bool ConsentStore::isEntitled(const PeerIdentity &peer, std::string_view entitlement) {
    if (peer.program.standing == ProgramStanding::foreign)
        return false;
    bool isListed = false;
    for (const ProgramEntitlements &each : contentsNow().programs) {
        const bool hasIt = std::ranges::find(each.names, entitlement) != each.names.end();
        if (peer.program.is(each.executable))
            isListed = true;
        if (!hasIt && peer.program.mayBe(each.executable))
            return false;
    }
    return isListed || (rootPath() != "/" && peer.user == owner());
}

std::vector<ConsentDecision> ConsentStore::decisions() {
    return contentsNow().decisions;
}

std::vector<ProgramEntitlements> ConsentStore::entitlements() {
    return contentsNow().programs;
}

bool ConsentStore::decide(const ConsentDecision &decision) {
    return change([&](Contents &contents) {
        std::erase_if(contents.decisions, [&](const ConsentDecision &each) {
            return isAbout(each, decision.service, decision.executable, decision.user);
        });
        contents.decisions.push_back(decision);
    });
}

bool ConsentStore::forget(std::string_view service, std::string_view executable, uid_t user) {
    return change([&](Contents &contents) {
        std::erase_if(contents.decisions,
                      [&](const ConsentDecision &each) { return isAbout(each, service, executable, user); });
    });
}

bool ConsentStore::setEntitled(std::string_view executable, std::string_view entitlement, bool isEntitled) {
    return change([&](Contents &contents) {
        if (find(contents, executable) == nullptr)
            contents.programs.push_back({std::string(executable), {}});
        auto &names =
            std::ranges::find(contents.programs, executable, &ProgramEntitlements::executable)->names;
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
    return ConsentStore::shared().decision(service, program, user).value_or(user == ConsentStore::owner());
}

} // namespace wickerlane
