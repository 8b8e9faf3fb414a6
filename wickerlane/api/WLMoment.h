// What the daemon has found out about the assets: moments, and groups of duplicates. Both come in pages.
//
// Pages, moments and groups are immutable: they stay as they were when the daemon was asked. Any number of
// threads may use one. Moments and groups live as long as their page; WLRetain() keeps one longer. Texts
// that they give live as long as they do.
//
// The `error` of the functions that wait for the daemon may be null. What is stored there is borrowed; it is
// what WLLastError() gives, and null when the daemon has answered.
#ifndef WICKERLANE_API_WLMOMENT_H
#define WICKERLANE_API_WLMOMENT_H

#include "wickerlane/api/WLTypes.h"

#if WL_HAS_CLASSES
#include "wickerlane/api/QueryObjects.h"
using WLMoment = wickerlane::MomentObject;
using WLMomentPage = wickerlane::MomentPageObject;
using WLMomentLists = wickerlane::MomentListsObject;
using WLDuplicates = wickerlane::DuplicatesObject;
using WLDuplicatesPage = wickerlane::DuplicatesPageObject;
#else
typedef struct WLMoment WLMoment;
typedef struct WLMomentPage WLMomentPage;
typedef struct WLMomentLists WLMomentLists;
typedef struct WLDuplicates WLDuplicates;
typedef struct WLDuplicatesPage WLDuplicatesPage;
#endif

// Moments: assets that were made at one time and place. WLAssetQuerySetMoment() asks for the assets of one.

/// Asks for the first page of the moments that begin in a time: not before `from`, and before `until`, both
/// in seconds since 2001-01-01 00:00:00 of the camera's clock; -INFINITY and INFINITY are no limits. They
/// come in the order in which they begin, or the last one first if `isDescending`; `limit`, 1 to 10,000, is
/// how many a page has at most. Null on failure, and only then. Blocks.
WL_EXTERN_C WLMomentPage *WLMomentPageCreate(double from, double until, bool isDescending, size_t limit,
                                             WLError **error);

/// Asks for the page that follows. Null without an error after the last page, and for null, without asking;
/// null with an error on failure. Blocks.
WL_EXTERN_C WLMomentPage *WLMomentPageCreateNext(const WLMomentPage *page, WLError **error);

/// How many moments the page has; 0 for null.
WL_EXTERN_C size_t WLMomentPageCount(const WLMomentPage *page);

/// The moment at an index, which counts from 0. Null when there is none.
WL_EXTERN_C WLMoment *WLMomentPageGet(const WLMomentPage *page, size_t index);

/// What WLAssetQuerySetMoment() takes. It is not used again for another moment; 0 for null.
WL_EXTERN_C int64_t WLMomentNumber(const WLMoment *moment);

/// The number of the list of moments that it belongs to; 0 when it is in none yet.
WL_EXTERN_C int64_t WLMomentListNumber(const WLMoment *moment);

// Of its first and its last asset, in seconds since 2001-01-01 00:00:00 UTC.

WL_EXTERN_C double WLMomentStartDate(const WLMoment *moment);
WL_EXTERN_C double WLMomentEndDate(const WLMoment *moment);

/// How many assets it has; 0 for null.
WL_EXTERN_C uint64_t WLMomentAssetCount(const WLMoment *moment);

/// The middle of it, in degrees; north and east are positive. Returns whether it is known; if not, both are
/// 0. Either pointer may be null.
WL_EXTERN_C bool WLMomentGetLocation(const WLMoment *moment, double *latitude, double *longitude);

/// Whether the daemon has looked at its assets. What follows is known only then.
WL_EXTERN_C bool WLMomentIsAnalyzed(const WLMoment *moment);

WL_EXTERN_C uint64_t WLMomentPhotoCount(const WLMoment *moment);
WL_EXTERN_C uint64_t WLMomentVideoCount(const WLMoment *moment);

/// The UUID of the asset that stands for it; null when it has none.
WL_EXTERN_C const char *WLMomentKeyAsset(const WLMoment *moment);

// Lists of moments that belong together: a journey, a time at home. Functions that take an index, which
// counts from 0, give 0 or null when nothing is there.

/// Asks for all lists, the earliest first. Null on failure, and only then. Blocks.
WL_EXTERN_C WLMomentLists *WLMomentListsCreate(WLError **error);

/// How many lists there are; 0 for null.
WL_EXTERN_C size_t WLMomentListsCount(const WLMomentLists *lists);

/// What WLMomentListNumber() gives for its moments.
WL_EXTERN_C int64_t WLMomentListsNumber(const WLMomentLists *lists, size_t index);

// Of its first and its last asset, in seconds since 2001-01-01 00:00:00 UTC.

WL_EXTERN_C double WLMomentListsStartDate(const WLMomentLists *lists, size_t index);
WL_EXTERN_C double WLMomentListsEndDate(const WLMomentLists *lists, size_t index);

WL_EXTERN_C uint64_t WLMomentListsMomentCount(const WLMomentLists *lists, size_t index);
WL_EXTERN_C uint64_t WLMomentListsAssetCount(const WLMomentLists *lists, size_t index);

/// Whether the daemon has looked at its moments. The next is known only then.
WL_EXTERN_C bool WLMomentListsIsAnalyzed(const WLMomentLists *lists, size_t index);

/// The UUID of the asset that stands for it; null when it has none.
WL_EXTERN_C const char *WLMomentListsKeyAsset(const WLMomentLists *lists, size_t index);

// Groups of duplicates: assets that are alike.

/// Which groups are asked for.
enum {
    WLDuplicatesAll = 0,     ///< The same pictures, then the similar ones.
    WLDuplicatesSame = 1,    ///< One picture, encoded again or resized.
    WLDuplicatesSimilar = 2, ///< Those of a burst.
};

/// Asks for the first page of groups, of which it has at most `limit`, 1 to 10,000. Null on failure, and only
/// then; an unknown kind is WLErrorInvalid. Blocks.
WL_EXTERN_C WLDuplicatesPage *WLDuplicatesPageCreate(int kind, size_t limit, WLError **error);

/// Asks for the page that follows. Null without an error after the last page, and for null, without asking;
/// null with an error on failure. Blocks.
WL_EXTERN_C WLDuplicatesPage *WLDuplicatesPageCreateNext(const WLDuplicatesPage *page, WLError **error);

/// How many groups the page has; 0 for null.
WL_EXTERN_C size_t WLDuplicatesPageCount(const WLDuplicatesPage *page);

/// The group at an index, which counts from 0. Null when there is none.
WL_EXTERN_C WLDuplicates *WLDuplicatesPageGet(const WLDuplicatesPage *page, size_t index);

/// Whether its assets are one picture; else they are similar. False for null.
WL_EXTERN_C bool WLDuplicatesAreSame(const WLDuplicates *group);

/// How many assets it has; 0 for null.
WL_EXTERN_C size_t WLDuplicatesCount(const WLDuplicates *group);

/// The UUID of its asset at an index, which counts from 0. Null when there is none.
WL_EXTERN_C const char *WLDuplicatesGetUUID(const WLDuplicates *group, size_t index);

#endif
