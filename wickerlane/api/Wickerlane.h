// All of the photo library that C programs use. WLTypes.h says what holds for every function.
#ifndef WICKERLANE_API_WICKERLANE_H
#define WICKERLANE_API_WICKERLANE_H

#include "wickerlane/api/RZLibrary.h"
#include "wickerlane/api/WLCollections.h"
#include "wickerlane/api/WLNPersistentURL.h"
#include "wickerlane/api/WLObject.h"
#include "wickerlane/api/WLQueue.h"
#include "wickerlane/api/WLTypes.h"
#include "wickerlane/api/WLValues.h"

#endif
