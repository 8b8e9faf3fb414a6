#include "cli/view/Polls.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <functional>
#include <iterator>

#include "cli/FollowedChanges.h"
#include "cli/view/DaemonQuestions.h"
#include "wickerlane/client/JXGatekeeperClient.h"

namespace wickerlane::cli::view {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t maxPolls = 4;
constexpr auto waitTime = 25s;
/// A poll that is younger does not give way: pages that are many would only end each other's.
constexpr auto leastTime = 1s;
constexpr std::size_t changesOfAnswer = 1'000;
constexpr std::size_t maxTokenBytes = 200;

/// Another text when an album was made, renamed, deleted or has another number of assets: the library's
/// record of changes is of assets alone. Empty when it is not known.
std::string stateOfAlbums() {
    const auto albums = JXGatekeeperClient::sharedInstance()->albums();
    if (!albums)
        return {};
    std::string all;
    for (const Ref<ManagedAlbum> &each : *albums)
        fmt::format_to(std::back_inserter(all), "{} {} {}\n", each->record().uuid, each->record().assetCount,
                       each->record().name);
    return fmt::format("{:016x}", std::hash<std::string>{}(all));
}

std::string textOf(const ChangesPage &page, const std::string &albums) {
    JSON described = {{"token", page.token}};
    if (page.isTooOld)
        described["tooOld"] = true;
    described["changes"] = JSON::array();
    for (const AssetChange &each : page.changes)
        described["changes"].push_back({{"id", each.uuid}, {"kind", nameOf(each.what)}});
    described["isLast"] = page.isLast;
    if (!albums.empty())
        described["albums"] = albums;
    return described.dump();
}

} // namespace

Ref<Cancellation> Polls::enter() {
    const auto now = std::chrono::steady_clock::now();
    const MutexLock lock(mutex);
    if (hasEnded)
        return nullptr;
    if (polls.size() >= maxPolls) {
        if (now - polls.front().begin < leastTime)
            return nullptr;
        polls.front().cancellation->cancel();
        polls.pop_front();
    }
    polls.push_back({Cancellation::create(), now});
    return polls.back().cancellation;
}

void Polls::leave(const Cancellation *cancellation) {
    const MutexLock lock(mutex);
    polls.remove_if([&](const Poll &each) { return each.cancellation.get() == cancellation; });
}

void Polls::end() {
    const MutexLock lock(mutex);
    hasEnded = true;
    for (const Poll &each : polls)
        each.cancellation->cancel();
}

Result<std::string> Polls::wait(const httplib::Request &request) {
    auto *client = JXGatekeeperClient::sharedInstance();
    const std::string token = request.get_param_value("token");
    if (token.size() > maxTokenBytes)
        return fail(ProblemKind::invalid, "'token' must be one that this server gave");
    if (token.empty()) {
        const auto present = askAgain([&] { return client->changesSinceToken("", 0); });
        return present ? Result<std::string>(textOf(*present, stateOfAlbums())) : failAsked();
    }
    const Ref<Cancellation> cancellation = enter();
    if (!cancellation)
        return fail(ProblemKind::busy, "too many pages wait for changes; try again in a moment");
    const auto page = [&] {
        const CancellationScope scope(cancellation.get());
        const ReplyTimeLimit none(0ns); // --timeout is for answers that are due
        return client->awaitChangesSinceToken(token, changesOfAnswer, waitTime);
    }();
    leave(cancellation.get());
    if (page)
        return textOf(*page, stateOfAlbums());
    if (cancellation->isCancelled())
        return textOf({.changes = {}, .token = token}, {});
    return failAsked();
}

} // namespace wickerlane::cli::view
