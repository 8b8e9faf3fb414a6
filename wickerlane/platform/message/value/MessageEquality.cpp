#include "wickerlane/platform/message/value/MessageEquality.h"

#include <sys/stat.h>

#include <functional>

#include "wickerlane/platform/message/value/DictionaryStorage.h"
#include "wickerlane/platform/message/value/MessageStorage.h"
#include "wickerlane/platform/message/wire/MessageLimits.h"

namespace wickerlane {
namespace {

bool isSameFile(int a, int b) {
    struct stat first;
    struct stat second;
    return fstat(a, &first) == 0 && fstat(b, &second) == 0 && first.st_dev == second.st_dev &&
           first.st_ino == second.st_ino;
}

bool areSame(MessageValue *a, MessageValue *b, unsigned depth);

bool areSameEntries(const DictionaryStorage &a, const DictionaryStorage &b, unsigned depth) {
    if (a.entries.size() != b.entries.size())
        return false;
    for (auto &entry : a.entries) {
        auto *other = b.find({entry.key, entry.keyLength});
        if (other == nullptr ||
            !areSame(materialise(entry.slot, a.origin), materialise(other->slot, b.origin), depth))
            return false;
    }
    return true;
}

bool areSameElements(const MessageArray &a, const MessageArray &b, unsigned depth) {
    if (a.count() != b.count())
        return false;
    for (std::size_t i = 0; i < a.count(); ++i)
        if (!areSame(a.at(i), b.at(i), depth))
            return false;
    return true;
}

bool areSameScalars(const ScalarStorage &a, const ScalarStorage &b) {
    switch (a.kind()) {
    case MessageKind::real:
    case MessageKind::date:
        return a.realValue == b.realValue;
    case MessageKind::boolean:
        return a.boolean == b.boolean;
    case MessageKind::string:
    case MessageKind::uuid:
        return a.text == b.text;
    default:
        return a.unsignedValue == b.unsignedValue;
    }
}

bool areSame(MessageValue *a, MessageValue *b, unsigned depth) {
    if (a == b)
        return true;
    if (a->kind() != b->kind() || depth > MessageLimits::nesting)
        return false;
    switch (a->kind()) {
    case MessageKind::data: {
        const auto *x = static_cast<const MessageData *>(a);
        const auto *y = static_cast<const MessageData *>(b);
        return x->length() == y->length() &&
               (x->length() == 0 || std::memcmp(x->bytes(), y->bytes(), x->length()) == 0);
    }
    case MessageKind::sharedMemory:
        return isSameFile(static_cast<MessageSharedMemory *>(a)->memory()->descriptor(),
                          static_cast<MessageSharedMemory *>(b)->memory()->descriptor());
    case MessageKind::fileDescriptor:
        return isSameFile(static_cast<MessageFileDescriptor *>(a)->peek(),
                          static_cast<MessageFileDescriptor *>(b)->peek());
    case MessageKind::dictionary:
        return areSameEntries(*static_cast<DictionaryStorage *>(a), *static_cast<DictionaryStorage *>(b),
                              depth + 1);
    case MessageKind::array:
        return areSameElements(*static_cast<MessageArray *>(a), *static_cast<MessageArray *>(b), depth + 1);
    case MessageKind::error:
        return static_cast<MessageError *>(a)->text() == static_cast<MessageError *>(b)->text() &&
               static_cast<MessageError *>(a)->errorKind() == static_cast<MessageError *>(b)->errorKind();
    default:
        return areSameScalars(*static_cast<ScalarStorage *>(a), *static_cast<ScalarStorage *>(b));
    }
}

} // namespace

bool areEqualMessageValues(const MessageValue *a, const MessageValue *b) {
    return areSame(const_cast<MessageValue *>(a), const_cast<MessageValue *>(b), 1);
}

std::size_t hashOfMessageValue(const MessageValue *value) {
    const auto kindHash = static_cast<std::size_t>(value->kind()) * 0x9E3779B97F4A7C15U;
    switch (value->kind()) {
    case MessageKind::string:
        return kindHash ^ std::hash<std::string_view>{}(static_cast<const ScalarStorage *>(value)->text);
    case MessageKind::int64:
    case MessageKind::uint64:
        return kindHash ^ static_cast<const ScalarStorage *>(value)->unsignedValue;
    case MessageKind::data:
        return kindHash ^ static_cast<const MessageData *>(value)->length();
    case MessageKind::dictionary:
        return kindHash ^ static_cast<const MessageDictionary *>(value)->count();
    case MessageKind::array:
        return kindHash ^ static_cast<const MessageArray *>(value)->count();
    case MessageKind::error:
        return kindHash ^ std::hash<std::string_view>{}(static_cast<const MessageError *>(value)->text());
    default:
        return kindHash; // such values are rarely keys
    }
}

} // namespace wickerlane
