#include <gtest/gtest.h>

#include "wickerlane/platform/object/Object.h"
#include "wickerlane/util/identity/JXProcessAssertion.h"

using namespace wickerlane;

extern "C" int leaveScopeInC(HSSProcessAssertion *owned, int early);

namespace {

int living = 0;

class Assertion : public Object {
public:
    Assertion() { ++living; }
    ~Assertion() override { --living; }
};

} // namespace

TEST(JXCleanupHSSProcessAssertion, ReleasesTheObjectAndLeavesTheVariable) {
    HSSProcessAssertion *variable = new Assertion;
    HSSProcessAssertion *const held = variable;
    held->retain();
    JXCleanupHSSProcessAssertion(&variable);
    EXPECT_EQ(variable, held);
    EXPECT_TRUE(held->isUnique());
    JXCleanupHSSProcessAssertion(&variable);
    EXPECT_EQ(living, 0);
    variable = nullptr;
    JXCleanupHSSProcessAssertion(&variable);
}

TEST(JXCleanupHSSProcessAssertion, EndsAssertionsWithTheirScopes) {
    {
        __attribute__((cleanup(JXCleanupHSSProcessAssertion))) HSSProcessAssertion *assertion = new Assertion;
        EXPECT_EQ(living, 1);
        static_cast<void>(assertion);
    }
    EXPECT_EQ(living, 0);
    EXPECT_EQ(leaveScopeInC(new Assertion, 1), 1);
    EXPECT_EQ(leaveScopeInC(new Assertion, 0), 2);
    EXPECT_EQ(leaveScopeInC(nullptr, 0), 3);
    EXPECT_EQ(living, 0);
}
