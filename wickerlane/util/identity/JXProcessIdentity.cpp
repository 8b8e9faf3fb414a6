#include "wickerlane/util/identity/JXProcessIdentity.h"

#include <cstring>

#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/String.h"
#include "wickerlane/platform/preferences/Preferences.h"
#include "wickerlane/platform/process/ProcessInformation.h"
#include "wickerlane/platform/process/ProcessTable.h"
#include "wickerlane/platform/queue/Once.h"
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
    // After the last slash, so that nothing is left of a path that ends with one.
    const std::string_view path = as<String>(arguments->at(0))->utf8();
    return path.substr(path.rfind('/') + 1) == name;
}

} // namespace

bool JXIsHoardd() {
    static const bool answer = isThisProcessNamed("hoardd");
    return answer;
}

bool JXIsCamlinkd() {
    static const bool answer = isThisProcessNamed("camlinkd");
    return answer;
}

bool JXIsHomeshell() {
    static const bool answer = isThisProcessNamed("Homeshell");
    return answer;
}

bool JXIsCamera() {
    static const bool answer = isThisProcessNamed("Camera");
    return answer;
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
