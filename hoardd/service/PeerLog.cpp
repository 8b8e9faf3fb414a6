#include "hoardd/service/PeerLog.h"

#include <chrono>
#include <map>
#include <utility>

#include "wickerlane/platform/console/Console.h"
#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/object/NeverDestroyed.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane::hoardd {

namespace {

constexpr unsigned long linesOfWindow = 20;
constexpr std::chrono::seconds windowTime{10};

/// The process for which this thread works; 0 when it works for none.
constinit thread_local pid_t currentPeer = 0;

/// What has been logged for a process since its first line.
struct Window {
    unsigned long lines = 0;
    unsigned long leftOut = 0;
};

class Windows {
public:
    static Windows &shared() {
        static NeverDestroyed<Windows> windows;
        return *windows;
    }

    bool admit(pid_t process) WL_EXCLUDES(mutex) {
        const MutexLock lock(mutex);
        const auto [found, isNew] = windows.try_emplace(process);
        if (isNew)
            WorkQueue::global()->after(windowTime, [this, process] { close(process); });
        Window &window = found->second;
        ++(window.lines < linesOfWindow ? window.lines : window.leftOut);
        return window.leftOut == 0;
    }

    void close(pid_t process) WL_EXCLUDES(mutex) {
        Window window;
        {
            const MutexLock lock(mutex);
            if (const auto found = windows.extract(process))
                window = found.mapped();
        }
        say(process, window);
    }

    void closeAll() WL_EXCLUDES(mutex) {
        std::map<pid_t, Window> closed;
        {
            const MutexLock lock(mutex);
            closed.swap(windows);
        }
        for (const auto &[process, window] : closed)
            say(process, window);
    }

private:
    static void say(pid_t process, const Window &window) {
        if (window.leftOut != 0)
            consoleLog("hoardd: left out %lu more lines that are due to process %d", window.leftOut, process);
    }

    Mutex mutex;
    std::map<pid_t, Window> windows WL_GUARDED_BY(mutex);
};

} // namespace

PeerLogScope::PeerLogScope(pid_t process) noexcept : outer(std::exchange(currentPeer, process)) {
}

PeerLogScope::~PeerLogScope() {
    currentPeer = outer;
}

void limitLinesOfPeers() {
    setConsoleGate([] { return currentPeer == 0 || Windows::shared().admit(currentPeer); });
}

void sayWhatWasLeftOut() {
    Windows::shared().closeAll();
}

std::string shownInLog(std::string_view text) {
    constexpr std::size_t maxBytes = 1024;
    if (text.size() <= maxBytes)
        return std::string(text);
    std::size_t end = maxBytes;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) // within a character
        --end;
    return std::string(text.substr(0, end)) + "...";
}

} // namespace wickerlane::hoardd
