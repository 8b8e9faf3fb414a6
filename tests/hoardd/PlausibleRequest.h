// Requests that fit their row, and name nothing that there is.
#ifndef TESTS_HOARDD_PLAUSIBLEREQUEST_H
#define TESTS_HOARDD_PLAUSIBLEREQUEST_H

#include <gtest/gtest.h>

#include <vector>

#include "hoardd/Daemon.h"
#include "wickerlane/platform/message/value/MessageValue.h"
#include "wickerlane/protocol/Row.h"

namespace wickerlane::test {

inline std::vector<const protocol::Row *> servedRows() {
    std::vector<const protocol::Row *> rows;
    for (const auto family : hoardd::allOperations())
        for (const hoardd::Operation &operation : family)
            rows.push_back(operation.row);
    return rows;
}

/// A value of a kind that a field takes, though not one that names anything.
inline Ref<MessageValue> plausibleValue(MessageKind kind) {
    switch (kind) {
    case MessageKind::string:
        return MessageScalar::createString(
            "rez-vault://asset/asset.JPG?id=0000000A-0000-4000-8000-00000000ABCD&ext=JPG");
    case MessageKind::int64:
        return MessageScalar::createInt64(1);
    case MessageKind::uint64:
        return MessageScalar::createUInt64(1);
    case MessageKind::boolean:
        return MessageScalar::createBool(true);
    case MessageKind::data:
        return MessageData::create("x", 1);
    case MessageKind::array:
        return MessageArray::create();
    case MessageKind::dictionary:
        return MessageDictionary::create();
    default:
        ADD_FAILURE() << "no value of kind " << static_cast<int>(kind);
        return nullptr;
    }
}

/// With the keys that a row demands.
inline Ref<MessageDictionary> plausibleRequest(const protocol::Row &row) {
    auto message = MessageDictionary::create();
    message->setInt64("operation", row.code);
    for (const protocol::Field &field : row.requestKeys.all())
        if (!field.optional)
            message->set(field.key, plausibleValue(field.kinds.front()).get());
    return message;
}

} // namespace wickerlane::test

#endif
