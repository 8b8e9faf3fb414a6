// Property-list objects as JSON, and back.
#ifndef CLI_OBJECTJSON_H
#define CLI_OBJECTJSON_H

#include "cli/Output.h"
#include "wickerlane/platform/object/Object.h"

namespace wickerlane::cli {

/// Texts, numbers, arrays and dictionaries as their likes; what JSON does not have as an object of one entry:
/// a date {"date": seconds since 2001-01-01 UTC}, a UUID {"uuid": text}, data {"bytes": its length}. Null for
/// other objects.
JSON jsonOf(const Object *object);

/// The way back. Null when there is data in it, whose bytes are not there, or a UUID, which no request has.
Ref<Object> objectOf(const JSON &json);

} // namespace wickerlane::cli

#endif
