#include "wickerlane/protocol/LibraryRows.h"

#include <charconv>
#include <optional>

#include "wickerlane/client/ClientInternal.h"

using namespace wickerlane;
using namespace wickerlane::client;
namespace keys = wickerlane::protocol::keys;

namespace {

// A count that is missing from the reply is null, not zero.
Ref<Number> countUnder(const protocol::Key<protocol::coding::UInt64> &key, const Reply &reply) {
    return reply.has(key) ? Number::create(reply.get(key)) : nullptr;
}

// Sends a request without arguments and waits. On an error it logs `line`, whose %@ is the error's
// description.
template <std::size_t size>
Reply sendAndWait(MessageConnection *connection, const protocol::Row &row, const char (&line)[size]) {
    const Request request(row);
    Reply reply = request.sendAndWait(connection);
    if (reply.isError())
        consoleLog(line, reply.errorDescription());
    return reply;
}

// The clean-up and the question how long it takes share this line.
constexpr char cleanupFailed[] = "Unable to cleanup the model after an Harborsync restore. This is bad. (%@)";

std::optional<std::int64_t> numberIn(const Object *key) {
    const auto *text = as<String>(key);
    if (text == nullptr)
        return std::nullopt;
    const std::string_view digits = text->utf8();
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), number);
    const bool isWhole = error == std::errc() && end == digits.data() + digits.size();
    return isWhole ? std::optional(number) : std::nullopt;
}

// Kinds of size are numbers, but the keys of a message are texts. Keys that are no number are left out.
Ref<Dictionary> sizesByKind(const Dictionary *sizes) {
    if (sizes == nullptr)
        return nullptr;
    const auto byKind = MutableDictionary::create();
    for (const auto &[key, value] : *sizes)
        if (const auto kind = numberIn(key))
            byKind->set(Number::of(*kind), value);
    return byKind;
}

} // namespace

void JXGatekeeperClient::createPixholdDatabase() {
    sendAndWait(connection(), protocol::createPixholdDatabase, "Unable to create library. This is bad. (%@)");
}

void JXGatekeeperClient::importFileSystemAssetsWaitingForReply(bool wait) {
    if (wait)
        sendAndWait(connection(), protocol::importFileSystemAssets,
                    "Can't import file system assets. This is bad. (%@)");
    else
        Request(protocol::importFileSystemAssetsInBackground).send(connection());
}

void JXGatekeeperClient::getLibrarySizes(Handler<Dictionary *> handler) {
    if (!handler)
        failParameter(this, protocol::getLibrarySizes.name, "handler");
    const Request request(protocol::getLibrarySizes);
    // The handler runs on the reply queue itself, unlike that of the counts.
    request.sendWithReply(connection(), replyQueue(), [handler](const Reply &reply) {
        const ReleaseScope scope;
        handler(sizesByKind(as<Dictionary>(reply.get(keys::sizes))).get());
    });
}

void JXGatekeeperClient::updateModelAfterOTARestore() {
    sendAndWait(connection(), protocol::updateModelAfterOTARestore,
                "Unable to update library after an OTA restore. This is bad. (%@)");
}

void JXGatekeeperClient::finalizeOTARestoreRecreatingAlbums(bool recreate) {
    Request request(protocol::finalizeOTARestore);
    request.set(keys::recreateAlbumsFromMetadata, recreate);
    request.set(keys::restoreEnded, true);
    request.sendWithReply(connection(), replyQueue(), [](const Reply &) {});
}

std::int64_t JXGatekeeperClient::secondsNeededToCleanupModelAfterHarborsyncRestore() {
    const Reply reply = sendAndWait(connection(), protocol::secondsNeededToCleanupModel, cleanupFailed);
    return reply.isError() ? 1 : reply.get(keys::seconds);
}

void JXGatekeeperClient::cleanupModelAfterHarborsyncRestore() {
    sendAndWait(connection(), protocol::cleanupModel, cleanupFailed);
}

void JXGatekeeperClient::repairPotentialModelCorruption() {
    sendAndWait(connection(), protocol::repairPotentialModelCorruption,
                "Unable to repair potential model corruption. This might be bad. (%@)");
}

void JXGatekeeperClient::dataMigrationWillFinish() {
    sendAndWait(connection(), protocol::dataMigrationWillFinish,
                "Unable to update library after an Harborsync restore from backup. This is bad. (%@)");
}

void JXGatekeeperClient::notifyAboutTerminationDueToUncaughtException(const Exception &exception) {
    Request request(protocol::notifyAboutTermination);
    request.set(keys::name, exception.name());
    request.set(keys::reason, exception.reason());
    request.send(connection());
    waitUntilConnectionSendsAllMessages();
}

void JXGatekeeperClient::clearChangeStore() {
    Request(protocol::clearChangeStore).send(connection());
}

void JXGatekeeperClient::recoverFromCrashIfNeeded() {
    Request(protocol::recoverFromCrashIfNeeded).send(connection());
}

void JXGatekeeperClient::repairSingletonObjects() {
    static_cast<void>(Request(protocol::repairSingletonObjects).sendAndWait(connection()));
}

void JXGatekeeperClient::cleanupForStoreDemoMode() {
    Request(protocol::cleanupForStoreDemoMode).send(connection());
}

bool JXGatekeeperClient::hasCompletedRestorePostProcessing() {
    return sendAndWait(connection(), protocol::hasCompletedRestorePostProcessing,
                       "Unable to retrieve restore completion status from hoardd. This is unfortunate. (%@)")
        .get(keys::isComplete);
}

void JXGatekeeperClient::getPhotosAndVideosCountWithHandler(Handler<Number *, Number *> handler) {
    if (!handler)
        failParameter(this, protocol::getPhotosAndVideosCount.name, "handler != NULL");
    const Request request(protocol::getPhotosAndVideosCount);
    request.sendWithReply(connection(), replyQueue(), [handler](const Reply &reply) {
        WorkQueue::global()->async(
            [handler, photos = countUnder(keys::photoCount, reply),
             videos = countUnder(keys::videoCount, reply)] { handler(photos.get(), videos.get()); });
    });
}

std::int64_t JXGatekeeperClient::getCurrentModelVersion() {
    const Request request(protocol::getCurrentModelVersion);
    const Reply reply = request.sendAndWait(connection());
    if (reply.isError())
        consoleLog("*** Error getting current model version");
    return reply.isDictionary() ? reply.get(keys::version) : -1;
}
