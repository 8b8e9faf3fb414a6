#include "wickerlane/platform/device/Device.h"

#include <gtest/gtest.h>

#include <climits>
#include <thread>

#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/preferences/Preferences.h"

using namespace wickerlane;

TEST(Device, isWhatTheMachineIsUnlessItsSettingsSayOtherwise) {
    const unsigned processors = deviceProcessorCount();
    EXPECT_GE(processors, 1u);
    EXPECT_FALSE(deviceIsInternal());
    ASSERT_TRUE(setPreferenceValue("InternalDevice", Number::of(true), deviceDomain));
    EXPECT_TRUE(deviceIsInternal());
    for (const auto &[set, expected] : {std::pair<std::int64_t, unsigned>{1, 1},
                                        {64, 64},
                                        {0, processors},
                                        {-2, processors},
                                        {1LL << 40, UINT_MAX}}) {
        ASSERT_TRUE(setPreferenceValue("ProcessorCount", Number::of(set), deviceDomain));
        EXPECT_EQ(deviceProcessorCount(), expected) << set;
    }
}
