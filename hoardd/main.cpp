// hoardd: the daemon that owns the photo library.
#include <malloc.h>
#include <sys/epoll.h>
#include <sys/signalfd.h>

#include <CLI/CLI.hpp>
#include <csignal>

#include "hoardd/Circumstances.h"
#include "hoardd/Daemon.h"
#include "hoardd/ServiceManager.h"
#include "hoardd/service/PeerLog.h"
#include "wickerlane/platform/consent/Consent.h"
#include "wickerlane/platform/console/Console.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/file/TrustedPath.h"
#include "wickerlane/platform/message/service/ServiceConsole.h"
#include "wickerlane/platform/object/NeverDestroyed.h"
#include "wickerlane/platform/queue/DescriptorSource.h"
#include "wickerlane/platform/queue/WorkQueue.h"
#include "wickerlane/protocol/ServiceName.h"
#include "wickerlane/store/Sqlite.h"

namespace wickerlane::hoardd {
namespace {

/// Directs the signals that end a process to a descriptor. Before any thread starts, so that all block them.
UniqueFd redirectSignals() {
    sigset_t ending;
    sigemptyset(&ending);
    sigaddset(&ending, SIGTERM);
    sigaddset(&ending, SIGINT);
    pthread_sigmask(SIG_BLOCK, &ending, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN); // a file that may not grow is a failed write, not the end of all
    return UniqueFd(signalfd(-1, &ending, SFD_CLOEXEC | SFD_NONBLOCK));
}

int serve(const DaemonOptions &options) {
    const UniqueFd signals = redirectSignals();
    keepServiceConsole(WickerlaneGatekeeperName);
    leaveCircumstancesOfStart();
    if (const std::string why = whyUntrusted(rootPath()); !why.empty()) {
        consoleLog("hoardd: the root %s is not used: %s", rootPath().c_str(), why.c_str());
        return 1;
    }
    if (const std::string why = whyLibraryIsAnothers(); !why.empty()) {
        consoleLog("hoardd: %s", why.c_str());
        return 1;
    }
    if (const std::string why = whyConsentIgnored(); !why.empty())
        consoleLog("hoardd: the decisions about programs do not count: %s", why.c_str());
    limitLinesOfPeers();
    // Never destroyed: threads of the queues may still use it when main() returns.
    static NeverDestroyed<Daemon> kept(options);
    Daemon &daemon = *kept;
    if (const auto started = daemon.start([] { WorkQueue::stopMain(); }); !started) {
        consoleLog("hoardd: %s", started.error().text.c_str());
        return 1;
    }
    const auto source = DescriptorSource::create(signals.get(), [](std::uint32_t) { WorkQueue::stopMain(); });
    if (source == nullptr) {
        consoleLog("hoardd: the system has no thread or no descriptor left");
        return 1;
    }
    source->arm(EPOLLIN);
    tellServiceManager("READY=1");
    // The main queue is served so that changed log levels reach this process.
    WorkQueue::runMain();
    source->cancel();
    tellServiceManager("STOPPING=1");
    daemon.stop();
    sayWhatWasLeftOut();
    return 0;
}

} // namespace
} // namespace wickerlane::hoardd

int main(int argc, char **argv) {
    // Fixed, since by default they grow with what is freed, and large blocks then stay with the process.
    // Set before there are threads.
    constexpr int largeBlock = 1 << 20;
    mallopt(M_TRIM_THRESHOLD, largeBlock);
    mallopt(M_MMAP_THRESHOLD, largeBlock);
    // Each arena keeps free memory of its own, and one for each thread would keep a burst many times.
    mallopt(M_ARENA_MAX, 4);
    wickerlane::sqlite::leaveMemoryUncounted();
    CLI::App app{
        "hoardd owns the photo library and serves it to its clients. It is started on demand, and ends when "
        "it has been idle; there is no need to start it by hand.",
        "hoardd"};
    using namespace wickerlane::hoardd;
    DaemonOptions options;
    double idleSeconds = 30;
    app.set_version_flag("--version", "hoardd " HOARDD_VERSION);
    app.add_option("--idle-seconds", idleSeconds, "End after this time without a connection; 0 means never")
        ->check(CLI::Range(0.0, 1e6))
        ->capture_default_str();
    app.add_option("--max-jobs", options.maxJobs,
                   "Saves of a client that may wait or run; further ones are refused")
        ->capture_default_str();
    double quietSeconds = 5;
    app.add_option("--analyze-after", quietSeconds,
                   "Analyze photos this many seconds after they have changed; 0 means only on request")
        ->check(CLI::Range(0.0, 1e6))
        ->capture_default_str();
    double scrubDays = 90;
    app.add_option("--scrub-days", scrubDays,
                   "Read each original again within this many days, to see whether it is what was saved; 0 "
                   "means never")
        ->check(CLI::Range(0.0, 36'500.0))
        ->capture_default_str();
    CLI11_PARSE(app, argc, argv);
    options.scrubTime = std::chrono::duration<double>(scrubDays * 86'400);
    options.quietTime = std::chrono::milliseconds(static_cast<std::int64_t>(quietSeconds * 1000));
    options.idleTime = std::chrono::milliseconds(static_cast<std::int64_t>(idleSeconds * 1000));
    return serve(options);
}
