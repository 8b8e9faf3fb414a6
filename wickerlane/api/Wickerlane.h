// All headers for C programs. WLTypes.h has the conventions of all functions.
#ifndef WICKERLANE_API_WICKERLANE_H
#define WICKERLANE_API_WICKERLANE_H

#include "wickerlane/api/RZLibrary.h"
#include "wickerlane/api/WLAlbum.h"
#include "wickerlane/api/WLAsset.h"
#include "wickerlane/api/WLAssetData.h"
#include "wickerlane/api/WLAssetDetails.h"
#include "wickerlane/api/WLAssetQuery.h"
#include "wickerlane/api/WLCallables.h"
#include "wickerlane/api/WLCollections.h"
#include "wickerlane/api/WLError.h"
#include "wickerlane/api/WLMoment.h"
#include "wickerlane/api/WLNPersistentURL.h"
#include "wickerlane/api/WLObject.h"
#include "wickerlane/api/WLQueue.h"
#include "wickerlane/api/WLSave.h"
#include "wickerlane/api/WLTypes.h"
#include "wickerlane/api/WLValues.h"

#endif
