// wickerlane sizes
#include <map>
#include <nlohmann/json.hpp>

#include "cli/DaemonRequests.h"
#include "cli/Formatting.h"
#include "cli/Output.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/client/Request.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/protocol/LibraryRows.h"
#include "wickerlane/protocol/SizeKind.h"

namespace wickerlane::cli {
namespace {

struct Options {
    bool json = false;
};

using protocol::SizeKind;

constexpr struct Kind {
    SizeKind kind;
    const char *key; ///< In JSON.
    [[nodiscard]] constexpr std::uint32_t bit() const { return static_cast<std::uint32_t>(kind); }
} kinds[] = {{SizeKind::photos, "photoBytes"},
             {SizeKind::videos, "videoBytes"},
             {SizeKind::derived, "derivedBytes"},
             {SizeKind::database, "databaseBytes"},
             {SizeKind::trash, "trashBytes"}};

std::string labelOf(SizeKind kind) {
    switch (kind) {
    case SizeKind::photos:
        return localized("Photos");
    case SizeKind::videos:
        return localized("Videos");
    case SizeKind::derived:
        return localized("Thumbnails and edited renditions");
    case SizeKind::database:
        return localized("Store");
    case SizeKind::trash:
        return localized("Trash");
    }
    return {};
}

/// Bytes by kind.
using Sizes = std::map<std::uint32_t, std::uint64_t>;

Result<Sizes> askSizes() {
    const client::Reply reply = client::Request(protocol::getLibrarySizes)
                                    .sendAndWait(JXGatekeeperClient::sharedInstance()->connection());
    if (const MessageError *error = reply.error();
        error == MessageError::connectionInterrupted() || error == MessageError::connectionInvalid())
        return failUnreachable();
    else if (error != nullptr)
        return fail(problemIn(*error));
    const auto *given = as<Dictionary>(reply.get(protocol::keys::sizes));
    Sizes sizes;
    for (const Kind &kind : kinds) {
        const auto *bytes = given != nullptr ? given->get<Number>(std::to_string(kind.bit())) : nullptr;
        if (bytes == nullptr)
            return fail(ProblemKind::failed, localized("the daemon does not say all sizes"));
        sizes[kind.bit()] = bytes->uint64Value();
    }
    return sizes;
}

Result<ExitCode> showSizes(const Options &options) {
    if (const auto answers = requireDaemon(); !answers)
        return passOn(answers);
    const ReleaseScope scope;
    const auto sizes = askSizes();
    if (!sizes)
        return passOn(sizes);
    JSON described;
    for (const Kind &kind : kinds) {
        const std::uint64_t bytes = sizes->at(kind.bit());
        described[kind.key] = bytes;
        if (!options.json)
            print(localized("{}: {}", labelOf(kind.kind), sizeText(bytes)));
    }
    if (options.json)
        printJSON(described);
    return ExitCode::success;
}

} // namespace

void setUpSizes(Command command) {
    command.footer("Example:\n  wickerlane sizes --json");
    Options &options = command.runs(showSizes);
    command.addFlag("--json", options.json, "Write JSON, in bytes");
}

} // namespace wickerlane::cli
