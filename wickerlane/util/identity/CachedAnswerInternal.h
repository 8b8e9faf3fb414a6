// Answers that hold for the life of a process.
#ifndef WICKERLANE_UTIL_IDENTITY_CACHEDANSWERINTERNAL_H
#define WICKERLANE_UTIL_IDENTITY_CACHEDANSWERINTERNAL_H

#include "wickerlane/platform/queue/Once.h"

namespace wickerlane {

/// In static storage: finds its answer once, for the first who asks; others who ask meanwhile wait.
template <class Value>
class CachedAnswer {
public:
    template <class Find>
    Value get(Find &&find) {
        once.run([&] { answer = find(); });
        return answer;
    }

private:
    Once once;
    Value answer{};
};

} // namespace wickerlane

#endif
