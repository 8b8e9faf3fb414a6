// wickerlane daemon status
#include <fcntl.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <sys/file.h>

#include <cerrno>
#include <charconv>

#include "cli/OpenedLibrary.h"
#include "cli/Waiting.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/file/Files.h"

namespace wickerlane::cli {
namespace {

/// The process that has the library open; 0 when there is none. The daemon holds the lock as long as it
/// serves the library, and is patient with whoever holds it for an instant.
pid_t daemonProcess(const std::string &lockPath) {
    const UniqueFd lock = openFile(lockPath, O_RDONLY);
    if (!lock || flock(lock.get(), LOCK_SH | LOCK_NB) == 0 || errno != EWOULDBLOCK)
        return 0;
    char text[32];
    const ssize_t length = pread(lock.get(), text, sizeof text, 0);
    pid_t process = 0;
    if (length > 0)
        std::from_chars(text, text + length, process);
    return process;
}

struct Access {
    bool granted = false;
    std::string problem;
};

Access askAccess() {
    Awaited<Access> answer;
    JXGatekeeperClient::sharedInstance()->requestAccessWithHandler([answer](bool granted, Error *error) {
        answer.give({granted, error != nullptr ? std::string(error->localizedDescription()->utf8()) : ""});
    });
    return answer.take();
}

ExitCode status(bool start, bool json) {
    ReleaseScope scope;
    const store::LibraryPaths paths;
    const bool running = daemonProcess(paths.lock()) != 0;
    std::int64_t version = -1;
    Access access;
    if (running || start) {
        version = JXGatekeeperClient::sharedInstance()->getCurrentModelVersion();
        if (version < 0)
            return failUnreachable();
        access = askAccess();
    }
    const pid_t process = daemonProcess(paths.lock());

    if (json) {
        JSON result = {{"running", version >= 0}, {"root", rootPath()}, {"library", paths.folder()}};
        if (version >= 0) {
            result["process"] = process;
            result["modelVersion"] = version;
            result["access"] = access.granted;
        }
        printJSON(result);
        return ExitCode::success;
    }
    const auto line = [](std::string_view label, std::string_view value) {
        print(fmt::format("{:<10}{}", label, value));
    };
    line("Daemon", version >= 0 ? fmt::format("running, process {}", process)
                                : "not running; it starts when it is needed, or with --start");
    line("Root", rootPath());
    line("Library", paths.folder());
    if (version >= 0) {
        line("Model", fmt::format("version {}", version));
        line("Access", access.granted ? "granted" : "refused: " + access.problem);
    }
    return ExitCode::success;
}

} // namespace

void addDaemon(Command app, Action &chosen) {
    const auto daemon = app.addSubcommand("daemon", "Look after the daemon");
    daemon.requireSubcommand();
    const auto command =
        daemon.addSubcommand("status", "Say whether the daemon runs for this library, and what it answers");
    command.footer("Example:\n  wickerlane daemon status --start");
    struct Options {
        bool start = false;
        bool json = false;
    };
    auto options = std::make_shared<Options>();
    command.addFlag("--start", options->start, "Start the daemon if it is not running");
    command.addFlag("--json", options->json, "Write JSON");
    command.callback(
        [options, &chosen] { chosen = [options] { return status(options->start, options->json); }; });
}

} // namespace wickerlane::cli
