// Job dictionaries: property-list dictionaries that describe a job for hoardd.
//
// Unlike the dictionaries of JXMsgUtilities.h, a job dictionary is converted to a message dictionary value by
// value. All functions may be called from any thread, while no other thread changes the dictionaries.
#ifndef WICKERLANE_MESSAGE_JXJOBDICTIONARY_H
#define WICKERLANE_MESSAGE_JXJOBDICTIONARY_H

#include <span>

#include "wickerlane/platform/message/value/MessageValue.h"
#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Dictionary.h"

/// The job as a message dictionary, owned by the caller. Null for null, and for a job with a value that no
/// property list can have.
WL_EXTERN_C wickerlane::MessageDictionary *
JXJobCreateMsgDictionaryFromDictionary(wickerlane::Dictionary *jobDictionary);

/// The job in a message dictionary; borrowed. Its top level may be changed. Null for null, and for a value
/// that is not a dictionary.
WL_EXTERN_C wickerlane::MutableDictionary *JXJobDictionaryFromMsgDictionary(wickerlane::MessageValue *dict);

/// Whether two jobs are equal by value, where dates in them and in nested dictionaries may differ by less
/// than a microsecond. Two distinct empty dictionaries are not equal.
WL_EXTERN_C bool JXJobDictionariesAreEqual(wickerlane::Dictionary *a, wickerlane::Dictionary *b);

/// Writes the entries to the console log; of data, only the length. Top-level keys that are in `skippedKeys`,
/// which may be null, are left out.
WL_EXTERN_C void JXJobLogDictionary(wickerlane::Dictionary *jobDictionary, wickerlane::Array *skippedKeys);

#endif
