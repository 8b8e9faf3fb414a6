"""All that the client can do is within reach of C: the tables below say by which functions. A new member of the client
needs its row, and what a row names must be there."""

import pathlib
import re
import sys

# Members of the client and the C functions that call them.
REACHED = {
    'setReplyTimeLimit': 'WLSetTimeLimit',
    'waitUntilConnectionSendsAllMessages': 'WLWaitUntilSent',
    'lastError': 'WLLastError',
    'requestAccessWithHandler': 'WLRequestAccess',
    'requestAccess': 'WLHasAccess',
    'launchHoardd': 'WLLaunchDaemon',
    # Asset files.
    'fileDescriptorForAssetURL': 'WLAssetOpenOriginal',
    'fileURLForAssetURL': 'WLNCreatePathForPersistentURL',
    'fileURLForNewAssetWithType': 'WLLibraryReserveFile',
    'requestImageDataForAsset': 'WLAssetRequestPicture',
    'imageDataForAsset': 'WLAssetCreatePicture',
    'writeDataInBackground': 'WLLibraryWriteFile',
    'downloadAsset': 'WLAssetDownload',
    # Listing and finding.
    'assetsMatchingQuery': 'WLAssetPageCreate WLAssetPageCreateNext',
    'sectionsOfAssets': 'WLAssetSectionsCreate',
    'countOfAssets': 'WLAssetQueryCount',
    'trashMatchingQuery': 'WLTrashPageCreate WLTrashPageCreateNext',
    'renditionOfAsset': 'WLAssetGetEdit',
    'companionsOfPhotos': 'WLCompanionsCreate',
    'momentLists': 'WLMomentListsCreate',
    'cloudFeed': 'WLFeedCreate',
    'albums': 'WLAlbumsCreate',
    'momentsMatchingQuery': 'WLMomentPageCreate WLMomentPageCreateNext',
    'duplicatesMatchingQuery': 'WLDuplicatesPageCreate WLDuplicatesPageCreateNext',
    'changesSinceToken': 'WLChangesCreate',
    'awaitChangesSinceToken': 'WLChangesCreateWhenAny WLChangesAwait',
    # Saving.
    'saveAsset': 'WLSaveJobRun',
    'saveAssets': 'WLSaveJobsRun',
    'saveAssetWithJobDictionary': 'WLSaveJobRunWithHandler',
    'batchSaveAssetsWithJobDictionaries': 'WLSaveJobsRunWithHandler',
    'saveOpenFilesWithJobDictionaries': 'WLSaveOpenFilesWithHandler',
    # Pictures and edits.
    'setLargePreviewImage': 'WLAssetSetEdit',
    'revertAsset': 'WLAssetRevert',
    'updateThumbnailsForPhotos': 'WLAssetsMakeThumbnails WLAssetsMakeThumbnailsInBackground',
    'updateCameraPreviewWellImage': 'WLAssetShowInCameraPreview',
    'updateRestoredAssetWithUUID': 'WLLibrarySetRestoredPaths',
    'setExternalUsageIntent': 'WLAssetSetExternalUsageIntentWithHandler',
    'setUsageIntent': 'WLAssetSetExternalUsageIntent',
    'adjustDatesBySeconds': 'WLAssetsAdjustDates',
    'setDetails': 'WLAssetDetailsApply',
    # Videos.
    'videoMetadataAtPath': 'WLVideoMetadataCreate',
    'estimatedOutputFileLengthForVideoURL': 'RZEstimatedOutputFileLength',
    # Albums.
    'addAlbum': 'WLAlbumAdd',
    'addGroupWithName': 'WLAlbumAddWithHandler',
    'addAsset': 'WLAlbumAddAsset',
    'addAssetWithURL': 'WLAlbumAddAssetWithHandler',
    'renameAlbumWithUUID': 'WLAlbumRename',
    'deleteAlbumWithUUID': 'WLAlbumDelete',
    'removePhotos': 'WLAlbumRemoveAssets',
    'recalculateCachedAlbumCounts': 'WLAlbumsRecount',
    'automaticallyDeleteEmptyAlbum': 'WLAlbumDeleteIfEmpty',
    # The trash.
    'deleteAsset': 'WLAssetDelete',
    'deleteAssetWithURL': 'WLAssetDeleteWithHandler',
    'removeAsset': 'WLTrashRemove',
    'removeAssetWithURL': 'WLTrashRemoveWithHandler',
    'restoreTrashedAsset': 'WLTrashRestore',
    'restoreTrashedAssetWithURL': 'WLTrashRestoreWithHandler',
    'emptyTrash': 'WLTrashEmpty',
    'emptyTrashWithHandler': 'WLTrashEmptyWithHandler',
    # The library.
    'createPixholdDatabase': 'WLLibraryMake',
    'getCurrentModelVersion': 'WLLibraryModelVersion',
    'getPhotosAndVideosCountWithHandler': 'RZGetPhotosAndVideosCount',
    'getLibrarySizes': 'RZGetLibrarySizes',
    'importFileSystemAssetsWaitingForReply': 'WLLibraryImportFiles WLLibraryImportFilesInBackground',
    'updateModelAfterOTARestore': 'WLLibraryUpdateAfterOTARestore',
    'finalizeOTARestoreRecreatingAlbums': 'WLLibraryFinalizeOTARestore',
    'hasCompletedRestorePostProcessing': 'WLLibraryHasFinishedRestore',
    'secondsNeededToCleanupModelAfterHarborsyncRestore': 'RZSecondsNeededToCleanupModelAfterHarborsyncRestore',
    'cleanupModelAfterHarborsyncRestore': 'RZCleanupModelAfterHarborsyncRestore',
    'repairPotentialModelCorruption': 'RZRepairPotentialModelCorruption',
    'dataMigrationWillFinish': 'RZDataMigrationWillFinish',
    'recoverFromCrashIfNeeded': 'WLLibraryRecoverFromCrash',
    'repairSingletonObjects': 'WLLibraryRepairSingletons',
    'clearChangeStore': 'WLLibraryClearChanges',
    'cleanupForStoreDemoMode': 'WLLibraryCleanUpForDemo',
    'notifyAboutTerminationDueToUncaughtException': 'WLReportTermination',
    # Moments, duplicates and thumbnails.
    'rebuildMomentsIncremental': 'WLMomentsRebuild',
    'rebuildMomentLists': 'WLMomentListsRebuild',
    'analyzeAllMoments': 'WLMomentsAnalyze',
    'analyzeInvalidMomentsAndDupesIfNeeded': 'WLAnalyzeWhatIsOutOfDate',
    'hasCompletedMomentAnalysis': 'WLMomentsAreAnalyzed',
    'analyzeMoment': 'WLMomentAnalyze',
    'analyzeMomentList': 'WLMomentListAnalyze',
    'resetDupesAnalysis': 'WLDuplicatesReset',
    'setAreDuplicates': 'WLAssetsSetAreDuplicates',
    'rebuildCloudFeed': 'WLFeedRebuild',
    'rebuildAllThumbnails': 'WLThumbnailsRebuild',
    # Shared albums, bulletins and people.
    'createSnapriverAlbumWithStreamID': 'WLStreamAddAlbum',
    'enableSnapriversWithStreamID': 'WLStreamEnable',
    'updateSharedAlbumsCachedServerConfigurationLimits': 'WLStreamsUpdateLimits',
    'purgeableSharedAssetsSpace': 'WLSharedAssetsPurgeableBytes',
    'attemptToPurgeSharedAssetsSpace': 'WLSharedAssetsPurge',
    'getCurrentBulletins': 'WLBulletinsCreate',
    'getCurrentApplicationBadgeCount': 'WLBadgeCount',
    'getThumbnailImageDataForBulletinWithRecordID': 'WLBulletinCreateThumbnail',
    'clearAllBulletinsWithLastClearedRecordID': 'WLBulletinsClear',
    'keyForEmailAddress': 'WLEmailAddressKey',
    'emailAddressForKey': 'WLEmailAddressOfKey',
    'personInfoDictionaryForPersonID': 'WLPersonInfoCreate',
    'setPersonInfoDictionary': 'WLPersonInfoSet',
}

# Members that C does without, and why.
LEFT_OUT = {
    'sharedInstance': 'all functions use this client',
    'init': 'one client is enough for a process',
    'replyQueue': 'it is WLQueueGlobal(), on which the handlers run',
    'sendQueue': 'likewise',
    'deviceSpecificReplyQueue': 'a handler that needs an order of its own passes its work on to a queue',
    'connection': 'messages have no C types',
    'setConnection': 'likewise',
    'sendDaemonJob': 'likewise: a job encodes itself into a message',
    'securityPolicyErrorForMissingEntitlement': 'it makes an error for handlers, whose errors in C are WLErrorRefused',
    'setLargePreviewImageForAssetWithURL': 'it blocks all the same; setLargePreviewImage() says why it has failed',
}

MEMBER = re.compile(r'(\w+)\s*\(')


def without_comments(text):
    return re.sub(r'//.*', '', text)


def members_of(header):
    """The public member functions of the client."""
    body = re.search(r'class WL_EXPORT JXGatekeeperClient\b.*?public:(.*?)private:', without_comments(header), re.S)
    statements = re.sub(r'\{[^{}]*\}', ';', body.group(1)).split(';')
    found = [MEMBER.search(each) for each in statements if not each.strip().startswith(('template', 'using'))]
    return {each.group(1) for each in found if each}


def declarations_in(headers):
    """The C functions, and what each takes, of header texts by name."""
    pattern = re.compile(r'^WL_EXTERN_C [\w ]+?[ *]+(\w+)\((.*?)\);', re.M | re.S)
    return {name: arguments for text in headers.values() for name, arguments in pattern.findall(without_comments(text))}


def sources_of(function, sources):
    """The texts of the sources that define a C function."""
    return [text for text in sources if re.search(rf'^\w[^\n;]*[ *]{function}\([^;]*?\) \{{', text, re.M)]


def faults(client, headers, sources, reached, left_out):
    """What is wrong between the client's header, the C headers by name, their sources, and the tables."""
    members, declared = members_of(client), declarations_in(headers)
    for member in sorted(members - reached.keys() - left_out.keys()):
        yield f'{member}: C can\'t reach this member of the client'
    for member in sorted((reached.keys() | left_out.keys()) - members):
        yield f'{member}: the client has no such member'
    for member in sorted(member for member, reason in left_out.items() if 'yet' in reason.split()):
        yield f'{member}: what is not there yet has to be done, not left out'
    for member in sorted(reached.keys() & left_out.keys()):
        yield f'{member}: it is in both tables'
    for member, functions in reached.items():
        for function in functions.split():
            if function not in declared:
                yield f'{member}: {function} is not declared'
            elif not any(re.search(rf'\b{member}\b', text) for text in sources_of(function, sources)):
                yield f'{member}: the source of {function} does not call it'
    callables = headers['WLCallables.h']
    for function, arguments in declared.items():
        if 'WLReleaseContext' in arguments and not re.match(r'WL(Queue|Main)', function) \
                and not re.search(rf'^inline [^(]*\b{function}\(', callables, re.M):
            yield f'{function}: it takes a handler, but WLCallables.h has no overload for callables'


def check_the_check():
    """It must find what it is there for."""
    client = '''class WL_EXPORT JXGatekeeperClient : public Object {
public:
    template <class... Arguments>
    using Handler = wickerlane::Handler<void(Arguments...)>;
    /// not(a member)
    [[nodiscard]] static Ref<JXGatekeeperClient> one(Handler<bool, Error *> handler);
    [[nodiscard]] int *two() const noexcept { return three(); }
private:
    void four();
};'''
    headers = {'WLOne.h': 'WL_EXTERN_C bool WLOne(WLArray *array,\n    WLError **error);\n', 'WLCallables.h': ''}
    sources = ['bool WLOne(WLArray *array, WLError **error) {\n'
               '    return waitFor(&JXGatekeeperClient::one, error);\n}\n']
    good = {'one': 'WLOne'}, {'two': 'a reason'}
    handler = {**headers, 'WLTwo.h': 'WL_EXTERN_C void WLTwo(void (*handler)(void *), WLReleaseContext release);'}
    overload = {**handler, 'WLCallables.h': 'inline void WLTwo(Handler<void()> handler) {'}
    cases = [
        (headers, sources, *good, []),
        (headers, sources, {'one': 'WLOne'}, {}, ['two: C can\'t reach']),
        (headers, sources, {'one': 'WLOne', 'four': 'WLOne'}, {'two': ''},
         ['four: the client has no', 'four: the source']),
        (headers, sources, {'one': 'WLOne'}, {'one': '', 'two': ''}, ['one: it is in both']),
        (headers, sources, {'one': 'WLOne'}, {'two': 'not yet'}, ['two: what is not there yet']),
        (headers, sources, {'one': 'WLOne WLNone'}, {'two': ''}, ['one: WLNone is not declared']),
        (headers, ['bool WLOne(WLArray *array, WLError **error) {\n'], *good, ['one: the source of WLOne']),
        (handler, sources, *good, ['WLTwo: it takes a handler']),
        (overload, sources, *good, []),
    ]
    for *given, expected in cases:
        found = list(faults(client, *given))
        assert len(found) == len(expected) and all(map(str.startswith, found, expected)), (found, expected)


def main():
    check_the_check()
    root = pathlib.Path(sys.argv[1])
    client = (root / 'wickerlane/client/JXGatekeeperClient.h').read_text(encoding='utf-8')
    headers = {file.name: file.read_text(encoding='utf-8') for file in (root / 'wickerlane/api').glob('*.h')}
    sources = [file.read_text(encoding='utf-8') for file in (root / 'wickerlane/api').glob('*.cpp')]
    assert len(members_of(client)) > 90
    assert len(declarations_in(headers)) > 200
    found = list(faults(client, headers, sources, REACHED, LEFT_OUT))
    for each in found:
        print(each)
    return 1 if found else 0


sys.exit(main())
