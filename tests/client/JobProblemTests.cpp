// Why the asset of a job was not saved, as the result of the job says it.
#include <gtest/gtest.h>

#include <optional>

#include "wickerlane/client/Refusals.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/protocol/JobKeys.h"

using namespace wickerlane;
namespace jobResult = wickerlane::protocol::jobResult;

namespace {

TEST(JobProblem, HasTheKindAndWhatCanBeDone) {
    const struct {
        const char *error;
        std::optional<ProblemKind> kind, ofRequest;
        ProblemKind expected;
        bool isAdvised;
    } cases[] = {
        {"an older hoardd", {}, {}, ProblemKind::failed, false},
        {"no picture", ProblemKind::invalid, {}, ProblemKind::invalid, false},
        {"no room", ProblemKind::noSpace, {}, ProblemKind::noSpace, true},
        {"send the bytes instead", ProblemKind::refused, {}, ProblemKind::refused, false},
        {"no room. Free some space.", {}, ProblemKind::noSpace, ProblemKind::noSpace, false},
        {"late", ProblemKind::invalid, ProblemKind::timedOut, ProblemKind::timedOut, false},
    };
    for (const auto &[error, kind, ofRequest, expected, isAdvised] : cases) {
        const ReleaseScope scope;
        const auto result = MutableDictionary::create();
        result->set(jobResult::error, String::of(error));
        const auto set = [&](std::string_view key, std::optional<ProblemKind> value) {
            if (value)
                result->set(key, Number::of(static_cast<std::int64_t>(*value)));
        };
        set(jobResult::errorKind, kind);
        set(jobResult::requestErrorKind, ofRequest);
        const auto problem = client::problemOfJob(*result);
        ASSERT_TRUE(problem) << error;
        EXPECT_EQ(problem->kind, expected) << error;
        EXPECT_TRUE(problem->text.starts_with(error)) << problem->text;
        EXPECT_EQ(problem->text != error, isAdvised) << problem->text;
    }
}

TEST(JobProblem, IsNoneOfASavedAsset) {
    const auto result = Dictionary::create();
    EXPECT_FALSE(client::problemOfJob(*result));
}

} // namespace
