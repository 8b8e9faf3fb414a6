// How long nothing has happened on a connection.
#ifndef WICKERLANE_PLATFORM_MESSAGE_CONNECTION_IDLETIMER_H
#define WICKERLANE_PLATFORM_MESSAGE_CONNECTION_IDLETIMER_H

#include <chrono>
#include <cstdint>
#include <utility>

namespace wickerlane {

/// Tells when a connection is quiet (the reader thread then watches for input that nothing waits for) and
/// when it is idle (it then closes). Guarded by the connection's mutex. Its owner starts the timers and
/// reports when they fire.
///
///     timer    starts                       when it fires
///     quiet    with the first activity      after activity it starts again; else the connection is quiet
///     idle     when the connection is       after activity, or while in use, it starts again; else the
///              quiet                        connection is idle
class IdleTimer {
public:
    /// How long nothing happens before a connection is quiet.
    static constexpr std::chrono::milliseconds quietTime{50};

    /// Something was sent. True when the quiet timer is to start.
    [[nodiscard]] bool noteActivity() noexcept {
        ++activity;
        return !std::exchange(isQuietTimerRunning, true);
    }
    /// The quiet timer fired. True when there was activity since it was started: it is to start again.
    [[nodiscard]] bool quietTimerFired() noexcept {
        isQuietTimerRunning = activity != std::exchange(activityAtQuietTimer, activity);
        return isQuietTimerRunning;
    }
    /// The connection is quiet. True when the idle timer is to start.
    [[nodiscard]] bool startIdleTimer() noexcept {
        if (std::exchange(isIdleTimerRunning, true))
            return false;
        activityAtIdleTimer = activity;
        return true;
    }
    /// The idle timer fired. True when the connection is idle; else the timer is to start again.
    [[nodiscard]] bool idleTimerFired(bool isInUse) noexcept {
        const bool wasActive = activity != std::exchange(activityAtIdleTimer, activity);
        isIdleTimerRunning = wasActive || isInUse;
        return !isIdleTimerRunning;
    }
    /// A timer fired while there was no connection: it does not start again.
    void quietTimerStopped() noexcept { isQuietTimerRunning = false; }
    void idleTimerStopped() noexcept { isIdleTimerRunning = false; }

    std::chrono::milliseconds idleTime{10'000};

private:
    std::uint64_t activity = 0; // a count
    std::uint64_t activityAtQuietTimer = 0;
    std::uint64_t activityAtIdleTimer = 0;
    bool isQuietTimerRunning = false;
    bool isIdleTimerRunning = false;
};

} // namespace wickerlane

#endif
