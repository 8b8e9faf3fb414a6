// Library values in messages: the one encoding of each kind of value, for both ends of a connection.
//
// Readers take a received dictionary, or an error, which reads as a dictionary that holds its description
// and its kind alone. A missing key, or a value of another kind, reads as null. What they return is borrowed
// and lives until the current release scope ends; only functions with `Create` in their name give owned
// results.
// Writers given null store nothing and leave an earlier value as it was. Keys are NUL-terminated UTF-8.
// All functions keep no state and may be called from any thread, as long as no other changes the same
// message.
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
/// Stores the UTF-8 form.
WL_EXTERN_C void JXMsgDictionarySetString(wickerlane::MessageDictionary *dict, const char *key,
                                          wickerlane::String *string);

/// Null also when the text is not a URL.
WL_EXTERN_C wickerlane::URL *JXURLFromMsgDictionary(wickerlane::MessageValue *dict, const char *key);
/// Stores the absolute text.
WL_EXTERN_C void JXMsgDictionarySetURL(wickerlane::MessageDictionary *dict, const char *key,
                                       wickerlane::URL *url);

/// A view of the received bytes, which are not copied: a JXMsgData, or a JXMsgShMemData over shared memory.
WL_EXTERN_C wickerlane::Data *JXDataFromMsgDictionary(wickerlane::MessageValue *dict, const char *key);
/// Lends the data's own bytes to the message, which keeps the object alive (and lets go of it on the global
/// queue); they must stay unchanged meanwhile.
WL_EXTERN_C void JXMsgDictionarySetData(wickerlane::MessageDictionary *dict, const char *key,
                                        wickerlane::Data *data);

/// The root object of a property list, of whatever class it is. Null, after a console line, when the bytes
/// are not a property list; null without a line when there are none.
WL_EXTERN_C wickerlane::Object *JXDictionaryFromMsgDictionary(wickerlane::MessageValue *dict,
                                                              const char *key);
WL_EXTERN_C wickerlane::Object *JXArrayFromMsgDictionary(wickerlane::MessageValue *dict, const char *key);
/// Stores a binary property list. What can't be one is reported by a console line and stored as no bytes.
WL_EXTERN_C void JXMsgDictionarySetDictionary(wickerlane::MessageDictionary *dict, const char *key,
                                              wickerlane::Dictionary *dictionary);
WL_EXTERN_C void JXMsgDictionarySetArray(wickerlane::MessageDictionary *dict, const char *key,
                                         wickerlane::Array *array);

/// To be used only on keys that JXMsgDictionarySetIndexSet() wrote: the kind of the value is not tested, and
/// what is not an array reads as an empty set.
WL_EXTERN_C wickerlane::MutableIndexSet *JXIndexSetFromMsgDictionary(wickerlane::MessageValue *dict,
                                                                     const char *key);
/// Stores first index and length of each range in ascending order; an empty set as an empty array.
WL_EXTERN_C void JXMsgDictionarySetIndexSet(wickerlane::MessageDictionary *dict, const char *key,
                                            wickerlane::IndexSet *indexSet);

/// Owned by the caller, or null.
WL_EXTERN_C wickerlane::ImageSurface *JXCreateImageSurfaceFromMsgDictionary(wickerlane::MessageValue *dict,
                                                                            const char *key);
/// Stores the surface's own message object, and so ends writing to its pixels.
WL_EXTERN_C void JXMsgDictionarySetImageSurface(wickerlane::MessageDictionary *dict, const char *key,
                                                wickerlane::ImageSurface *surface);

/// The object ID that the value's URI names. URIs of 199 bytes or more, and those that the resolver does not
/// know, give null after a log line at level 4.
WL_EXTERN_C wickerlane::ManagedObjectID *
JXManagedObjectIDFromMsgValue(wickerlane::MessageValue *value, wickerlane::ObjectIDResolver *resolver);
/// Stores the URI's bytes; a URI of more than 250 bytes is not stored.
WL_EXTERN_C void JXMsgDictionarySetManagedObjectID(wickerlane::MessageDictionary *dict, const char *key,
                                                   wickerlane::ManagedObjectID *objectID);
WL_EXTERN_C void JXMsgArrayAppendManagedObjectID(wickerlane::MessageArray *array,
                                                 wickerlane::ManagedObjectID *objectID);

#endif
