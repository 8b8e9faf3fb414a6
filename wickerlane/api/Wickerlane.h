// All headers for C programs. WLTypes.h has the conventions of all functions.
#ifndef WICKERLANE_API_WICKERLANE_H
#define WICKERLANE_API_WICKERLANE_H

#include "wickerlane/api/RZLibrary.h"
#include "wickerlane/api/WLAlbum.h"
#include "wickerlane/api/WLAnalysis.h"
#include "wickerlane/api/WLAsset.h"
#include "wickerlane/api/WLAssetData.h"
#include "wickerlane/api/WLAssetDetails.h"
#include "wickerlane/api/WLAssetQuery.h"
#include "wickerlane/api/WLBulletin.h"
#include "wickerlane/api/WLCallables.h"
#include "wickerlane/api/WLCancellation.h"
#include "wickerlane/api/WLChanges.h"
#include "wickerlane/api/WLCollections.h"
#include "wickerlane/api/WLCompanion.h"
#include "wickerlane/api/WLDaemon.h"
#include "wickerlane/api/WLEdit.h"
#include "wickerlane/api/WLError.h"
#include "wickerlane/api/WLLibrary.h"
#include "wickerlane/api/WLMoment.h"
#include "wickerlane/api/WLNPersistentURL.h"
#include "wickerlane/api/WLObject.h"
#include "wickerlane/api/WLQueue.h"
#include "wickerlane/api/WLSave.h"
#include "wickerlane/api/WLSharing.h"
#include "wickerlane/api/WLSurface.h"
#include "wickerlane/api/WLTrash.h"
#include "wickerlane/api/WLTypes.h"
#include "wickerlane/api/WLValues.h"
#include "wickerlane/api/WLVideo.h"

#endif
