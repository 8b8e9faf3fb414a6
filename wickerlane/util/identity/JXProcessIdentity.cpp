#include "wickerlane/util/identity/JXProcessIdentity.h"

#include <cstring>

#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/String.h"
#include "wickerlane/platform/preferences/Preferences.h"
#include "wickerlane/platform/process/ProcessInformation.h"
#include "wickerlane/platform/process/ProcessTable.h"
#include "wickerlane/util/identity/CachedAnswerInternal.h"
#include "wickerlane/util/identity/RuntimeClassInternal.h"

using namespace wickerlane;

const char *const JXHoarddPreferencesDomain = "org.wickerlane.hoardd";

namespace {

bool isThisProcessNamed(std::string_view name) {
    const ReleaseScope scope;
    const auto process = instanceOf<ProcessInformation>(classNamed("ProcessInformation"));
    const Array *arguments = process ? process->arguments() : nullptr;
    if (arguments == nullptr || arguments->count() == 0)
        return false;
    const std::string_view path = as<String>(arguments->at(0))->utf8();
    return path.substr(path.rfind('/') + 1) == name;
}

} // namespace

bool JXIsHoardd() {
    static constinit CachedAnswer<bool> cached;
    return cached.get([] { return isThisProcessNamed("hoardd"); });
}

bool JXIsCamlinkd() {
    static constinit CachedAnswer<bool> cached;
    return cached.get([] { return isThisProcessNamed("camlinkd"); });
}

bool JXIsHomeshell() {
    static constinit CachedAnswer<bool> cached;
    return cached.get([] { return isThisProcessNamed("Homeshell"); });
}

bool JXIsCamera() {
    static constinit CachedAnswer<bool> cached;
    return cached.get([] { return isThisProcessNamed("Camera"); });
}

bool JXIgnoreHomeshell() {
    static constinit Once once;
    once.run([] {
        const ReleaseScope scope;
        static_cast<void>(preferenceValue("IgnoreHomeshell", JXHoarddPreferencesDomain));
    });
    return false;
}

pid_t JXPIDForProcessNamed(const char *name) {
    if (name == nullptr)
        return -1;
    const auto table = processTable();
    if (!table)
        return -1;
    for (const ProcessRecord &each : *table)
        if (each.process >= 1 && std::strncmp(each.command.c_str(), name, maxCommandNameLength) == 0)
            return each.process;
    return -1;
}
