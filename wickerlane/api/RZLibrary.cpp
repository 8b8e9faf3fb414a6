#include "wickerlane/api/RZLibrary.h"

#include <cerrno>

#include "wickerlane/api/HandlerInternal.h"
#include "wickerlane/api/WLCallables.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/console/Console.h"
#include "wickerlane/platform/notification/Notification.h"
#include "wickerlane/store/LibraryPaths.h"
#include "wickerlane/util/count/JXGenericAssetCount.h"

using namespace wickerlane;

namespace {

JXGatekeeperClient *client() {
    return JXGatekeeperClient::sharedInstance();
}

using SizeHandler = Handler<void(std::uint32_t, std::uint64_t)>;

void reportSizes(const Dictionary *sizes, std::uint32_t remaining, WorkQueue *queue,
                 const SizeHandler &handler) {
    const auto report = [&](std::uint32_t kind, std::uint64_t bytes) {
        queue->async([handler, kind, bytes] { handler(kind, bytes); });
        remaining &= ~kind;
    };
    if (sizes != nullptr)
        for (const auto &[key, value] : *sizes) {
            if (remaining == 0)
                break;
            const auto *number = as<Number>(key);
            const auto *bytes = as<Number>(value);
            const std::int64_t kind = number != nullptr ? number->int64Value() : -1;
            if (bytes != nullptr && kind >= 0 && (remaining & kind) == kind)
                report(static_cast<std::uint32_t>(kind), bytes->uint64Value());
        }
    for (std::uint32_t bit = 1; remaining != 0 && bit < 15; bit <<= 1)
        if ((remaining & bit) != 0)
            report(bit, RZLibrarySizeUnknown);
}

} // namespace

void RZGetPhotosAndVideosCount(void (*handler)(void *, WLNumber *, WLNumber *), void *context,
                               WLReleaseContext release) {
    if (auto called = handlerOf(handler, context, release))
        client()->getPhotosAndVideosCountWithHandler(std::move(called));
}

WLNumber *RZRegisterForPhotosAndVideosCount(void (*handler)(void *), void *context, WLReleaseContext release,
                                            WLQueue *queue) {
    Handler<void(NotificationToken)> notified;
    if (auto called = handlerOf(handler, context, release))
        notified = [called = std::move(called)](NotificationToken) { called(); };
    // Kept until the status is read: what releases the context may set another.
    const NotificationToken token =
        registerNotification(RZPhotosAndVideosCountNotificationName, queue, notified);
    if (token == 0) {
        consoleLog("registerNotification() failed for RZRegisterForPhotosAndVideosCount(). (%d)", errno);
        return nullptr;
    }
    return Number::of(token);
}

void RZUnregisterForPhotosAndVideosCount(WLNumber *token) {
    if (token != nullptr && !cancelNotification(static_cast<NotificationToken>(token->int64Value())))
        consoleLog("cancelNotification() failed for RZUnregisterForPhotosAndVideosCount(). (%d)", errno);
}

void RZHasAtLeastOnePhoto(void (*handler)(void *, bool), void *context, WLReleaseContext release) {
    if (auto called = handlerOf(handler, context, release))
        RZGetPhotosAndVideosCount([called = std::move(called)](const Number *photoCount, const Number *) {
            // A library of videos alone has no photo, on purpose.
            const std::int64_t count = photoCount != nullptr ? photoCount->int64Value() : 0;
            called(static_cast<std::int32_t>(count) >= 1);
        });
}

int RZSecondsNeededToMigrateStore() {
    constexpr int whenUnknown = 30, assetsPerSecond = 83;
    ReleaseScope scope;
    const std::int64_t count =
        JXGenericAssetCountInPixholdStore(String::of(store::LibraryPaths().database()));
    if (count == -1)
        return whenUnknown;
    return count < 100 ? 1 : static_cast<int>(count / assetsPerSecond);
}

int RZSecondsNeededToCleanupModelAfterHarborsyncRestore() {
    return static_cast<int>(client()->secondsNeededToCleanupModelAfterHarborsyncRestore());
}

void RZCleanupModelAfterHarborsyncRestore() {
    client()->cleanupModelAfterHarborsyncRestore();
}

void RZRepairPotentialModelCorruption() {
    client()->repairPotentialModelCorruption();
}

void RZDataMigrationWillFinish() {
    client()->dataMigrationWillFinish();
}

void RZGetLibrarySizes(WLQueue *queue, uint32_t kinds, void (*handler)(void *, uint32_t, uint64_t),
                       void *context, WLReleaseContext release) {
    const SizeHandler called = handlerOf(handler, context, release);
    if (!called || queue == nullptr)
        return;
    client()->getLibrarySizes([called, kinds, queue = Ref<WorkQueue>(queue)](const Dictionary *sizes) {
        reportSizes(sizes, kinds, queue.get(), called);
    });
}

int64_t RZEstimatedOutputFileLength(WLURL *videoURL, WLString *fallbackFilePath, WLString *exportPreset,
                                    WLDictionary *exportProperties) {
    return client()->estimatedOutputFileLengthForVideoURL(videoURL, fallbackFilePath, exportPreset,
                                                          exportProperties);
}
