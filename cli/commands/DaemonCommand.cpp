// wickerlane daemon
#include <fcntl.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include <cerrno>
#include <charconv>

#include "cli/DaemonRequests.h"
#include "cli/Output.h"
#include "cli/Subcommands.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/file/FileLock.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/message/service/ServiceSocket.h"
#include "wickerlane/protocol/ServiceName.h"
#include "wickerlane/store/LibraryPaths.h"

namespace wickerlane::cli {
namespace {

struct Options {
    bool start = false;
    bool json = false;
};

/// The process that serves the library: it holds the lock file locked, with its ID in it. 0 when there is
/// none.
pid_t daemonProcess(const std::string &lockPath) {
    const UniqueFd lock = openFile(lockPath, O_RDONLY);
    // The lock taken here goes with the descriptor. A daemon that starts meanwhile tries again.
    if (!lock || tryLockFile(lock.get(), FileLock::shared) || errno != EWOULDBLOCK)
        return 0;
    char text[32];
    const ssize_t length = pread(lock.get(), text, sizeof text, 0);
    pid_t process = 0;
    if (length > 0)
        std::from_chars(text, text + length, process);
    return process;
}

/// Whether a daemon runs, also one that has not opened the library or can't. It is not started.
bool listens() {
    return static_cast<bool>(ServiceSocket(WickerlaneGatekeeperName).connect());
}

struct Status {
    std::int64_t modelVersion = 0;
    pid_t process = 0; ///< 0 when it is not known: of one that serves another user, or no library.
    Result<> serves;   ///< Why it refuses to; then nothing else is known.
    Result<> access;
};

Result<Status> askStatus(const std::string &lockPath) {
    JXGatekeeperClient *client = JXGatekeeperClient::sharedInstance();
    Status status;
    status.serves = requireDaemon();
    if (!status.serves && !listens())
        return passOn(status.serves);
    if (!status.serves)
        return status;
    status.modelVersion = client->getCurrentModelVersion();
    status.access =
        waitForSuccess("", [&](const SuccessHandler &handler) { client->requestAccessWithHandler(handler); });
    status.process = daemonProcess(lockPath);
    return status;
}

JSON describe(const std::optional<Status> &status, const std::string &library) {
    JSON described = {{"running", status.has_value()}, {"root", rootPath()}, {"library", library}};
    if (status && !status->serves) {
        described["refused"] = status->serves.error().text;
    } else if (status) {
        if (status->process != 0)
            described["process"] = status->process;
        described["modelVersion"] = status->modelVersion;
        described["access"] = status->access.has_value();
    }
    return described;
}

void printStatus(const std::optional<Status> &status, const std::string &library) {
    printField("Daemon", !status                ? "not running; it starts when it is needed, or with --start"
                         : !status->serves      ? "running, but it refuses"
                         : status->process == 0 ? "running"
                                                : fmt::format("running, process {}", status->process));
    printField("Root", rootPath());
    printField("Library", library);
    if (status && status->serves) {
        printField("Model", fmt::format("version {}", status->modelVersion));
        printField("Access", status->access ? "granted" : "refused: " + status->access.error().text);
    }
}

Result<ExitCode> showStatus(const Options &options) {
    const store::LibraryPaths paths;
    std::optional<Status> status;
    if (options.start || listens()) {
        auto asked = askStatus(paths.lock());
        if (!asked)
            return passOn(asked);
        status = std::move(*asked);
    }
    if (options.json)
        printJSON(describe(status, paths.folder()));
    else
        printStatus(status, paths.folder());
    if (status && !status->serves)
        return passOn(status->serves);
    return ExitCode::success;
}

} // namespace

void setUpDaemon(Command command) {
    command.requireSubcommand();
    const auto status =
        command.addSubcommand("status", "Say whether the daemon runs for this library, and what it answers");
    status.footer("Example:\n  wickerlane daemon status --start");
    Options &options = status.runs(showStatus);
    status.addFlag("--start", options.start, "Start the daemon if it is not running");
    status.addFlag("--json", options.json, "Write JSON");
}

} // namespace wickerlane::cli
