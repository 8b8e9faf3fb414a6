// wickerlane daemon
#include <fcntl.h>
#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <poll.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <vector>

#include "cli/DaemonRequests.h"
#include "cli/FileFailures.h"
#include "cli/Interrupt.h"
#include "cli/Output.h"
#include "cli/Progress.h"
#include "cli/Subcommands.h"
#include "cli/Table.h"
#include "cli/Texts.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/consent/ConsentRules.h"
#include "wickerlane/platform/file/FileLock.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/message/service/ServiceSocket.h"
#include "wickerlane/platform/preferences/PreferenceFile.h"
#include "wickerlane/protocol/ServiceName.h"
#include "wickerlane/store/LibraryPaths.h"
#include "wickerlane/util/identity/JXProcessIdentity.h"

using namespace std::string_view_literals;

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

/// The command that shows the messages of a daemon which a service manager runs.
std::string journalCommand() {
    return isRootOfDevice() ? "journalctl -u hoardd.service" : "journalctl --user -u hoardd.service";
}

/// Whether a service manager has started the daemon, so that its messages go to the journal. On a device
/// other users can't see that.
bool isManaged(pid_t process) {
    std::vector<std::byte> bytes;
    if (process == 0 || !readFile(fmt::format("/proc/{}/environ", process), bytes, 1 << 20))
        return isRootOfDevice() && access(daemonLogPath().c_str(), R_OK) != 0;
    const std::string_view variables(reinterpret_cast<const char *>(bytes.data()), bytes.size());
    return variables.starts_with("NOTIFY_SOCKET=") || variables.find("\0NOTIFY_SOCKET="sv) != variables.npos;
}

/// Whether a daemon runs, also one that has not opened the library or can't. It is not started.
bool listens() {
    return static_cast<bool>(ServiceSocket(WickerlaneGatekeeperName).connect());
}

struct Status {
    std::int64_t modelVersion = 0;
    PeerVersion version{}; ///< Of the daemon.
    pid_t process = 0;     ///< 0 when it is not known: of one that serves another user, or no library.
    Result<> serves;       ///< Why it refuses to; then nothing else is known.
    Result<> access;
};

Result<Status> askStatus(const std::string &lockPath) {
    JXGatekeeperClient *client = JXGatekeeperClient::sharedInstance();
    Status status;
    status.serves = requireDaemon();
    status.version = client->connection()->serviceVersion();
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

/// The command is of the version of its library.
bool isOlder(const PeerVersion &daemon) {
    const PeerVersion own = PeerVersion::own();
    return std::pair(daemon.release, daemon.protocol) < std::pair(own.release, own.protocol);
}

/// What is where, below the root: by its name in JSON and for people.
struct Place {
    const char *key;
    std::string label, path;
};

std::vector<Place> places() {
    return {{"root", localized("Root"), rootPath()},
            {"library", localized("Library"), store::LibraryPaths().folder()},
            {"store", localized("Store"), store::LibraryPaths().database()},
            {"socket", localized("Socket"), ServiceSocket(WickerlaneGatekeeperName).path()},
            {"log", localized("Log"), daemonLogPath()},
            {"preferences", localized("Preferences"), PreferenceFile::pathOf(JXHoarddPreferencesDomain)},
            {"consent", localized("Consent"), consentPath()}};
}

JSON describe(const std::optional<Status> &status) {
    JSON described = {{"running", status.has_value()}};
    for (const Place &each : places())
        described[each.key] = each.path;
    if (status) {
        described["version"] = status->version.text();
        described["protocol"] = status->version.protocol;
    }
    if (status && !status->serves) {
        described["problem"] = status->serves.error().text;
    } else if (status) {
        if (status->process != 0)
            described["process"] = status->process;
        described["modelVersion"] = status->modelVersion;
        described["access"] = status->access.has_value();
    }
    return described;
}

void printStatus(const std::optional<Status> &status) {
    printField(localized("Daemon"),
               !status                ? localized("not running; it starts when it is needed, or with --start")
               : !status->serves      ? localized("running, but it refuses")
               : status->process == 0 ? localized("running")
                                      : localized("running, process {}", status->process));
    if (status)
        printField(localized("Version"),
                   localized("{}, protocol {}", status->version.text(), status->version.protocol));
    const bool isInJournal = isManaged(status ? status->process : 0);
    for (const Place &each : places())
        printField(each.label, each.key == "log"sv && isInJournal ? journalCommand() : each.path);
    if (status && status->serves) {
        printField(localized("Model"), localized("version {}", status->modelVersion));
        printField(localized("Access"), status->access
                                            ? localized("granted")
                                            : localized("refused: {}", status->access.error().text));
    }
}

Result<ExitCode> showStatus(const Options &options) {
    std::optional<Status> status;
    if (options.start || listens()) {
        auto asked = askStatus(store::LibraryPaths().lock());
        if (!asked)
            return passOn(asked);
        status = std::move(*asked);
    }
    if (options.json)
        printJSON(describe(status));
    else
        printStatus(status);
    if (status && isOlder(status->version))
        advise(localized("the daemon is older than this command, which is of version {}: "
                         "wickerlane daemon restart",
                         PeerVersion::own().text()));
    if (status && !status->serves)
        return passOn(status->serves);
    return ExitCode::success;
}

/// Ends the process that serves the library, and waits until it has ended. Gives whether there was one.
Result<bool> stopDaemon() {
    const store::LibraryPaths paths;
    const pid_t process = daemonProcess(paths.lock());
    if (process == 0) {
        if (listens())
            return fail(ProblemKind::refused,
                        localized("the daemon serves another user or no library, and is left alone"));
        return false;
    }
    const UniqueFd handle(static_cast<int>(syscall(SYS_pidfd_open, process, 0)));
    // The number may be another process's by now.
    if (!handle || daemonProcess(paths.lock()) != process)
        return false;
    if (syscall(SYS_pidfd_send_signal, handle.get(), SIGTERM, nullptr, 0) != 0)
        return fail(ProblemKind::failed,
                    localized("can't end the daemon process {}: {}", process, textOfError(errno)));
    const InterruptScope interrupts;
    Progress progress(localized("waiting for the daemon to end"));
    // A signal may end the waiting early.
    for (pollfd ended{handle.get(), POLLIN, 0}; poll(&ended, 1, 100) != 1;) {
        if (isInterrupted())
            return failInterrupted(localized("interrupted: the daemon may still be ending"));
        progress.tick();
    }
    return true;
}

Result<ExitCode> stop() {
    const auto stopped = stopDaemon();
    if (!stopped)
        return passOn(stopped);
    summarize(*stopped ? localized("the daemon has ended; it starts when it is needed")
                       : localized("the daemon is not running"));
    return ExitCode::success;
}

Result<ExitCode> restart() {
    if (const auto stopped = stopDaemon(); !stopped)
        return passOn(stopped);
    if (const auto answers = requireDaemon(); !answers)
        return passOn(answers);
    summarize(localized("the daemon runs, process {}", daemonProcess(store::LibraryPaths().lock())));
    return ExitCode::success;
}

struct LogOptions {
    std::uint64_t lines = 50;
    bool follow = false;
};

/// Prints the whole lines that a file has from a place on, and gives the place behind them.
Result<off_t> printLines(int file, off_t from) {
    std::string text;
    char buffer[65536];
    for (;;) {
        const ssize_t count = pread(file, buffer, sizeof buffer, from + static_cast<off_t>(text.size()));
        if (count < 0)
            return failToRead(daemonLogPath());
        if (count == 0)
            break;
        text.append(buffer, static_cast<std::size_t>(count));
    }
    const std::size_t length = text.rfind('\n') + 1; // 0 without one
    for (std::size_t begin = 0; begin < length;) {
        const std::size_t end = text.find('\n', begin);
        print(std::string_view(text).substr(begin, end - begin));
        begin = end + 1;
    }
    return from + static_cast<off_t>(length);
}

/// Where the last lines of a file begin.
off_t beginOfLast(int file, std::uint64_t lines) {
    const off_t size = lseek(file, 0, SEEK_END);
    std::uint64_t ends = 0;
    char buffer[4096];
    for (off_t end = size; end > 0;) {
        const auto length = static_cast<std::size_t>(std::min<off_t>(end, sizeof buffer));
        end -= static_cast<off_t>(length);
        if (pread(file, buffer, length, end) != static_cast<ssize_t>(length))
            return 0;
        for (std::size_t i = length; i-- > 0;)
            if (buffer[i] == '\n' && ends++ == lines)
                return end + static_cast<off_t>(i) + 1;
    }
    return 0;
}

Result<ExitCode> showLog(const LogOptions &options) {
    using namespace std::chrono_literals;
    if (isManaged(daemonProcess(store::LibraryPaths().lock())))
        return fail(ProblemKind::notFound,
                    localized("a service manager runs the daemon, and has its log: {}", journalCommand()));
    const std::string path = daemonLogPath();
    UniqueFd file = openFile(path, O_RDONLY);
    if (!file && errno == ENOENT)
        return fail(ProblemKind::notFound,
                    localized("there is no log {}; if a service manager runs the daemon: {}", path,
                              journalCommand()));
    if (!file)
        return failToRead(path);
    auto place = printLines(file.get(), beginOfLast(file.get(), options.lines));
    if (!options.follow || !place)
        return place.map([](off_t) { return ExitCode::success; });
    const InterruptScope interrupts;
    while (!isInterrupted()) {
        if (const auto written = flushOutput(); !written)
            return passOn(written);
        static_cast<void>(interruptSemaphore().wait(200ms));
        place = printLines(file.get(), *place);
        if (!place)
            return passOn(place);
        // A full log is set aside, and another one is begun.
        struct stat here = {}, there = {};
        if (UniqueFd next = openFile(path, O_RDONLY); next && fstat(file.get(), &here) == 0 &&
                                                      fstat(next.get(), &there) == 0 &&
                                                      here.st_ino != there.st_ino) {
            // What came into the old one last.
            if (const auto rest = printLines(file.get(), *place); !rest)
                return passOn(rest);
            file = std::move(next);
            place = 0;
        }
    }
    return ExitCode::interrupted;
}

} // namespace

void setUpDaemon(Command command) {
    command.requireSubcommand();
    command.footer("Examples:\n"
                   "  wickerlane daemon status\n"
                   "  wickerlane daemon restart");
    const auto status = command.addSubcommand(
        "status", "Say whether the daemon runs for this library, what it answers, and where things are");
    status.footer("Example:\n  wickerlane daemon status --start");
    Options &options = status.runs(showStatus);
    status.addFlag("--start", options.start, "Start the daemon if it is not running");
    status.addFlag("--json", options.json, "Write JSON");

    command.addSubcommand("stop", "End the daemon of this library when it has done what it does").runs([] {
        return stop();
    });
    command.addSubcommand("restart", "End it and start it again").runs([] { return restart(); });
    const Command log = command.addSubcommand("log", "Show the last lines of the daemon's log");
    log.footer("Example:\n  wickerlane daemon log --follow");
    LogOptions &logging = log.runs(showLog);
    log.addOption("--lines", logging.lines, "How many (default: 50)").notNegative().typeName("COUNT");
    log.addFlag("-f,--follow", logging.follow, "Then show further lines as they come, until Ctrl-C");
}

} // namespace wickerlane::cli
