// wickerlane sizes
#include <array>
#include <map>
#include <nlohmann/json.hpp>

#include "cli/OpenedLibrary.h"
#include "cli/Waiting.h"
#include "wickerlane/api/RZLibrary.h"

namespace wickerlane::cli {
namespace {

struct Kind {
    std::uint32_t number;
    const char *name;
    const char *label;
};

constexpr std::array<Kind, 4> kinds{{{1, "photos", "Photos"},
                                     {2, "videos", "Videos"},
                                     {4, "derived", "Thumbnails and edited renditions"},
                                     {8, "database", "Store"}}};

ExitCode sizes(bool json) {
    ReleaseScope scope;
    if (!daemonAnswers())
        return failUnreachable();
    const auto queue = WorkQueue::create("sizes"); // serial, so that the map needs no lock
    std::map<std::uint32_t, std::uint64_t> answered;
    const auto all = Semaphore::create(0);
    constexpr std::uint32_t mask = 15;
    RZGetLibrarySizes(queue.get(), mask, [&answered, all](std::uint32_t kind, std::uint64_t bytes) {
        answered[kind] = bytes;
        if (answered.size() == kinds.size())
            all->signal();
    });
    all->wait();
    JSON described;
    for (const Kind &kind : kinds) {
        if (answered[kind.number] == RZLibrarySizeUnknown)
            return fail(ExitCode::failure, "the daemon can't tell the sizes; its log says why");
        described[kind.name] = answered[kind.number];
        if (!json)
            print(std::string(kind.label) + ": " + sizeText(answered[kind.number]));
    }
    if (json)
        printJSON(described);
    return ExitCode::success;
}

} // namespace

void addSizes(Command app, Action &chosen) {
    const auto command = app.addSubcommand("sizes", "Say how much space the library takes, by kind");
    auto json = std::make_shared<bool>(false);
    command.addFlag("--json", *json, "Write JSON, in bytes");
    command.callback([json, &chosen] { chosen = [json] { return sizes(*json); }; });
}

} // namespace wickerlane::cli
