#include "wickerlane/message/JXJobDictionary.h"

#include <cmath>
#include <string>

#include "wickerlane/platform/console/Console.h"
#include "wickerlane/platform/object/Data.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"

using namespace wickerlane;

MessageDictionary *JXJobCreateMsgDictionaryFromDictionary(Dictionary *jobDictionary) {
    auto value = jobDictionary != nullptr ? createMessageValue(jobDictionary) : nullptr;
    return as<MessageDictionary>(value.get()) != nullptr ? static_cast<MessageDictionary *>(value.leak())
                                                         : nullptr;
}

MutableDictionary *JXJobDictionaryFromMsgDictionary(MessageValue *dict) {
    const auto converted = dict != nullptr ? createObject(dict) : nullptr;
    const auto *dictionary = as<Dictionary>(converted.get());
    return dictionary != nullptr ? autorelease(MutableDictionary::create(dictionary)) : nullptr;
}

namespace {

bool entriesAreEqual(Object *x, Object *y) {
    if (const auto *date = as<Date>(x), *other = as<Date>(y); date != nullptr && other != nullptr)
        return std::abs(date->referenceSeconds() - other->referenceSeconds()) < 0.000001;
    if (auto *dictionary = as<Dictionary>(x), *other = as<Dictionary>(y);
        dictionary != nullptr && other != nullptr)
        return JXJobDictionariesAreEqual(dictionary, other);
    return areEqual(x, y);
}

void logEntries(const Dictionary *job, const std::string &indent, unsigned depth, const Array *skippedKeys) {
    for (const auto &[key, value] : *job) {
        if (skippedKeys != nullptr && skippedKeys->contains(key))
            continue;
        ReleaseScope scope;
        if (const auto *data = as<Data>(value)) {
            consoleLog("# %@ %@ -> OBDATA[%lu]", String::of(indent), key,
                       static_cast<unsigned long>(data->length()));
        } else if (const auto *nested = as<Dictionary>(value)) {
            consoleLog("# %@ %@ -> {", String::of(indent), key);
            logEntries(nested, std::string(depth + 2, '\t'), depth + 1, nullptr);
            consoleLog("# %@ }", String::of(indent));
        } else {
            consoleLog("# %@ %@ -> %@", String::of(indent), key, value);
        }
    }
}

} // namespace

bool JXJobDictionariesAreEqual(Dictionary *a, Dictionary *b) {
    if (a == b)
        return true;
    if (a == nullptr || b == nullptr || a->count() != b->count())
        return false;
    // Remains false for two empty dictionaries.
    bool equal = false;
    for (const auto &[key, value] : *a) {
        equal = entriesAreEqual(value, b->get(key));
        if (!equal)
            break;
    }
    return equal;
}

void JXJobLogDictionary(Dictionary *jobDictionary, Array *skippedKeys) {
    if (jobDictionary != nullptr)
        logEntries(jobDictionary, "\t", 0, skippedKeys);
}
