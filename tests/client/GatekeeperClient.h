// What the tests of operations share: a client whose connection is a fake, and values to call it with.
#ifndef WICKERLANE_TESTS_CLIENT_GATEKEEPERCLIENT_H
#define WICKERLANE_TESTS_CLIENT_GATEKEEPERCLIENT_H

#include <gtest/gtest.h>

#include <string>

#include "tests/client/FakeConnection.h"
#include "tests/client/OwnClient.h"
#include "tests/support/Descriptors.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/preferences/Preferences.h"

namespace wickerlane::test {

/// Sets the number of processors for clients that are made afterwards.
inline bool setProcessorCount(int count) {
    return setPreferenceValue("ProcessorCount", Number::of(count), "org.wickerlane.device");
}

struct GatekeeperClient : ::testing::Test {
    const bool hasTwoProcessors = setProcessorCount(2);
    Ref<FakeConnection> connection = makeRef<FakeConnection>();
    OwnClient client;
    ReleaseScope scope; // ends first: what the connection autoreleases counts itself there

    GatekeeperClient() {
        EXPECT_TRUE(hasTwoProcessors);
        client->setConnection(connection.get());
        allowLastingDescriptors(folderWatchDescriptors); // of the log system, which an operation asks
    }
};

/// An error as "DOMAIN CODE", followed by its description if it has one of its own.
inline std::string describe(const Error *error) {
    if (error == nullptr)
        return "null";
    return std::string(error->domain()->utf8()) + " " + std::to_string(error->code()) +
           (error->userInfo() != nullptr ? " " + std::string(error->localizedDescription()->utf8()) : "");
}

inline URL *assetURL() {
    return URL::of("rez-vault://a");
}

inline ManagedObjectID *objectID() {
    return autorelease(ManagedObjectID::create(URL::of("x-hoard://s/Asset/p1")));
}

inline Dictionary *oneEntry() {
    return autorelease(Dictionary::createWithKeys({{"k", String::of("v")}}));
}

} // namespace wickerlane::test

#endif
