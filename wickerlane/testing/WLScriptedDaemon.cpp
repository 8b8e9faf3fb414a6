#include "wickerlane/testing/WLScriptedDaemon.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/String.h"
#include "wickerlane/protocol/AllRows.h"
#include "wickerlane/testing/ScriptedDaemon.h"

using namespace wickerlane;

struct WLScriptedDaemon {
    ScriptedDaemon daemon;
};

namespace {

/// Long enough for any test, and far from the end of what clocks count.
constexpr double maxSeconds = 1e8;

/// Of no number none.
std::chrono::nanoseconds durationOf(double seconds) {
    if (std::isnan(seconds))
        return {};
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
        std::chrono::duration<double>(std::clamp(seconds, 0.0, maxSeconds)));
}

/// Stores what the call throws as an error. False when it throws.
template <class Call>
bool withoutExceptions(WLError **error, const Call &call) {
    if (error != nullptr)
        *error = nullptr;
    const auto fail = [&](ProblemKind kind, const char *text) {
        if (error == nullptr)
            return false;
        const auto shown = String::create(text);
        *error = autorelease(Error::createWithDescription(String::of("WickerlaneTesting"),
                                                          static_cast<std::int64_t>(kind),
                                                          shown ? shown.get() : String::empty()));
        return false;
    };
    try {
        call();
        return true;
    } catch (const std::invalid_argument &fault) {
        return fail(ProblemKind::invalid, fault.what());
    } catch (const std::exception &fault) {
        return fail(ProblemKind::failed, fault.what());
    }
}

bool setScript(WLScriptedDaemon *daemon, const char *operation, size_t number, double delay,
               ScriptedReaction reaction, WLError **error) {
    return withoutExceptions(error, [&] {
        if (std::isnan(delay))
            throw std::invalid_argument("the delay is no number");
        if (delay < 0)
            reaction.whenReleased();
        else
            reaction.after(durationOf(delay));
        if (operation == nullptr && number != 0)
            throw std::invalid_argument("requests are counted for each operation");
        if (operation == nullptr)
            daemon->daemon.onAllElse(std::move(reaction));
        else if (number == 0)
            daemon->daemon.on(operation, std::move(reaction));
        else
            daemon->daemon.onNth(number, operation, std::move(reaction));
    });
}

} // namespace

WLScriptedDaemon *WLScriptedDaemonStart(WLError **error) {
    WLScriptedDaemon *daemon = nullptr;
    withoutExceptions(error, [&] { daemon = new WLScriptedDaemon; });
    return daemon;
}

void WLScriptedDaemonEnd(WLScriptedDaemon *daemon) {
    delete daemon;
}

const char *WLScriptedDaemonRoot(const WLScriptedDaemon *daemon) {
    return daemon->daemon.root().c_str();
}

bool WLScriptedDaemonAnswer(WLScriptedDaemon *daemon, const char *operation, size_t number, double delay,
                            const WLDictionary *values, WLError **error) {
    return setScript(daemon, operation, number, delay, ScriptedReaction::answer(values), error);
}

bool WLScriptedDaemonFail(WLScriptedDaemon *daemon, const char *operation, size_t number, double delay,
                          int64_t code, const char *text, WLError **error) {
    std::optional<ScriptedReaction> failure;
    return withoutExceptions(error,
                             [&] {
                                 failure = ScriptedReaction::failure(static_cast<ProblemKind>(code),
                                                                     text != nullptr ? text : "");
                             }) &&
           setScript(daemon, operation, number, delay, std::move(*failure), error);
}

bool WLScriptedDaemonDie(WLScriptedDaemon *daemon, const char *operation, size_t number, double delay,
                         WLError **error) {
    return setScript(daemon, operation, number, delay, ScriptedReaction::death(), error);
}

void WLScriptedDaemonRefuseAccess(WLScriptedDaemon *daemon, bool isRefused) {
    daemon->daemon.refuseAccess(isRefused);
}

void WLScriptedDaemonRelease(WLScriptedDaemon *daemon) {
    daemon->daemon.release();
}

void WLScriptedDaemonStop(WLScriptedDaemon *daemon) {
    daemon->daemon.stop();
}

bool WLScriptedDaemonListen(WLScriptedDaemon *daemon, WLError **error) {
    return withoutExceptions(error, [&] { daemon->daemon.start(); });
}

WLArray *WLScriptedDaemonCreateRequests(const WLScriptedDaemon *daemon) {
    auto requests = MutableArray::create();
    for (const ScriptedRequest &each : daemon->daemon.requests())
        requests->append(Dictionary::createWithKeys({{"operation", String::create(each.operation).get()},
                                                     {"values", each.values.get()},
                                                     {"wantsReply", Number::create(each.wantsReply).get()},
                                                     {"process", Number::create(each.process).get()}})
                             .get());
    return requests.leak();
}

bool WLScriptedDaemonWaitForRequests(const WLScriptedDaemon *daemon, size_t count, double seconds) {
    return daemon->daemon.waitForRequests(count, durationOf(seconds));
}

void WLScriptedDaemonForgetRequests(WLScriptedDaemon *daemon) {
    daemon->daemon.forgetRequests();
}

WLDictionary *WLScriptedOperationsCreate(void) {
    auto operations = MutableDictionary::create();
    for (const protocol::Row *row : protocol::allRows()) {
        auto keys = MutableArray::create();
        for (const protocol::Field &field : row->replyKeys.all())
            keys->append(String::create(field.key).get());
        operations->set(row->name, keys.get());
    }
    return operations.leak();
}
