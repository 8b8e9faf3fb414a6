#include "wickerlane/testing/ScriptedRequest.h"

#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/String.h"

namespace wickerlane {

std::vector<std::string> ScriptedRequest::keys() const {
    std::vector<std::string> names;
    for (const Dictionary::Entry &entry : *values)
        if (const auto *key = as<String>(entry.key))
            names.emplace_back(key->utf8());
    return names;
}

std::string ScriptedRequest::text() const {
    const ReleaseScope scope;
    std::string line = operation;
    for (const Dictionary::Entry &entry : *values) {
        line.append(" ").append(entry.key->description()->utf8()).append("=");
        // Descriptions of collections have lines of their own.
        for (const char each : entry.value->description()->utf8())
            if (each != '\n' && (each != ' ' || !line.ends_with(' ')))
                line += each;
    }
    return line;
}

} // namespace wickerlane
