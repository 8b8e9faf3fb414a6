// The table of rows against the operations that hoardd serves.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "hoardd/Daemon.h"
#include "wickerlane/protocol/AllRows.h"

using namespace wickerlane;

namespace {

std::string textOf(const protocol::Row &row) {
    return std::to_string(row.code) + " " + row.name;
}

} // namespace

TEST(AllRows, AreThoseThatAreServed) {
    std::vector<std::string> served, known;
    for (const auto family : hoardd::allOperations())
        for (const hoardd::Operation &operation : family)
            served.push_back(textOf(*operation.row));
    for (const protocol::Row *row : protocol::allRows())
        known.push_back(textOf(*row));
    std::ranges::sort(served);
    std::ranges::sort(known);
    EXPECT_EQ(known, served);
}

TEST(AllRows, AreFoundByRequestsEvenIfTheyShareACode) {
    const auto nameOf = [](std::int64_t code, const auto &fill) {
        const auto request = MessageDictionary::create();
        request->setInt64("operation", code);
        fill(request.get());
        const protocol::Row *row = protocol::rowOf(request.get());
        return std::string(row != nullptr ? row->name : "none");
    };
    const auto purge = [](MessageDictionary *m) { m->setUInt64("smJobType", 1); };
    EXPECT_EQ(nameOf(51, purge), "purgeableSharedAssetsSpace");
    EXPECT_EQ(nameOf(51, [&](auto *m) { purge(m), m->setUInt64("smBytesRequested", 9); }),
              "attemptToPurgeSharedAssetsSpace:");
    EXPECT_EQ(nameOf(57, [](auto *m) { m->setString("email", "a@b"); }), "keyForEmailAddress:");
    EXPECT_EQ(nameOf(57, [](auto *m) { m->setInt64("key", 1); }), "emailAddressForKey:");
    EXPECT_EQ(nameOf(57, [](auto *) {}), "none");
    EXPECT_EQ(nameOf(99999, [](auto *) {}), "none");
    EXPECT_EQ(protocol::rowNamed("albums")->code, 1032);
    EXPECT_EQ(protocol::rowNamed("album"), nullptr);
}
