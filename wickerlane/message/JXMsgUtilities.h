// Library values in messages: one encoding for each kind of value, at both ends of a connection.
//
// Readers take a received dictionary, or an error, which reads as a dictionary that contains only its
// description and its kind. A missing key, or a value of another kind, reads as null. Results are borrowed
// and live until the current release scope ends; only functions with `Create` in their name return owned
// ones. Writers ignore null and leave an earlier value as it was. Keys are NUL-terminated UTF-8. All
// functions may be called from any thread, while no other thread changes the message.
#ifndef WICKERLANE_MESSAGE_JXMSGUTILITIES_H
#define WICKERLANE_MESSAGE_JXMSGUTILITIES_H

#include "wickerlane/model/ManagedObjectID.h"
#include "wickerlane/platform/message/value/MessageValue.h"
#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/IndexSet.h"
#include "wickerlane/platform/object/URL.h"
#include "wickerlane/platform/surface/ImageSurface.h"

/// The text under the key; null when it is missing or not a string.
WL_EXTERN_C wickerlane::String *JXStringFromMsgDictionary(wickerlane::MessageValue *dict, const char *key);
/// Stores the string as UTF-8.
WL_EXTERN_C void JXMsgDictionarySetString(wickerlane::MessageDictionary *dict, const char *key,
                                          wickerlane::String *string);

/// The URL whose text is under the key; null also when the text is not a URL.
WL_EXTERN_C wickerlane::URL *JXURLFromMsgDictionary(wickerlane::MessageValue *dict, const char *key);
/// Stores the absolute URL.
WL_EXTERN_C void JXMsgDictionarySetURL(wickerlane::MessageDictionary *dict, const char *key,
                                       wickerlane::URL *url);

/// A view of the received bytes, which are not copied: a JXMsgData, or a JXMsgShMemData over shared memory.
WL_EXTERN_C wickerlane::Data *JXDataFromMsgDictionary(wickerlane::MessageValue *dict, const char *key);
/// Stores the bytes without copying them: the message keeps the data object alive, and releases it on the
/// global queue. The bytes must not change meanwhile.
WL_EXTERN_C void JXMsgDictionarySetData(wickerlane::MessageDictionary *dict, const char *key,
                                        wickerlane::Data *data);

/// The root object of a property list, which may be of any class. Null when the value is missing or empty,
/// and, after a console line, when it is not a property list.
WL_EXTERN_C wickerlane::Object *JXDictionaryFromMsgDictionary(wickerlane::MessageValue *dict,
                                                              const char *key);
WL_EXTERN_C wickerlane::Object *JXArrayFromMsgDictionary(wickerlane::MessageValue *dict, const char *key);
/// Stores a binary property list. An object that can't be one is logged to the console and stored as no
/// bytes.
WL_EXTERN_C void JXMsgDictionarySetDictionary(wickerlane::MessageDictionary *dict, const char *key,
                                              wickerlane::Dictionary *dictionary);
WL_EXTERN_C void JXMsgDictionarySetArray(wickerlane::MessageDictionary *dict, const char *key,
                                         wickerlane::Array *array);

/// The set under a key that JXMsgDictionarySetIndexSet() wrote. The kind of the value is not checked: what is
/// not an array reads as an empty set.
WL_EXTERN_C wickerlane::MutableIndexSet *JXIndexSetFromMsgDictionary(wickerlane::MessageValue *dict,
                                                                     const char *key);
/// Stores the first index and the length of each range, in ascending order; an empty set is an empty array.
WL_EXTERN_C void JXMsgDictionarySetIndexSet(wickerlane::MessageDictionary *dict, const char *key,
                                            wickerlane::IndexSet *indexSet);

/// The surface under the key, owned by the caller; or null.
WL_EXTERN_C wickerlane::ImageSurface *JXCreateImageSurfaceFromMsgDictionary(wickerlane::MessageValue *dict,
                                                                            const char *key);
/// Stores the surface's own message object. Its pixels can't be written afterwards.
WL_EXTERN_C void JXMsgDictionarySetImageSurface(wickerlane::MessageDictionary *dict, const char *key,
                                                wickerlane::ImageSurface *surface);

/// The object ID that the resolver returns for the URI in the value. Null, after a log line at level 4, for a
/// URI of 199 bytes or more and for one that the resolver does not know.
WL_EXTERN_C wickerlane::ManagedObjectID *
JXManagedObjectIDFromMsgValue(wickerlane::MessageValue *value, wickerlane::ObjectIDResolver *resolver);
/// Stores the URI. One of more than 250 bytes is not stored.
WL_EXTERN_C void JXMsgDictionarySetManagedObjectID(wickerlane::MessageDictionary *dict, const char *key,
                                                   wickerlane::ManagedObjectID *objectID);
WL_EXTERN_C void JXMsgArrayAppendManagedObjectID(wickerlane::MessageArray *array,
                                                 wickerlane::ManagedObjectID *objectID);

#endif
