// wickerlane uuid
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "cli/Output.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/util/uuid/JXUUIDString.h"

namespace wickerlane::cli {
namespace {

struct Options {
    std::vector<std::string> texts;
    unsigned count = 1;
    bool json = false;
};

/// Null for a text that is no UUID.
Ref<JXUUIDString> readUUID(const std::string &text) {
    const ReleaseScope scope;
    return JXStringFromUUIDData(JXUUIDDataFromString(String::of(text)));
}

ExitCode writeUUIDs(const Options &options) {
    ExitCode result = ExitCode::success;
    JSON written = JSON::array();
    const auto write = [&](const JXUUIDString &uuid) {
        if (options.json)
            written.push_back(uuid.utf8());
        else
            print(uuid.utf8());
    };
    for (const std::string &text : options.texts)
        if (const auto uuid = readUUID(text))
            write(*uuid);
        else
            result = fail(ExitCode::failure, fmt::format("'{}' is not a UUID", text));
    if (options.texts.empty())
        for (unsigned i = 0; i < options.count; ++i)
            write(*JXUUIDString::init());
    if (options.json)
        printJSON(written);
    return result;
}

} // namespace

void addUUID(Command app, Action &chosen) {
    const auto command = app.addSubcommand("uuid", "Make UUIDs, or write them in the library's form");
    command.footer("Examples:\n  wickerlane uuid --count 3\n"
                   "  wickerlane uuid 7f3d0a52-6c1b-4e0e-9d43-2b1c7a5e8f10");
    auto options = std::make_shared<Options>();
    const auto texts = command.addOption("TEXT", options->texts, "UUIDs to write as the library does");
    command.addOption("--count", options->count, "How many to make (default: 1)")
        .typeName("COUNT")
        .between(1, 1'000'000)
        .excludes(texts);
    command.addFlag("--json", options->json, "Write JSON");
    command.callback([options, &chosen] { chosen = [options] { return writeUUIDs(*options); }; });
}

} // namespace wickerlane::cli
