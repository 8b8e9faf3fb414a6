// The reactions of a scripted daemon, by operation.
#ifndef WICKERLANE_TESTING_DAEMONSCRIPT_H
#define WICKERLANE_TESTING_DAEMONSCRIPT_H

#include <map>
#include <optional>
#include <string>

#include "wickerlane/testing/ScriptedReaction.h"

namespace wickerlane {

/// Reactions by the names of operations. One thread at a time.
class DaemonScript {
public:
    void set(const std::string &operation, ScriptedReaction reaction) {
        operations[operation].each = std::move(reaction);
    }
    void setNth(std::size_t number, const std::string &operation, ScriptedReaction reaction) {
        Operation &changed = operations[operation];
        changed.single.insert_or_assign(changed.count + number, std::move(reaction));
    }
    void setElse(ScriptedReaction reaction) { allElse = std::move(reaction); }

    /// Counts a request, and says what to do about it; nothing when nothing was said.
    [[nodiscard]] std::optional<ScriptedReaction> next(const std::string &operation) {
        Operation &asked = operations[operation];
        ++asked.count;
        if (const auto found = asked.single.find(asked.count); found != asked.single.end())
            return asked.single.extract(found).mapped();
        return asked.each ? asked.each : allElse;
    }

private:
    struct Operation {
        std::size_t count = 0; ///< Of requests so far.
        std::optional<ScriptedReaction> each;
        std::map<std::size_t, ScriptedReaction> single; ///< By the number of the request.
    };
    std::map<std::string, Operation> operations;
    std::optional<ScriptedReaction> allElse;
};

} // namespace wickerlane

#endif
