// wickerlane debug uuid
#include <nlohmann/json.hpp>

#include "cli/Output.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/util/uuid/JXUUIDString.h"

namespace wickerlane::cli {
namespace {

struct Options {
    std::vector<std::string> texts;
    unsigned count = 1;
    bool json = false;
};

Result<std::string> libraryForm(const std::string &text) {
    const ReleaseScope scope;
    const Ref<JXUUIDString> uuid(JXStringFromUUIDData(JXUUIDDataFromString(String::of(text))));
    if (!uuid)
        return fail(ProblemKind::failed, localized("'{}' is not a UUID", text));
    return std::string(uuid->utf8());
}

Result<ExitCode> writeUUIDs(const Options &options) {
    ExitCode code = ExitCode::success;
    std::vector<std::string> uuids;
    for (const std::string &text : options.texts)
        if (const auto uuid = libraryForm(text))
            uuids.push_back(*uuid);
        else
            code = report(uuid.error());
    if (options.texts.empty())
        for (unsigned i = 0; i < options.count; ++i)
            uuids.emplace_back(JXUUIDString::init()->utf8());
    if (options.json)
        printJSON(uuids);
    else
        for (const std::string &uuid : uuids)
            print(uuid);
    return code;
}

} // namespace

void setUpUuid(Command command) {
    command.footer("Examples:\n  wickerlane debug uuid --count 3\n"
                   "  wickerlane debug uuid 7f3d0a52-6c1b-4e0e-9d43-2b1c7a5e8f10");
    Options &options = command.runs(writeUUIDs);
    const auto texts = command.addOption("TEXT", options.texts, "UUIDs to write in the library's form");
    command.addOption("--count", options.count, "How many to make (default: 1)")
        .typeName("COUNT")
        .between(1, 1'000'000)
        .excludes(texts);
    command.addFlag("--json", options.json, "Write JSON");
}

} // namespace wickerlane::cli
