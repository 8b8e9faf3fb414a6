#include "wickerlane/api/WLBulletin.h"

#include "wickerlane/api/CallInternal.h"

using namespace wickerlane;

WLArray *WLBulletinsCreate(WLError **error) {
    return createBy(&JXGatekeeperClient::getCurrentBulletins, Null::isAFailure, error);
}

WLData *WLBulletinCreateThumbnail(uint64_t recordID, WLError **error) {
    return createBy(&JXGatekeeperClient::getThumbnailImageDataForBulletinWithRecordID, Null::isAnAnswer,
                    error, recordID);
}

void WLBulletinsClear(uint64_t lastRecordID) {
    sharedClient()->clearAllBulletinsWithLastClearedRecordID(lastRecordID);
}

int64_t WLBadgeCount(WLError **error) {
    return waitFor(&JXGatekeeperClient::getCurrentApplicationBadgeCount, error);
}
