#include "wickerlane/api/WLSharing.h"

#include "wickerlane/api/CallInternal.h"
#include "wickerlane/api/FactsInternal.h"

using namespace wickerlane;

bool WLStreamAddAlbum(const char *streamID, WLError **error) {
    return waitFor(&JXGatekeeperClient::createSnapriverAlbumWithStreamID, error,
                   String::create(streamID).get());
}

void WLStreamEnable(const char *streamID) {
    if (const auto text = String::create(streamID))
        sharedClient()->enableSnapriversWithStreamID(text.get());
}

void WLStreamsUpdateLimits() {
    sharedClient()->updateSharedAlbumsCachedServerConfigurationLimits();
}

bool WLFeedRebuild(WLError **error) {
    return waitFor(&JXGatekeeperClient::rebuildCloudFeed, error);
}

WLFeed *WLFeedCreate(WLError **error) {
    auto entries = sharedClient()->cloudFeed();
    return withLastError(entries ? makeRef<FeedObject>(*std::move(entries)).leak() : nullptr, error);
}

size_t WLFeedCount(const WLFeed *feed) {
    return countOf(feed);
}

const char *WLFeedAlbumUUID(const WLFeed *feed, size_t index) {
    return factAt(feed, index, &FeedEntryRecord::albumUUID);
}

double WLFeedStartDate(const WLFeed *feed, size_t index) {
    return factAt(feed, index, &FeedEntryRecord::startDate);
}

double WLFeedEndDate(const WLFeed *feed, size_t index) {
    return factAt(feed, index, &FeedEntryRecord::endDate);
}

size_t WLFeedAssetCount(const WLFeed *feed, size_t index) {
    const FeedEntryRecord *entry = recordAt(feed, index);
    return entry != nullptr ? entry->uuids.size() : 0;
}

const char *WLFeedAssetUUID(const WLFeed *feed, size_t index, size_t assetIndex) {
    return assetIndex < WLFeedAssetCount(feed, index) ? recordAt(feed, index)->uuids[assetIndex].c_str()
                                                      : nullptr;
}

int64_t WLSharedAssetsPurgeableBytes(WLError **error) {
    return waitFor(&JXGatekeeperClient::purgeableSharedAssetsSpace, error);
}

int64_t WLSharedAssetsPurge(uint64_t bytes, WLError **error) {
    return waitFor(&JXGatekeeperClient::attemptToPurgeSharedAssetsSpace, error, bytes);
}

int WLEmailAddressKey(const char *address, WLError **error) {
    return waitFor(&JXGatekeeperClient::keyForEmailAddress, error, String::create(address).get());
}

WLString *WLEmailAddressOfKey(int key, WLError **error) {
    return waitFor(&JXGatekeeperClient::emailAddressForKey, error, key);
}

WLDictionary *WLPersonInfoCreate(const char *personID, WLError **error) {
    const auto text = String::create(personID);
    if (!text)
        return failing<WLDictionary *>(nullptr, ProblemKind::invalid, "there is no ID of a person", error);
    return createBy(&JXGatekeeperClient::personInfoDictionaryForPersonID, Null::isAnAnswer, error,
                    text.get());
}

void WLPersonInfoSet(const char *personID, WLDictionary *info) {
    sharedClient()->setPersonInfoDictionary(info, String::create(personID).get());
}
