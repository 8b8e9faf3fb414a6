// Which assets the library has: queries, and the pages that they give.
//
//     WLError *error = NULL;
//     WLAssetQuery *query = WLAssetQueryCreate();
//     WLAssetQuerySetKind(query, WLAssetKindVideo);
//     WLAssetPage *page = WLAssetPageCreate(query, &error);
//     while (page != NULL) {
//         for (size_t i = 0; i < WLAssetPageCount(page); ++i)
//             puts(WLAssetUUID(WLAssetPageGet(page, i)));
//         WLAssetPage *next = WLAssetPageCreateNext(page, &error);
//         WLRelease(page);
//         page = next;
//     }
//     if (error != NULL) // not all pages came
//         puts(WLStringText(WLErrorText(error)));
//     WLRelease(query);
//
// A query gives the assets to which all that was set applies; a new one gives all. One thread at a time may
// use it. A setter that is called again replaces what was set; a null query is ignored. A value that makes no
// sense is found when the query is asked: there is no page then, and the error is WLErrorInvalid.
#ifndef WICKERLANE_API_WLASSETQUERY_H
#define WICKERLANE_API_WLASSETQUERY_H

#include "wickerlane/api/WLAsset.h"

#if WL_HAS_CLASSES
#include "wickerlane/api/QueryObjects.h"
using WLAssetQuery = wickerlane::AssetQueryObject;
using WLAssetPage = wickerlane::AssetPageObject;
using WLAssetSections = wickerlane::SectionsObject;
#else
typedef struct WLAssetQuery WLAssetQuery;
typedef struct WLAssetPage WLAssetPage;
typedef struct WLAssetSections WLAssetSections;
#endif

/// By what assets are ordered; those that are equal in it by their age in the library.
enum {
    WLAssetOrderDate = 0,  ///< That of WLAssetDate().
    WLAssetOrderAdded = 1, ///< When they came into the library.
    WLAssetOrderSize = 2,  ///< Of the original, in bytes.
    WLAssetOrderName = 3,  ///< The original name; the case of ASCII letters does not count.
};

/// What a query can ask of each asset. The names are those of the functions in WLAsset.h.
enum {
    WLAssetFieldKind = 1,
    WLAssetFieldOriginalFilename = 4,
    WLAssetFieldFormat = 5,
    WLAssetFieldWidth = 6,
    WLAssetFieldHeight = 7,
    WLAssetFieldOrientation = 8,
    WLAssetFieldDateCreated = 9,
    WLAssetFieldDateAdded = 10,
    WLAssetFieldLatitude = 11,
    WLAssetFieldLongitude = 12,
    WLAssetFieldByteSize = 13,
    WLAssetFieldSHA256 = 14,
    WLAssetFieldThumbnailIndex = 15,
    WLAssetFieldProblem = 16,
    WLAssetFieldDuration = 17,
    WLAssetFieldClockDate = 18, ///< With the date of creation, it makes up WLAssetDate().
    WLAssetFieldZoneMinutes = 19,
    WLAssetFieldExternalUsageIntent = 20,
    WLAssetFieldCamera = 21,
    WLAssetFieldLens = 22,
    WLAssetFieldExposureSeconds = 23,
    WLAssetFieldAperture = 24,
    WLAssetFieldISOSpeed = 25,
    WLAssetFieldFocalLength = 26,
    WLAssetFieldFavourite = 27,
    WLAssetFieldHidden = 28,
    WLAssetFieldRating = 29,
    WLAssetFieldCaption = 30,
    WLAssetFieldKeywords = 31,
};

/// A query for all assets, by date. Never null.
WL_EXTERN_C WLAssetQuery *WLAssetQueryCreate(void);

// Which assets. A null text takes the condition away again. Dates are what the camera's clock showed, in
// seconds since 2001-01-01 00:00:00 as if it were UTC.

/// One asset by any of its names: its UUID or a beginning of it of at least four characters, its URL, the URI
/// of its object ID. Several assets may have one beginning.
WL_EXTERN_C void WLAssetQuerySetIdentity(WLAssetQuery *query, const char *identity);

/// WLAssetKindPhoto or WLAssetKindVideo.
WL_EXTERN_C void WLAssetQuerySetKind(WLAssetQuery *query, int kind);

/// Not before this date.
WL_EXTERN_C void WLAssetQuerySetFrom(WLAssetQuery *query, double date);

/// Before this date.
WL_EXTERN_C void WLAssetQuerySetUntil(WLAssetQuery *query, double date);

/// Where, in degrees; north and east are positive. A west that is larger than the east spans the date line.
WL_EXTERN_C void WLAssetQuerySetBox(WLAssetQuery *query, double south, double west, double north,
                                    double east);

/// At most `radius` meters from a place, in degrees.
WL_EXTERN_C void WLAssetQuerySetNear(WLAssetQuery *query, double latitude, double longitude, double radius);

/// Members of an album, by its UUID (WLAlbumUUID()).
WL_EXTERN_C void WLAssetQuerySetAlbum(WLAssetQuery *query, const char *uuid);

/// Those of a moment, by its number (WLMomentNumber()).
WL_EXTERN_C void WLAssetQuerySetMoment(WLAssetQuery *query, int64_t moment);

/// With this original name; `*` and `?` stand for any characters and for any one.
WL_EXTERN_C void WLAssetQuerySetName(WLAssetQuery *query, const char *name);

/// Words, each of which the original name, the caption, a keyword, the camera or the title of an album has.
WL_EXTERN_C void WLAssetQuerySetText(WLAssetQuery *query, const char *text);

/// Of a media type: "image/jpeg".
WL_EXTERN_C void WLAssetQuerySetFormat(WLAssetQuery *query, const char *format);

/// Of a camera, as WLAssetCamera() gives it.
WL_EXTERN_C void WLAssetQuerySetCamera(WLAssetQuery *query, const char *camera);

/// Favourites only, or only the others.
WL_EXTERN_C void WLAssetQuerySetFavourite(WLAssetQuery *query, bool isFavourite);

/// Hidden assets only, or only the others. Without it, both are given.
WL_EXTERN_C void WLAssetQuerySetHidden(WLAssetQuery *query, bool isHidden);

/// Of at least this number of stars, 1 to 5.
WL_EXTERN_C void WLAssetQuerySetMinimumRating(WLAssetQuery *query, int64_t rating);

/// With an edited rendition, or without.
WL_EXTERN_C void WLAssetQuerySetEdited(WLAssetQuery *query, bool isEdited);

/// Whether something kept the file from being decoded.
WL_EXTERN_C void WLAssetQuerySetProblem(WLAssetQuery *query, bool hasProblem);

/// The smallest and the largest size of originals, in bytes. 0 and UINT64_MAX are no limits.
WL_EXTERN_C void WLAssetQuerySetSizes(WLAssetQuery *query, uint64_t minimum, uint64_t maximum);

// In which order, and how much at a time.

/// By what, WLAssetOrderDate at first, and whether the largest comes first.
WL_EXTERN_C void WLAssetQuerySetOrder(WLAssetQuery *query, int order, bool isDescending);

/// How many assets a page has at most: 1 to 10,000, 500 at first.
WL_EXTERN_C void WLAssetQuerySetLimit(WLAssetQuery *query, size_t limit);

/// Where the first page begins: at the cursor that WLAssetPageCursor() gave for a query of the same
/// conditions and order. Null: at the start.
WL_EXTERN_C void WLAssetQuerySetCursor(WLAssetQuery *query, const char *cursor);

/// Adds one to the fields that are asked for: a WLAssetField... number. A query that no field was added to
/// asks for all. The names of an asset and of its file are always there.
WL_EXTERN_C void WLAssetQueryAddField(WLAssetQuery *query, int field);

// Pages. They are immutable; any number of threads may use one. The `error` of the functions that wait for
// the daemon may be null. What is stored there is borrowed; it is what WLLastError() gives, and null when the
// daemon has answered.

/// How many assets a query asks for, in all pages together; -1 on failure. A null query is WLErrorInvalid.
/// Blocks.
WL_EXTERN_C int64_t WLAssetQueryCount(const WLAssetQuery *query, WLError **error);

/// Asks for the first page. Null on failure, and only then: when no asset matches, the page is empty. A null
/// query is WLErrorInvalid. The query may be changed or released afterwards. Blocks.
WL_EXTERN_C WLAssetPage *WLAssetPageCreate(const WLAssetQuery *query, WLError **error);

/// Asks for the page that follows. Null without an error after the last page, and for null, without asking;
/// null with an error on failure. No asset that is there all the time comes twice or is passed over, even
/// while assets come and go. Blocks.
WL_EXTERN_C WLAssetPage *WLAssetPageCreateNext(const WLAssetPage *page, WLError **error);

/// How many assets the page has; 0 for null.
WL_EXTERN_C size_t WLAssetPageCount(const WLAssetPage *page);

/// The asset at an index, which counts from 0. It lives as long as the page; WLRetain() keeps it longer. Null
/// when there is none.
WL_EXTERN_C WLAsset *WLAssetPageGet(const WLAssetPage *page, size_t index);

/// Where the page that follows begins, for WLAssetQuerySetCursor(), perhaps in another process. It lives as
/// long as the page. Null for the last page.
WL_EXTERN_C const char *WLAssetPageCursor(const WLAssetPage *page);

// Sections: the days or months of all assets that a query asks for, so that a view knows its whole height
// before it has a page. They are immutable; any number of threads may use them.

/// Into what assets are divided, by WLAssetDate().
enum {
    WLSectionDay = 0,
    WLSectionMonth = 1,
};

/// Asks for the days or months; of the query, only the conditions count, and whether the largest comes first.
/// Null on failure, and only then. `error` is as above. Blocks.
WL_EXTERN_C WLAssetSections *WLAssetSectionsCreate(const WLAssetQuery *query, int unit, WLError **error);

/// How many days or months have an asset; 0 for null.
WL_EXTERN_C size_t WLAssetSectionsCount(const WLAssetSections *sections);

/// When the day or month at an index begins, a date as WLAssetDate(); 0 when there is none.
WL_EXTERN_C double WLAssetSectionsStart(const WLAssetSections *sections, size_t index);

/// How many assets it has; 0 when there is none.
WL_EXTERN_C size_t WLAssetSectionsAssetCount(const WLAssetSections *sections, size_t index);

/// The shape of each of its pictures, in the order of the query by date: width divided by height, in
/// thousandths, at most 65535; 0 when unknown. They live as long as the sections. Null when there is no such
/// section.
WL_EXTERN_C const uint16_t *WLAssetSectionsShapes(const WLAssetSections *sections, size_t index);

#endif
