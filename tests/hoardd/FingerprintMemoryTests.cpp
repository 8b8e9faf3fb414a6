// Fingerprints that are kept between analyses.
#include "hoardd/library/FingerprintMemory.h"

#include <unistd.h>

#include "hoardd/analysis/DuplicateStore.h"
#include "hoardd/analysis/Duplicates.h"
#include "tests/hoardd/OpenLibrary.h"
#include "tests/support/WaitUntil.h"

using namespace wickerlane;
using namespace wickerlane::hoardd;

namespace {

TEST(FingerprintMemory, GivesOnlyWhatIsAllThatTheStoreHas) {
    using Step = void (*)(FingerprintMemory &);
    const struct {
        const char *what;
        Step meanwhile; // after the version was taken
        Step later;     // after they were given
        bool isKept;
    } cases[] = {
        {"unchanged", [](FingerprintMemory &) {}, [](FingerprintMemory &) {}, true},
        {"others came while they were read", [](FingerprintMemory &memory) { memory.noteChange(); },
         [](FingerprintMemory &) {}, false},
        {"others came later", [](FingerprintMemory &) {},
         [](FingerprintMemory &memory) { memory.noteChange(); }, false},
        {"they were forgotten", [](FingerprintMemory &) {},
         [](FingerprintMemory &memory) { memory.forget(); }, false},
        {"another took them", [](FingerprintMemory &) {},
         [](FingerprintMemory &memory) { EXPECT_TRUE(memory.take()); }, false},
    };
    for (const auto &[what, meanwhile, later, isKept] : cases) {
        FingerprintMemory memory;
        EXPECT_FALSE(memory.take()) << what;
        const auto version = memory.version();
        meanwhile(memory);
        memory.keep({{{1, 2}, {3, 4}}, {7, 8}, version});
        later(memory);
        const auto taken = memory.take();
        EXPECT_EQ(taken.has_value(), isKept) << what;
        if (taken) {
            EXPECT_EQ(taken->fingerprints, (std::vector<Fingerprint>{{1, 2}, {3, 4}})) << what;
        }
    }
}

TEST(FingerprintMemory, ForgetsWhatIsNotUsed) {
    FingerprintMemory memory(std::chrono::nanoseconds(1));
    EXPECT_TRUE(test::waitUntil([&] {
        memory.keep({{{1, 2}}, {7}, memory.version()});
        usleep(1000);
        return !memory.take();
    }));
}

using KeptFingerprints = OpenLibrary;

TEST_F(KeptFingerprints, AreComparedWithNewAssets) {
    const auto save = [&](unsigned seed, int quality) {
        EXPECT_FALSE(saved(test::jpegOf(test::scene(300, 200, seed), quality)).uuid.empty());
        EXPECT_TRUE(analyzeDuplicates(library()));
        auto known = library().fingerprints().take();
        const std::size_t count = known ? known->fingerprints.size() : 0;
        if (known)
            library().fingerprints().keep(*std::move(known));
        return count;
    };
    const auto grouped = [&] {
        return *library().read(
            [](sqlite::Database &database) { return database.integer("SELECT count(*) FROM zduplicate"); });
    };
    EXPECT_EQ(save(1, 90), 1U);
    EXPECT_EQ(save(2, 90), 2U);
    EXPECT_EQ(grouped(), 0);
    EXPECT_EQ(save(1, 60), 3U);
    EXPECT_EQ(grouped(), 2);
    EXPECT_TRUE(resetDuplicates(library()));
    EXPECT_EQ(save(2, 60), 4U) << "each once";
    EXPECT_EQ(grouped(), 4);
}

} // namespace
