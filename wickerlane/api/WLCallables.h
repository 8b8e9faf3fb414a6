// For C++20: the functions that take a handler, for any callable. A null callable is a null handler. C, older
// C++, and C++ without exceptions find nothing here.
#ifndef WICKERLANE_API_WLCALLABLES_H
#define WICKERLANE_API_WLCALLABLES_H

#include "wickerlane/api/RZLibrary.h"
#include "wickerlane/api/WLAlbum.h"
#include "wickerlane/api/WLAssetData.h"
#include "wickerlane/api/WLChanges.h"
#include "wickerlane/api/WLDaemon.h"
#include "wickerlane/api/WLEdit.h"
#include "wickerlane/api/WLSave.h"
#include "wickerlane/api/WLTrash.h"

#if WL_HAS_CLASSES

#include "wickerlane/api/WLHandler.h"

inline void RZGetPhotosAndVideosCount(wickerlane::Handler<void(WLNumber *, WLNumber *)> handler) {
    const wickerlane::CHandler c(std::move(handler));
    RZGetPhotosAndVideosCount(c.function, c.context, c.release);
}

inline WLNumber *RZRegisterForPhotosAndVideosCount(wickerlane::Handler<void()> handler, WLQueue *queue) {
    const wickerlane::CHandler c(std::move(handler));
    return RZRegisterForPhotosAndVideosCount(c.function, c.context, c.release, queue);
}

inline void RZHasAtLeastOnePhoto(wickerlane::Handler<void(bool)> handler) {
    const wickerlane::CHandler c(std::move(handler));
    RZHasAtLeastOnePhoto(c.function, c.context, c.release);
}

inline void RZGetLibrarySizes(WLQueue *queue, std::uint32_t kinds,
                              wickerlane::Handler<void(std::uint32_t, std::uint64_t)> handler) {
    const wickerlane::CHandler c(std::move(handler));
    RZGetLibrarySizes(queue, kinds, c.function, c.context, c.release);
}

inline void WLRequestAccess(wickerlane::Handler<void(bool, WLError *)> handler) {
    const wickerlane::CHandler c(std::move(handler));
    WLRequestAccess(c.function, c.context, c.release);
}

inline void WLAlbumAddWithHandler(const char *name,
                                  wickerlane::Handler<void(WLString *, WLError *)> handler) {
    const wickerlane::CHandler c(std::move(handler));
    WLAlbumAddWithHandler(name, c.function, c.context, c.release);
}

inline void WLAlbumAddAssetWithHandler(const char *uuid, const WLAsset *asset,
                                       wickerlane::Handler<void(bool, WLError *)> handler) {
    const wickerlane::CHandler c(std::move(handler));
    WLAlbumAddAssetWithHandler(uuid, asset, c.function, c.context, c.release);
}

inline void WLAssetRequestPicture(const WLAsset *asset, int picture,
                                  wickerlane::Handler<void(WLData *, WLError *)> handler) {
    const wickerlane::CHandler c(std::move(handler));
    WLAssetRequestPicture(asset, picture, c.function, c.context, c.release);
}

inline void WLSaveJobRunWithHandler(WLSaveJob *job,
                                    wickerlane::Handler<void(WLSavedAsset *, WLError *)> handler) {
    const wickerlane::CHandler c(std::move(handler));
    WLSaveJobRunWithHandler(job, c.function, c.context, c.release);
}

inline void WLSaveJobsRunWithHandler(WLArray *jobs, wickerlane::Handler<void(WLArray *, WLError *)> handler) {
    const wickerlane::CHandler c(std::move(handler));
    WLSaveJobsRunWithHandler(jobs, c.function, c.context, c.release);
}

inline void WLSaveOpenFilesWithHandler(WLArray *jobs,
                                       wickerlane::Handler<void(WLArray *, WLError *)> handler) {
    const wickerlane::CHandler c(std::move(handler));
    WLSaveOpenFilesWithHandler(jobs, c.function, c.context, c.release);
}

inline void WLChangesAwait(const char *token, std::size_t limit, std::int64_t seconds,
                           wickerlane::Handler<void(WLChanges *, WLError *)> handler) {
    const wickerlane::CHandler c(std::move(handler));
    WLChangesAwait(token, limit, seconds, c.function, c.context, c.release);
}

inline void WLAssetDeleteWithHandler(const WLAsset *asset,
                                     wickerlane::Handler<void(bool, WLError *)> handler) {
    const wickerlane::CHandler c(std::move(handler));
    WLAssetDeleteWithHandler(asset, c.function, c.context, c.release);
}

inline void WLTrashRestoreWithHandler(WLURL *assetURL, wickerlane::Handler<void(bool, WLError *)> handler) {
    const wickerlane::CHandler c(std::move(handler));
    WLTrashRestoreWithHandler(assetURL, c.function, c.context, c.release);
}

inline void WLTrashRemoveWithHandler(WLURL *assetURL, wickerlane::Handler<void(bool, WLError *)> handler) {
    const wickerlane::CHandler c(std::move(handler));
    WLTrashRemoveWithHandler(assetURL, c.function, c.context, c.release);
}

inline void WLTrashEmptyWithHandler(wickerlane::Handler<void(bool, WLError *)> handler) {
    const wickerlane::CHandler c(std::move(handler));
    WLTrashEmptyWithHandler(c.function, c.context, c.release);
}

inline void WLAssetSetExternalUsageIntentWithHandler(const WLAsset *asset, std::uint64_t intent,
                                                     wickerlane::Handler<void(bool, WLError *)> handler) {
    const wickerlane::CHandler c(std::move(handler));
    WLAssetSetExternalUsageIntentWithHandler(asset, intent, c.function, c.context, c.release);
}

#endif

#endif
