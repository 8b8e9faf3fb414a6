// Values of messages as plain objects, and back, by the fields of a row.
#ifndef WICKERLANE_TESTING_PLAINVALUES_H
#define WICKERLANE_TESTING_PLAINVALUES_H

#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/protocol/Row.h"

namespace wickerlane {

/// The values of a request as ScriptedRequest has them. The row is null for a request that is none of the
/// protocol's.
[[nodiscard]] Ref<Dictionary> plainValues(MessageDictionary *request, const protocol::Row *row);

/// Stores a plain value as the field needs it. Throws std::invalid_argument, with the reason, for one that
/// the field can't have.
void setPlainValue(MessageDictionary *reply, const protocol::Field &field, Object *value);

} // namespace wickerlane

#endif
