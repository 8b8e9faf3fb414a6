// Job dictionaries: property-list dictionaries that describe a unit of work for hoardd.
//
// Unlike the dictionaries of JXMsgUtilities.h, a job dictionary becomes a message dictionary value by value.
// The functions keep no state; the dictionaries must not change meanwhile.
#ifndef WICKERLANE_MESSAGE_JXJOBDICTIONARY_H
#define WICKERLANE_MESSAGE_JXJOBDICTIONARY_H

#include <span>

#include "wickerlane/platform/message/value/MessageValue.h"
#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Dictionary.h"

/// A new message dictionary, owned by the caller; null for null, and for what holds anything but
/// property-list values.
WL_EXTERN_C wickerlane::MessageDictionary *
JXJobCreateMsgDictionaryFromDictionary(wickerlane::Dictionary *jobDictionary);

/// The way back: a dictionary whose top level may be changed, borrowed; or null.
WL_EXTERN_C wickerlane::MutableDictionary *JXJobDictionaryFromMsgDictionary(wickerlane::MessageValue *dict);

/// Whether two jobs are the same: like equality by value, but dates may differ by less than a microsecond, at
/// the top or in nested dictionaries. Two distinct dictionaries that are both empty are not equal.
WL_EXTERN_C bool JXJobDictionariesAreEqual(wickerlane::Dictionary *a, wickerlane::Dictionary *b);

/// Writes the entries to the console log, data as its length only. Top-level keys in `skippedKeys` (an array
/// used as a set; may be null) are left out.
WL_EXTERN_C void JXJobLogDictionary(wickerlane::Dictionary *jobDictionary, wickerlane::Array *skippedKeys);

#endif
